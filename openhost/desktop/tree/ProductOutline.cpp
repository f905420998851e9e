#include "openhost/desktop/tree/ProductOutline.h"

#include <algorithm>

namespace openhost {

ProductOutline::ProductOutline(const LoadedDocument& document)
{
    if (!document.Root())
        return;
    Add(*document.Root(), 0, 0, IdentityPlacement);

    // A walk in depth without recursion, since a tree may be as deep as it likes.
    struct Step {
        Number father;
        Number nextRow;
    };
    AddChildren(0);
    std::vector<Step> way{{0, 0}};
    while (!way.empty()) {
        auto& [father, row] = way.back();
        if (row == entries_[father].childCount) {
            entries_[father].end = static_cast<Number>(entries_.size());
            way.pop_back();
            continue;
        }
        const Number number = static_cast<Number>(entries_.size());
        WorkspaceProduct& child = *entries_[father].product->Reference()->Children()[row];
        children_[entries_[father].firstChild + row] = number;
        Add(child, father, row, Within(entries_[father].placement, child.GetPlacement()));
        ++row;
        AddChildren(number);
        way.push_back({number, 0});
    }
}

void ProductOutline::Add(WorkspaceProduct& product, Number father, Number row, const Placement& placement)
{
    entries_.push_back({.product = Share(&product),
                        .father = father,
                        .row = row,
                        .firstChild = static_cast<Number>(children_.size()),
                        .placement = placement});
}

/// Makes room for them.
void ProductOutline::AddChildren(Number father)
{
    const LoadedDocument* document = Document(father);
    if (!document)
        return;
    // What has its room has not got its entry yet: one room each but for the root.
    const std::size_t room = MaximumEntries - std::min(MaximumEntries, children_.size() + 1);
    const std::size_t count = std::min(document->Children().size(), room);
    isCut_ = isCut_ || count < document->Children().size();
    entries_[father].firstChild = static_cast<Number>(children_.size());
    entries_[father].childCount = static_cast<Number>(count);
    children_.resize(children_.size() + count);
}

std::vector<const WorkspaceProduct*> ProductOutline::WayTo(Number number) const
{
    std::vector<const WorkspaceProduct*> way{entries_[number].product.get()};
    for (; number != 0; number = entries_[number].father)
        way.push_back(entries_[entries_[number].father].product.get());
    std::ranges::reverse(way);
    return way;
}

Owned<ZALPathElement> ProductOutline::PathTo(Number number) const
{
    Owned<ZALPathElement> path(new ZALPathElement);
    for (const WorkspaceProduct* product : WayTo(number))
        path->AddChildElement(const_cast<WorkspaceProduct*>(product));
    return path;
}

std::string ProductOutline::NamesTo(Number number) const
{
    std::string names;
    for (const WorkspaceProduct* product : WayTo(number))
        names.append(names.empty() ? "" : "/").append(product->Name());
    return names;
}

ProductOutline::Number ProductOutline::Find(const std::vector<const WorkspaceProduct*>& way) const
{
    if (entries_.empty() || way.empty() || entries_[0].product.get() != way.front())
        return 0;
    Number number = 0;
    for (std::size_t step = 1; step < way.size(); ++step) {
        const Entry& entry = entries_[number];
        Number row = 0;
        while (row < entry.childCount && entries_[Child(number, row)].product.get() != way[step])
            ++row;
        if (row == entry.childCount)
            break;
        number = Child(number, row);
    }
    return number;
}

} // namespace openhost
