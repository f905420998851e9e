#include "catalogue/items/ItemWriter.h"

#include "catalogue/items/ItemFolders.h"
#include "catalogue/items/ItemMesh.h"
#include "catalogue/items/Placements.h"
#include "catalogue/shapes/ShapeToken.h"
#include "catalogue/store/ItemStore.h"
#include "openhost/files/AtomicFile.h"
#include "openhost/geometry/DocumentTree.h"
#include "openhost/picture/RenderDocument.h"

#include <nlohmann/json.hpp>
#include <zip.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;

/// Time of every entry of an archive, in the form of the zip format: 2024-01-01, 00:00.
constexpr zip_uint16_t EntryDate = (2024 - 1980) << 9 | 1 << 5 | 1;

struct Entry {
    std::string name;
    std::string bytes;
};

void WriteArchive(const std::filesystem::path& path, const std::vector<Entry>& entries)
{
    const auto fail = [&](const char* reason) { throw std::runtime_error(path.string() + ": " + reason); };
    int code = 0;
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code);
    if (!archive)
        fail("cannot be created");
    bool added = true;
    for (const Entry& entry : entries) {
        zip_source_t* source = zip_source_buffer(archive, entry.bytes.data(), entry.bytes.size(), 0);
        const zip_int64_t index = zip_file_add(archive, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0)
            zip_source_free(source);
        added = added && index >= 0 &&
                zip_file_set_dostime(archive, static_cast<zip_uint64_t>(index), 0, EntryDate, 0) == 0;
    }
    if (!added || zip_close(archive) != 0) {
        zip_discard(archive);
        fail("cannot be written");
    }
}

// ---------------------------------------------------------------------------------------------
// Files of an item

std::string Readme(const Item& item)
{
    std::string text = item.title + "\n\n" + item.description + ".\n\n";
    for (const Dimension& dimension : item.dimensions)
        text += "  " + dimension.name + " = " + Json(dimension.value).dump() + "\n";
    return text + "\nLengths in millimetres.\n";
}

std::string Metadata(const Item& item)
{
    return "key,value\nid," + item.id + "\nname,\"" + item.title + "\"\ncategory," + item.category + "\nroot," +
           item.root + "\n";
}

constexpr const char* Licence = "The documents of this archive may be used, changed and passed on without limit.\n";

std::string ServedName(const Item& item)
{
    return item.delivery == Delivery::OpenInSource ? item.root : item.id + ".zip";
}

void WriteFiles(const Catalogue& catalogue, const Item& item, const std::filesystem::path& folder)
{
    if (item.delivery != Delivery::Archive)
        openhost::WriteDocument(catalogue.documents.at(item.root), folder / item.root);
    if (item.delivery == Delivery::OpenInSource)
        return;
    std::vector<Entry> entries{{"readme.txt", Readme(item)}};
    for (const std::string& name : item.documents)
        entries.push_back({name, openhost::BuildDocument(catalogue.documents.at(name))});
    entries.push_back({"licence.txt", Licence});
    entries.push_back({"kr_metadata.csv", Metadata(item)});
    WriteArchive(folder / ServedName(item), entries);
}

// ---------------------------------------------------------------------------------------------
// Picture

constexpr openhost::PictureSize PictureSize{320, 240};

/// The documents of the catalogue by their file names.
class CatalogueSource : public openhost::DocumentSource {
public:
    explicit CatalogueSource(const Documents& documents) : documents_(documents) {}
    std::optional<std::string> Find(const std::string&, const std::string& link) override
    {
        return documents_.contains(link) ? std::optional(link) : std::nullopt;
    }
    openhost::CadDocument Read(const std::string& key) override { return documents_.at(key); }

private:
    const Documents& documents_;
};

void WritePicture(const Catalogue& catalogue, const Item& item, const std::filesystem::path& folder)
{
    CatalogueSource source(catalogue.documents);
    const auto refuse = [](const std::string& line) { throw std::runtime_error(line); };
    const openhost::Picture picture = openhost::RenderDocument(source, item.root, PictureSize, refuse);
    openhost::WriteFileAtomically(folder / (item.id + ".png"), openhost::EncodePng(picture));
}

// ---------------------------------------------------------------------------------------------
// Request and entry

Json DimensionsOf(const Item& item)
{
    Json dimensions = Json::object();
    for (const Dimension& dimension : item.dimensions)
        dimensions[dimension.name] = dimension.value;
    return dimensions;
}

Json Request(const Catalogue& catalogue, const Item& item)
{
    const std::string address = "${BASE}/files/" + ServedName(item);
    Json catalog{{"name", catalogue.name}};
    Json attributes;
    if (item.delivery == Delivery::OpenInSource)
        catalog["configOpeningBehaviour"] = "openInSource";
    attributes["catalog"] = catalog;
    attributes["name"] = item.title;
    attributes["fileName"] = item.root.substr(0, item.root.rfind('.'));
    attributes["category"] = item.category;
    attributes["description"] = item.description;
    attributes["dimensions"] = DimensionsOf(item);
    attributes["downloadUrls"] = {{"ZALOR_RAW", address}};
    if (item.delivery == Delivery::OpenInSource)
        attributes["sourceUrl"] = "file://${FILES}/" + ServedName(item);
    return {{"id", item.id}, {"attributes", attributes}, {"downloadUrl", address}};
}

/// What the user calls the document.
std::string NameOf(const openhost::CadDocument& document)
{
    return document.nomenclature.empty() ? document.partNumber : document.nomenclature;
}

/// Counts what the product `name` is put together from: items, and in place of a product that is none its own
/// components. They stand in the order in which they are found.
void CountParts(const Catalogue& catalogue, const std::string& name, Json& parts)
{
    const openhost::CadDocument& document = catalogue.documents.at(name);
    for (const openhost::ChildInstance& child : document.children) {
        const std::string& link = document.links[child.link];
        const auto item = std::ranges::find(catalogue.items, link, &Item::root);
        if (item == catalogue.items.end() && !catalogue.documents.at(link).children.empty()) {
            CountParts(catalogue, link, parts);
            continue;
        }
        const std::string part = item != catalogue.items.end() ? item->title : NameOf(catalogue.documents.at(link));
        const auto known = std::ranges::find_if(parts, [&](const Json& entry) { return entry["name"] == part; });
        if (known != parts.end()) {
            (*known)["count"] = (*known)["count"].get<std::size_t>() + 1;
            continue;
        }
        Json entry{{"name", part}, {"count", 1}};
        if (item != catalogue.items.end())
            entry["id"] = item->id;
        parts.push_back(std::move(entry));
    }
}

/// Rounded, so that the last digits of the kernel's arithmetic do not show.
double Rounded(double value)
{
    return std::round(value * 1000) / 1000 + 0.0;
}

openhost::Vector Rounded(const openhost::Vector& point)
{
    return {Rounded(point[0]), Rounded(point[1]), Rounded(point[2])};
}

/// What the parameter of that name says; empty when there is none.
std::string MaterialOf(const openhost::CadDocument& document)
{
    const auto material = std::ranges::find(document.parameters, "Material", &openhost::UserParameter::name);
    return material != document.parameters.end() ? openhost::ParameterText(*material) : std::string();
}

Json EntryOf(const Catalogue& catalogue, const Item& item, const ItemMass& mass, const openhost::LvrMesh& mesh)
{
    const bool product = catalogue.documents.at(item.root).kind == openhost::DocumentKind::Product;
    Json parts = Json::array();
    CountParts(catalogue, item.root, parts);
    return {{"id", item.id},
            {"title", item.title},
            {"category", item.category},
            {"description", item.description},
            {"kind", product ? "assembly" : "part"},
            {"material", MaterialOf(catalogue.documents.at(item.root))},
            {"picture", "/items/" + item.id + "/picture"},
            {"file", ServedName(item)},
            {"root", item.root},
            {"documents", item.documents},
            {"parts", parts},
            {"dimensions", DimensionsOf(item)},
            {"volume", Rounded(mass.volume)},
            {"area", Rounded(mass.area)},
            {"centerOfMass", Rounded(mass.center)},
            {"boundingBox", {{"lowest", Rounded(mass.box.lowest)}, {"highest", Rounded(mass.box.highest)}}},
            {"shape", EncodeShapeToken(DescribeShape(mesh))}};
}

} // namespace

nlohmann::ordered_json WriteItem(const Catalogue& catalogue, const Item& item, const ItemMass& mass,
                                 const std::filesystem::path& folder)
{
    for (const char* name : ItemFolders)
        std::filesystem::create_directories(folder / name);
    WriteFiles(catalogue, item, folder / "files");
    WritePicture(catalogue, item, folder / "pictures");
    openhost::WriteFileAtomically(folder / "items" / (item.id + ".json"), Request(catalogue, item).dump(2) + "\n");
    const openhost::LvrMesh mesh = TessellateItem(catalogue, item);
    openhost::WriteLvr(folder / "shapes" / (item.id + ".lvr"), mesh);
    return EntryOf(catalogue, item, mass, mesh);
}

void WriteCatalogue(const Catalogue& catalogue, const std::filesystem::path& folder)
{
    std::filesystem::create_directories(folder / "files" / "templates");
    for (const auto& [name, document] : catalogue.templates)
        openhost::WriteDocument(document, folder / "files" / "templates" / name);
    std::vector<Json> entries;
    for (const Item& item : catalogue.items)
        entries.push_back(WriteItem(catalogue, item, MeasureItem(catalogue, item), folder));
    std::filesystem::remove(folder / StoreName);
    ItemStoreWriter store(folder / StoreName);
    store.DoAtOnce([&] {
        for (const Json& entry : entries)
            store.Put(entry);
    });
}

} // namespace catalogue
