#include "openhost/cad/WorkspaceTree.h"

#include "openhost/documents/ShowDocument.h"

namespace openhost {

namespace {

/// Bytes of text that count as a line, since names may be long.
constexpr std::size_t LineSize = 1000;

std::size_t TextSize(const nlohmann::ordered_json& description)
{
    std::size_t size = 0;
    for (const nlohmann::ordered_json& member : description)
        if (member.is_string())
            size += member.get_ref<const std::string&>().size();
    return size;
}

nlohmann::ordered_json Describe(const WorkspaceProduct& product, std::size_t depth, std::size_t& lines)
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
    lines += 1 + TextSize(description) / LineSize;
    if (!product.IsRoot())
        description["at"] = ShiftOf(product.GetPlacement());
    if (!reference)
        return description;
    for (const auto& child : reference->Children()) {
        if (depth == MaximumTreeDepth || lines >= MaximumTreeLines) {
            description["more"] = true;
            break;
        }
        description["children"].push_back(Describe(*child, depth + 1, lines));
    }
    return description;
}

} // namespace

nlohmann::ordered_json DescribeTree(const LoadedDocument& document)
{
    std::size_t lines = 0;
    return document.Root() ? Describe(*document.Root(), 1, lines) : nlohmann::ordered_json();
}

} // namespace openhost
