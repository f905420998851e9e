#include "openhost/documents/CadDocument.h"

#include "openhost/documents/DocumentStream.h"
#include "openhost/files/AtomicFile.h"

#include <cmath>
#include <system_error>
#include <unordered_set>

namespace openhost {

namespace {

struct StreamForm {
    const char* name;
    std::string_view mark;
    std::uint32_t version;
    std::uint64_t maximumSize;
};

constexpr StreamForm PropertiesForm{"Properties", "ZPRP", 1, 16 << 20};
constexpr StreamForm ChildrenForm{"Children", "ZCHD", 1, 256 << 20};
constexpr StreamForm GeometryForm{"Geometry", "ZGEO", 1, std::uint64_t{1} << 30};

/// How far the product of a rotation with its transpose may be from one.
constexpr double RotationTolerance = 1e-6;

void Check(const CadDocument& document)
{
    if (document.kind == DocumentKind::Part && !document.children.empty())
        throw DocumentStreamError("a part has children");
    if (document.kind == DocumentKind::Product && document.geometry)
        throw DocumentStreamError("a product has geometry of its own");
    std::unordered_set<std::string_view> names;
    for (const ChildInstance& child : document.children) {
        if (child.name.empty())
            throw DocumentStreamError("a child has no name");
        if (!names.insert(child.name).second)
            throw DocumentStreamError("two children have the name " + child.name);
        if (child.link >= document.links.size())
            throw DocumentStreamError("child " + child.name + " points outside the link table");
        if (!IsRigid(child.placement))
            throw DocumentStreamError("child " + child.name + " has no rigid placement");
    }
    names.clear();
    for (const DocumentProperty& property : document.properties)
        if (property.name.empty() || !names.insert(property.name).second)
            throw DocumentStreamError("a property has no name of its own");
}

// ---------------------------------------------------------------------------------------------
// Properties: kind, part number, nomenclature, description, count, name and value of each

std::string EncodeProperties(const CadDocument& document)
{
    StreamWriter writer;
    writer.PutNumber(static_cast<std::uint32_t>(document.kind));
    writer.PutText(document.partNumber);
    writer.PutText(document.nomenclature);
    writer.PutText(document.description);
    writer.PutNumber(static_cast<std::uint32_t>(document.properties.size()));
    for (const DocumentProperty& property : document.properties) {
        writer.PutText(property.name);
        writer.PutText(property.value);
    }
    return writer.Finish(PropertiesForm.mark, PropertiesForm.version);
}

void DecodeProperties(std::string_view stream, CadDocument& document)
{
    StreamReader reader(stream, PropertiesForm.mark, PropertiesForm.version);
    document.kind = static_cast<DocumentKind>(reader.TakeNumber());
    if (document.kind != DocumentKind::Part && document.kind != DocumentKind::Product)
        throw DocumentStreamError("the kind of the document is unknown");
    document.partNumber = reader.TakeText();
    document.nomenclature = reader.TakeText();
    document.description = reader.TakeText();
    for (std::uint32_t count = reader.TakeCount(2 * sizeof(std::uint32_t)); count > 0; --count) {
        DocumentProperty property;
        property.name = reader.TakeText();
        property.value = reader.TakeText();
        document.properties.push_back(std::move(property));
    }
    reader.ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Children: count; name, link and placement of each

std::string EncodeChildren(const CadDocument& document)
{
    StreamWriter writer;
    writer.PutNumber(static_cast<std::uint32_t>(document.children.size()));
    for (const ChildInstance& child : document.children) {
        writer.PutText(child.name);
        writer.PutNumber(child.link);
        for (const double number : child.placement)
            writer.PutReal(number);
    }
    return writer.Finish(ChildrenForm.mark, ChildrenForm.version);
}

void DecodeChildren(std::string_view stream, CadDocument& document)
{
    StreamReader reader(stream, ChildrenForm.mark, ChildrenForm.version);
    constexpr std::size_t smallest = 2 * sizeof(std::uint32_t) + 12 * sizeof(double);
    for (std::uint32_t count = reader.TakeCount(smallest); count > 0; --count) {
        ChildInstance child;
        child.name = reader.TakeText();
        child.link = reader.TakeNumber();
        for (double& number : child.placement)
            number = reader.TakeReal();
        document.children.push_back(std::move(child));
    }
    reader.ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Geometry: facts, then the boundary representation to the end

std::string EncodeGeometry(const DocumentGeometry& geometry)
{
    StreamWriter writer;
    writer.PutNumber(geometry.facts.solids);
    writer.PutNumber(geometry.facts.faces);
    writer.PutReal(geometry.facts.volume);
    writer.PutReal(geometry.facts.area);
    for (const auto* corner : {&geometry.facts.lowest, &geometry.facts.highest})
        for (const double number : *corner)
            writer.PutReal(number);
    writer.PutBytes(geometry.boundary);
    return writer.Finish(GeometryForm.mark, GeometryForm.version);
}

DocumentGeometry DecodeGeometry(std::string_view stream)
{
    StreamReader reader(stream, GeometryForm.mark, GeometryForm.version);
    DocumentGeometry geometry;
    geometry.facts.solids = reader.TakeNumber();
    geometry.facts.faces = reader.TakeNumber();
    geometry.facts.volume = reader.TakeReal();
    geometry.facts.area = reader.TakeReal();
    for (auto* corner : {&geometry.facts.lowest, &geometry.facts.highest})
        for (double& number : *corner)
            number = reader.TakeReal();
    geometry.boundary = reader.TakeRest();
    return geometry;
}

// ---------------------------------------------------------------------------------------------

void AddStream(CompoundContents& storage, const StreamForm& form, std::string bytes)
{
    if (bytes.size() > form.maximumSize)
        throw DocumentStreamError(std::string("stream ") + form.name + " is too long");
    storage.streams.emplace_back(form.name, std::move(bytes));
}

std::optional<std::string> ReadStream(const CompoundStorage& storage, const StreamForm& form)
{
    return storage.ReadStream(form.name, form.maximumSize);
}

CadDocument Decode(const CompoundStorage& root)
{
    const auto storage = root.FindStorage(DocumentStorageName);
    if (!storage)
        throw CompoundFileError(root.GetFileName() + ": no storage " + DocumentStorageName);
    CadDocument document;
    document.links = ReadLinkTable(*storage);

    const StreamForm* form = &PropertiesForm;
    try {
        const auto properties = ReadStream(*storage, PropertiesForm);
        if (!properties)
            throw DocumentStreamError("missing");
        DecodeProperties(*properties, document);

        form = &ChildrenForm;
        if (const auto children = ReadStream(*storage, ChildrenForm))
            DecodeChildren(*children, document);

        form = &GeometryForm;
        if (const auto geometry = ReadStream(*storage, GeometryForm))
            document.geometry = DecodeGeometry(*geometry);
    } catch (const DocumentStreamError& error) {
        throw CompoundFileError(root.GetFileName() + ": stream " + form->name + ": " + error.what());
    }

    try {
        Check(document);
    } catch (const DocumentStreamError& error) {
        throw CompoundFileError(root.GetFileName() + ": " + error.what());
    }
    return document;
}

} // namespace

bool IsRigid(const Placement& p)
{
    const double determinant =
        p[0] * (p[5] * p[10] - p[6] * p[9]) - p[1] * (p[4] * p[10] - p[6] * p[8]) + p[2] * (p[4] * p[9] - p[5] * p[8]);
    if (!(determinant > 0) || !std::isfinite(p[3] + p[7] + p[11]))
        return false;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            double product = 0;
            for (std::size_t k = 0; k < 3; ++k)
                product += p[4 * i + k] * p[4 * j + k];
            if (!(std::abs(product - (i == j ? 1 : 0)) <= RotationTolerance))
                return false;
        }
    return true;
}

CadDocument ReadDocument(const std::filesystem::path& path)
{
    return Decode(CompoundStorage::OpenFile(path));
}

CadDocument ParseDocument(std::string_view bytes, const std::string& name)
{
    return Decode(CompoundStorage::OpenBytes(bytes, name));
}

std::string BuildDocument(const CadDocument& document)
{
    try {
        Check(document);
        CompoundContents storage{DocumentStorageName, {}, {}};
        storage.streams.emplace_back(LinkTableStreamName, EncodeLinkTable(document.links));
        AddStream(storage, PropertiesForm, EncodeProperties(document));
        if (document.kind == DocumentKind::Product)
            AddStream(storage, ChildrenForm, EncodeChildren(document));
        if (document.geometry)
            AddStream(storage, GeometryForm, EncodeGeometry(*document.geometry));
        CompoundContents root;
        root.storages.push_back(std::move(storage));
        return BuildCompoundFile(root);
    } catch (const DocumentStreamError& error) {
        throw CompoundFileError("document " + document.partNumber + ": " + error.what());
    }
}

void WriteDocument(const CadDocument& document, const std::filesystem::path& path)
{
    const std::string bytes = BuildDocument(document);
    try {
        WriteFileAtomically(path, bytes);
    } catch (const std::system_error& error) {
        throw CompoundFileError(error.what());
    }
}

} // namespace openhost
