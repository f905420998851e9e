#include "openhost/cad/ShowDocument.h"

#include "openhost/documents/CadDocument.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <map>
#include <sstream>
#include <vector>

namespace openhost {

namespace {

/// Reads each document of the tree once.
class TreePrinter {
public:
    TreePrinter(std::filesystem::path folder, std::ostream& output) : folder_(std::move(folder)), output_(output) {}

    void PrintChildren(const CadDocument& document, const std::string& fileName, const std::string& indent)
    {
        above_.push_back(fileName);
        for (std::size_t i = 0; i < document.children.size() && lines_ < MaximumTreeLines; ++i) {
            const bool last = i + 1 == document.children.size();
            const ChildInstance& child = document.children[i];
            const std::string& link = document.links[child.link];
            output_ << indent << (last ? "└─ " : "├─ ") << child.name << "  [" << link << "]" << At(child.placement);
            if (++lines_ == MaximumTreeLines)
                output_ << "  … and more";
            PrintTarget(link, indent + (last ? "   " : "│  "));
        }
        above_.pop_back();
    }

private:
    struct Loaded {
        CadDocument document;
        std::string problem; ///< empty when the document was read
    };

    static std::string At(const Placement& placement)
    {
        std::ostringstream text;
        text << "  at (" << placement[3] << ", " << placement[7] << ", " << placement[11] << ")";
        return text.str();
    }

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

    void PrintTarget(const std::string& link, const std::string& indent)
    {
        const std::string fileName = link.substr(link.find_last_of("/\\") + 1);
        if (std::find(above_.begin(), above_.end(), fileName) != above_.end()) {
            output_ << "  (part of itself)\n";
            return;
        }
        const Loaded& target = Load(fileName);
        if (!target.problem.empty())
            output_ << "  (" << target.problem << ")";
        const bool tooDeep = above_.size() == MaximumTreeDepth && !target.document.children.empty();
        output_ << (tooDeep ? "  …\n" : "\n");
        if (!tooDeep)
            PrintChildren(target.document, fileName, indent);
    }

    std::filesystem::path folder_;
    std::ostream& output_;
    std::map<std::string, Loaded> loaded_;
    std::vector<std::string> above_; ///< file names from the root down to the current document
    int lines_ = 0;
};

void ShowValue(std::ostream& output, const std::string& name, const std::string& value)
{
    output << "  " << std::left << std::setw(17) << name << " " << value << "\n";
}

void ShowProperty(std::ostream& output, const std::string& name, const std::string& value)
{
    if (!value.empty())
        ShowValue(output, name, value);
}

std::string Vector(const std::array<double, 3>& vector)
{
    std::ostringstream text;
    text << "(" << vector[0] << ", " << vector[1] << ", " << vector[2] << ")";
    return text.str();
}

void ShowFeatures(std::ostream& output, const CadDocument& document)
{
    const PartFeatures& features = document.features;
    output << "Features\n";
    for (std::size_t tool = 0; tool <= features.otherTools.size(); ++tool) {
        const auto& geometry = tool == 0 ? document.geometry : features.otherTools[tool - 1].geometry;
        std::string state = geometry ? "tool" : "empty tool";
        if (tool == features.workingTool)
            state += ", worked in";
        ShowValue(output, tool == 0 ? features.mainTool : features.otherTools[tool - 1].name, state);
    }
    for (const AxisSystem& system : features.axisSystems)
        ShowValue(output, system.name,
                  "axis system at " + Vector({system.placement[3], system.placement[7], system.placement[11]}));
}

void ShowGeometry(std::ostream& output, const GeometryFacts& facts)
{
    std::ostringstream numbers;
    numbers << std::fixed << std::setprecision(1);
    numbers << facts.solids << (facts.solids == 1 ? " solid, " : " solids, ") << facts.faces << " faces, volume "
            << facts.volume << " mm³, area " << facts.area << " mm²";
    output << "Geometry\n  " << numbers.str() << "\n";
    numbers.str("");
    for (std::size_t i = 0; i < 3; ++i)
        numbers << (i == 0 ? "box " : " × ") << facts.highest[i] - facts.lowest[i];
    output << "  " << numbers.str() << " mm\n";
}

} // namespace

void ShowDocument(const std::filesystem::path& path, std::ostream& output)
{
    const CadDocument document = ReadDocument(path);
    const std::string fileName = path.filename().string();

    output << (document.kind == DocumentKind::Product ? "Product " : "Part ") << document.partNumber << "  ["
           << fileName << "]\n";
    TreePrinter(path.parent_path(), output).PrintChildren(document, fileName, "");

    output << "Properties\n";
    ShowProperty(output, "Nomenclature", document.nomenclature);
    ShowProperty(output, "Description", document.description);
    ShowProperty(output, "Identity", document.identity);
    if (!document.parameters.empty())
        output << "Parameters\n";
    for (const UserParameter& parameter : document.parameters)
        ShowValue(output, parameter.name, ParameterText(parameter));
    if (document.features != PartFeatures())
        ShowFeatures(output, document);
    if (!document.cameras.empty())
        output << "Cameras\n";
    for (const DocumentCamera& camera : document.cameras)
        ShowValue(output, camera.name, "at " + Vector(camera.eye) + " towards " + Vector(camera.sight));
    if (document.geometry)
        ShowGeometry(output, document.geometry->facts);

    output << "Links\n";
    for (std::size_t i = 0; i < document.links.size(); ++i)
        output << "  " << i + 1 << "  " << document.links[i] << "\n";
    if (document.links.empty())
        output << "  none\n";
}

} // namespace openhost
