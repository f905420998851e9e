#include "openhost/cad/SessionTree.h"

#include "openhost/cad/ShowDocument.h"

namespace openhost {

namespace {

nlohmann::ordered_json Describe(const SessionProduct& product, std::size_t depth, int& lines)
{
    nlohmann::ordered_json description = {{"name", product.Name()}};
    const LoadedDocument* reference = product.Reference();
    if (reference) {
        description["partNumber"] = reference->PartNumber();
        description["file"] = reference->Path().string();
    } else {
        description["link"] = product.Link();
        description["problem"] = product.Problem();
    }
    if (!product.IsRoot()) {
        const Placement& placement = product.GetPlacement();
        description["at"] = {placement[3], placement[7], placement[11]};
    }
    if (!reference)
        return description;
    for (const SessionProduct* child : reference->Children()) {
        if (depth == MaximumTreeDepth || lines == MaximumTreeLines) {
            description["more"] = true;
            break;
        }
        ++lines;
        description["children"].push_back(Describe(*child, depth + 1, lines));
    }
    return description;
}

} // namespace

nlohmann::ordered_json DescribeTree(const LoadedDocument& document)
{
    int lines = 1;
    return document.Root() ? Describe(*document.Root(), 1, lines) : nlohmann::ordered_json();
}

} // namespace openhost
