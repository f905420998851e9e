#include "catalogue/sources/SourceItem.h"

#include "catalogue/items/ItemMass.h"
#include "catalogue/items/ItemWriter.h"
#include "catalogue/sources/SourceFiles.h"
#include "openhost/documents/OutsideLinks.h"
#include "openhost/exchange/StepImport.h"
#include "openhost/geometry/DocumentTree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>

namespace catalogue {

namespace {

/// The documents of `job.file`, from STEP. Returns the root.
std::string Import(const SourceJob& job, Documents& documents, SourceAnswer& answer)
{
    const std::filesystem::path folder = job.output / "documents";
    std::filesystem::create_directories(folder);
    std::string root = openhost::ImportStep(
        job.file, folder, [&](const std::string& line) { answer.warnings.push_back(line); }, [](int) {});
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder))
        documents[entry.path().filename().string()] = openhost::ReadDocument(entry.path());
    std::filesystem::remove_all(folder);
    answer.files = {job.file};
    return root;
}

/// A document with those that it refers to.
class Gatherer {
public:
    Gatherer(Documents& documents, SourceAnswer& answer) : documents_(documents), answer_(answer) {}

    /// Returns the name of `file` among the documents.
    std::string Gather(const std::filesystem::path& file, std::size_t level = 1)
    {
        std::string name = file.filename().string();
        const auto fail = [&](const std::string& reason) { throw std::runtime_error(name + ": " + reason); };
        if (const auto [known, isNew] = files_.try_emplace(name, file); !isNew) {
            if (known->second != file)
                fail("two different documents have this name");
            if (!documents_.contains(name))
                fail("the document is a part of itself");
            return name;
        }
        if (level > openhost::MaximumTreeLevels)
            fail("products stand within each other more than " + std::to_string(openhost::MaximumTreeLevels) +
                 " times");
        answer_.files.push_back(file);
        openhost::CadDocument document = openhost::ReadDocument(file);
        std::set<std::uint32_t> used;
        for (const openhost::ChildInstance& child : document.children)
            used.insert(child.link);
        for (const std::uint32_t link : used) {
            std::string& target = document.links[link];
            const std::filesystem::path folder = file.parent_path();
            if (openhost::LeadsOut(folder, target))
                fail(target + " lies outside of its folder");
            const std::filesystem::path path = openhost::ResolveLink(folder, target).lexically_normal();
            if (!std::filesystem::is_regular_file(path))
                fail(target + " is missing");
            target = Gather(path, level + 1);
        }
        documents_[name] = std::move(document);
        return name;
    }

private:
    Documents& documents_;
    SourceAnswer& answer_;
    std::map<std::string, std::filesystem::path> files_;
};

/// All of `documents` below `root`, each after those that it holds. Throws for a tree that unfolds past its limit.
class Order {
public:
    Order(const Documents& documents, const std::string& root) : documents_(documents) { Visit(root); }
    std::vector<std::string> Take() { return std::move(names_); }

private:
    std::size_t Visit(const std::string& name)
    {
        if (const auto known = unfolded_.find(name); known != unfolded_.end())
            return known->second;
        const openhost::CadDocument& document = documents_.at(name);
        std::size_t unfolded = 1;
        for (const openhost::ChildInstance& child : document.children)
            if (unfolded += Visit(document.links[child.link]); unfolded > openhost::MaximumTreeInstances)
                throw std::runtime_error(name + ": the product has more than " +
                                         std::to_string(openhost::MaximumTreeInstances) + " instances");
        names_.push_back(name);
        return unfolded_[name] = unfolded;
    }

    const Documents& documents_;
    std::map<std::string, std::size_t> unfolded_; ///< instances below each document, itself included
    std::vector<std::string> names_;
};

/// Length, width and height: the edges of the box, the longest first.
std::vector<Dimension> DimensionsOf(const openhost::Box& box)
{
    std::array<double, 3> edges{box.Extent(0), box.Extent(1), box.Extent(2)};
    std::ranges::sort(edges, std::greater());
    // Thousandths, as all lengths of items.
    const auto rounded = [](double length) { return std::round(length * 1000) / 1000; };
    return {{"l", rounded(edges[0])}, {"b", rounded(edges[1])}, {"h", rounded(edges[2])}};
}

} // namespace

SourceAnswer MakeItem(const SourceJob& job)
{
    SourceAnswer answer;
    Catalogue catalogue;
    catalogue.name = job.catalogue;
    Documents& documents = catalogue.documents;
    Item item;
    item.root = IsStepFile(job.file) ? Import(job, documents, answer) : Gatherer(documents, answer).Gather(job.file);
    item.documents = Order(documents, item.root).Take();
    const openhost::CadDocument& root = documents.at(item.root);
    item.id = job.id;
    item.title = !root.nomenclature.empty() ? root.nomenclature
                 : !root.partNumber.empty() ? root.partNumber
                                            : job.file.stem().string();
    item.category = job.category;
    item.description = root.description.empty() ? job.name : root.description;
    const ItemMass mass = MeasureItem(catalogue, item);
    if (!(mass.area > 0))
        throw std::runtime_error("it has no surface");
    item.dimensions = DimensionsOf(mass.box);
    answer.entry = WriteItem(catalogue, item, mass, job.output);
    return answer;
}

} // namespace catalogue
