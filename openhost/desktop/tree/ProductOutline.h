// Every instance of a tree, by number.
#pragma once

#include "host/cad.h"
#include "openhost/cad/LoadedDocument.h"
#include "openhost/cad/WorkspaceProduct.h"

#include <cstdint>
#include <string>
#include <vector>

namespace openhost {

/// The tree of a document as it was when the outline was made. Entries stand in the order of the tree, each before
/// those below it; the root is number 0. Products are held: one that has gone meanwhile has no reference any more.
class ProductOutline {
public:
    using Number = std::uint32_t;
    /// Entries that an outline has at most; what does not fit is left out.
    static constexpr std::size_t MaximumEntries = 300'000;

    struct Entry {
        Owned<WorkspaceProduct> product;
        Number father;     ///< of the root itself
        Number row;        ///< among the children of the father
        Number firstChild; ///< in Children
        Number childCount = 0;
        Number end = 0;      ///< after the last one below it
        Placement placement; ///< in the root
    };

    ProductOutline() = default;
    explicit ProductOutline(const LoadedDocument& document);

    std::size_t Size() const { return entries_.size(); }
    const Entry& At(Number number) const { return entries_[number]; }
    Number Child(Number father, Number row) const { return children_[entries_[father].firstChild + row]; }
    /// Whether the tree is larger than the outline.
    bool IsCut() const { return isCut_; }

    /// The document that the entry refers to, or null.
    LoadedDocument* Document(Number number) const { return entries_[number].product->Reference(); }
    /// The way from the root, as commands take it. With a reference for the caller.
    Owned<ZALPathElement> PathTo(Number number) const;
    /// The same in words: the part number of the root, then the names of components, with "/" between them.
    std::string NamesTo(Number number) const;
    /// The products of the way.
    std::vector<const WorkspaceProduct*> WayTo(Number number) const;
    /// The entry at the end of `way`, or the last of its way that is there; 0 for none.
    Number Find(const std::vector<const WorkspaceProduct*>& way) const;

private:
    void Add(WorkspaceProduct& product, Number father, Number row, const Placement& placement);
    void AddChildren(Number father);

    std::vector<Entry> entries_;
    std::vector<Number> children_;
    bool isCut_ = false;
};

} // namespace openhost
