#include "openhost/documents/ShowDocument.h"

#include "openhost/documents/TreeLines.h"
#include "openhost/text/OneLine.h"

#include <algorithm>
#include <iomanip>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace openhost {

namespace {

/// Lines below one heading, which is the first of them; none when there is nothing to tell.
using Section = std::vector<std::string>;

Section Headed(const std::string& heading, std::vector<std::string> lines)
{
    if (!lines.empty())
        lines.insert(lines.begin(), heading);
    return lines;
}

std::string VectorText(const Vector& vector)
{
    std::ostringstream text;
    text << "(" << vector[0] << ", " << vector[1] << ", " << vector[2] << ")";
    return text.str();
}

std::string Place(const Placement& placement)
{
    return "at " + VectorText(ShiftOf(placement));
}

/// Lines of the tree below a document. Reads each document once.
class Tree {
public:
    enum class Repeated { Unfolded, Folded }; ///< what becomes of a sub-product that has stood in the tree before
    Tree(std::filesystem::path folder, Repeated repeated) : folder_(std::move(folder)), repeated_(repeated) {}

    void AddChildren(const CadDocument& document, const std::string& fileName, const std::string& indent)
    {
        above_.push_back(fileName);
        for (std::size_t i = 0; i < document.children.size() && std::ssize(lines_) < MaximumTreeLines; ++i) {
            const TreeBranch& branch = i + 1 == document.children.size() ? LastBranch : MiddleBranch;
            const ChildInstance& child = document.children[i];
            const std::string& link = document.links[child.link];
            std::string line = indent + branch.child + InOneLine(child.name) + "  [" + InOneLine(link) + "]  " +
                               Place(child.placement);
            if (std::ssize(lines_) + 1 == MaximumTreeLines)
                line += "  … and more";
            AddTarget(std::move(line), link, indent + branch.below);
        }
        above_.pop_back();
    }

    const std::vector<std::string>& Lines() const { return lines_; }

private:
    struct Loaded {
        CadDocument document;
        std::string problem; ///< empty when the document was read
    };

    const Loaded& Load(const std::string& fileName)
    {
        const auto known = loaded_.find(fileName);
        if (known != loaded_.end())
            return known->second;
        Loaded& loaded = loaded_[fileName];
        try {
            loaded.document = ReadDocument(folder_ / fileName);
            if (loaded.document.geometry)
                loaded.document.geometry->boundary.clear();
        } catch (const CompoundFileError& error) {
            std::error_code failure;
            loaded.problem = std::filesystem::exists(folder_ / fileName, failure) ? error.what() : "missing";
        }
        return loaded;
    }

    /// Adds `line`, of a component whose document is `link`, and what is below it.
    void AddTarget(std::string line, const std::string& link, const std::string& indent)
    {
        const std::string fileName = link.substr(link.find_last_of("/\\") + 1);
        if (std::ranges::find(above_, fileName) != above_.end()) {
            lines_.push_back(line + "  (part of itself)");
            return;
        }
        const Loaded& target = Load(fileName);
        if (!target.problem.empty())
            line += "  (" + InOneLine(target.problem) + ")";
        const bool hasStood = repeated_ == Repeated::Folded && !unfolded_.insert(fileName).second;
        const bool stops = (hasStood || above_.size() == MaximumTreeDepth) && !target.document.children.empty();
        lines_.push_back(stops ? line + "  …" : line);
        if (!stops)
            AddChildren(target.document, fileName, indent);
    }

    std::filesystem::path folder_;
    Repeated repeated_;
    std::set<std::string> unfolded_; ///< file names of what has stood in the tree
    std::map<std::string, Loaded> loaded_;
    std::vector<std::string> above_; ///< file names from the root down to the current document
    std::vector<std::string> lines_;
};

constexpr std::size_t NameWidth = 18;

std::string Value(const std::string& name, const std::string& value)
{
    const std::string shown = InOneLine(name);
    const std::size_t blanks = shown.size() + 2 < NameWidth ? NameWidth - shown.size() : 2;
    return "  " + shown + std::string(blanks, ' ') + InOneLine(value);
}

Section Properties(const CadDocument& document)
{
    Section lines;
    for (const auto& [name, value] : {std::pair("Nomenclature", document.nomenclature),
                                      {"Description", document.description},
                                      {"Identity", document.identity}})
        if (!value.empty())
            lines.push_back(Value(name, value));
    return Headed("Properties", std::move(lines));
}

Section Parameters(const CadDocument& document)
{
    Section lines;
    for (const UserParameter& parameter : document.parameters)
        lines.push_back(Value(parameter.name, ParameterText(parameter)));
    return Headed("Parameters", std::move(lines));
}

Section Features(const CadDocument& document)
{
    const PartFeatures& features = document.features;
    if (features == PartFeatures())
        return {};
    Section lines;
    for (std::size_t tool = 0; tool <= features.otherTools.size(); ++tool) {
        const auto& geometry = tool == 0 ? document.geometry : features.otherTools[tool - 1].geometry;
        std::string state = geometry ? "tool" : "empty tool";
        if (tool == features.workingTool)
            state += ", worked in";
        lines.push_back(Value(tool == 0 ? features.mainTool : features.otherTools[tool - 1].name, state));
    }
    for (const AxisSystem& system : features.axisSystems)
        lines.push_back(Value(system.name, "axis system " + Place(system.placement)));
    return Headed("Features", std::move(lines));
}

Section Cameras(const CadDocument& document)
{
    Section lines;
    for (const DocumentCamera& camera : document.cameras)
        lines.push_back(Value(camera.name, "at " + VectorText(camera.eye) + " towards " + VectorText(camera.sight)));
    return Headed("Cameras", std::move(lines));
}

Section Geometry(const CadDocument& document, const MeasureGeometry& measure)
{
    if (!document.geometry)
        return {};
    GeometryFacts facts;
    try {
        facts = document.geometry->facts ? *document.geometry->facts : measure(*document.geometry);
    } catch (const std::exception& error) {
        return {"Geometry", "  cannot be measured: " + InOneLine(error.what())};
    }
    std::ostringstream contents;
    contents << std::fixed << std::setprecision(1) << "  " << facts.solids
             << (facts.solids == 1 ? " solid, " : " solids, ") << facts.faces << " faces, volume " << facts.volume
             << " mm³, area " << facts.area << " mm²";
    std::ostringstream box;
    box << std::fixed << std::setprecision(1) << "  box ";
    for (std::size_t i = 0; i < 3; ++i)
        box << (i == 0 ? "" : " × ") << facts.box.Extent(i);
    return {"Geometry", contents.str(), box.str() + " mm"};
}

Section Links(const CadDocument& document)
{
    Section lines{"Links"};
    for (std::size_t i = 0; i < document.links.size(); ++i)
        lines.push_back("  " + std::to_string(i + 1) + "  " + InOneLine(document.links[i]));
    if (document.links.empty())
        lines.push_back("  none");
    return lines;
}

/// The line of `document`, which was read from `path`, and those of the tree below it.
Section TreeOf(const CadDocument& document, const std::filesystem::path& path, Tree::Repeated repeated)
{
    const std::string fileName = path.filename().string();
    Tree tree(path.parent_path(), repeated);
    tree.AddChildren(document, fileName, "");
    Section lines = tree.Lines();
    lines.insert(lines.begin(), (document.kind == DocumentKind::Product ? "Product " : "Part ") +
                                    InOneLine(document.partNumber) + "  [" + InOneLine(fileName) + "]");
    return lines;
}

/// The same sections in the same order for every document.
std::vector<Section> Describe(const std::filesystem::path& path, const MeasureGeometry& measure)
{
    const CadDocument document = ReadDocument(path);
    return {TreeOf(document, path, Tree::Repeated::Unfolded),
            Properties(document),
            Parameters(document),
            Features(document),
            Cameras(document),
            Geometry(document, measure),
            Links(document)};
}

/// Characters of `line`, which is UTF-8.
std::size_t Width(const std::string& line)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(line, [](unsigned char unit) { return (unit & 0xC0) != 0x80; }));
}

/// Longer lines do not widen their column.
constexpr std::size_t WidestColumn = 80;

} // namespace

void ShowDocument(const std::filesystem::path& path, const MeasureGeometry& measure, std::ostream& output)
{
    for (const Section& section : Describe(path, measure))
        for (const std::string& line : section)
            output << line << "\n";
}

std::vector<std::string> ShortTree(const std::filesystem::path& path)
{
    return TreeOf(ReadDocument(path), path, Tree::Repeated::Folded);
}

void ShowDocuments(const std::filesystem::path& left, const std::filesystem::path& right,
                   const MeasureGeometry& measure, std::ostream& output)
{
    const std::vector<Section> leftSections = Describe(left, measure);
    const std::vector<Section> rightSections = Describe(right, measure);
    std::size_t column = 0;
    for (const Section& section : leftSections)
        for (const std::string& line : section)
            column = std::max(column, std::min(Width(line), WidestColumn));

    const auto lineOf = [](const Section& section, std::size_t row) {
        return row < section.size() ? section[row] : std::string();
    };
    for (std::size_t i = 0; i < leftSections.size(); ++i)
        for (std::size_t row = 0; row < std::max(leftSections[i].size(), rightSections[i].size()); ++row) {
            const std::string line = lineOf(leftSections[i], row);
            const std::string other = lineOf(rightSections[i], row);
            const std::size_t width = Width(line);
            output << line << std::string(column - std::min(width, column), ' ') << (other.empty() ? " │" : " │ ")
                   << other << "\n";
        }
}

} // namespace openhost
