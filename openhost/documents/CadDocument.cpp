#include "openhost/documents/CadDocument.h"

#include "openhost/documents/DocumentStream.h"
#include "openhost/files/AtomicFile.h"

#include <algorithm>
#include <charconv>
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
constexpr StreamForm IdentityForm{"Identity", "ZIDN", 1, 1 << 10};
constexpr StreamForm ParametersForm{"Parameters", "ZPAR", 1, 16 << 20};
constexpr StreamForm CamerasForm{"Cameras", "ZCAM", 1, 16 << 20};
constexpr StreamForm FeaturesForm{"Features", "ZFEA", 1, 16 << 20};
constexpr StreamForm ChildrenForm{"Children", "ZCHD", 1, 256 << 20};
constexpr StreamForm GeometryForm{"Geometry", "ZGEO", 2, std::uint64_t{1} << 30};
constexpr StreamForm ColorsForm{"Colors", "ZCOL", 1, 256 << 20};

/// Smallest sine of the angle between the directions of a camera.
constexpr double MinimumSine = 1e-6;

constexpr std::string_view Units[] = {"mm", "cm", "m", "in"};

void CheckFeatures(const CadDocument& document)
{
    if (document.kind == DocumentKind::Product) {
        if (document.features != PartFeatures())
            throw DocumentStreamError("a product has features of a part");
        return;
    }
    const PartFeatures& features = document.features;
    if (features.otherTools.size() > MaximumOtherTools)
        throw DocumentStreamError("the part has too many tools");
    if (features.workingTool > features.otherTools.size())
        throw DocumentStreamError("the part has no tool to work in");
    if (features.mainTool.empty() ||
        std::ranges::any_of(features.otherTools, [](const PartTool& tool) { return tool.name.empty(); }))
        throw DocumentStreamError("a tool has no name");
    for (const AxisSystem& system : features.axisSystems) {
        if (system.name.empty())
            throw DocumentStreamError("an axis system has no name");
        if (!IsRigid(system.placement))
            throw DocumentStreamError("axis system " + system.name + " has no rigid placement");
    }
}

void CheckParameters(const CadDocument& document)
{
    for (const UserParameter& parameter : document.parameters) {
        if (parameter.name.empty())
            throw DocumentStreamError("a parameter has no name");
        const auto* length = std::get_if<ParameterLength>(&parameter.value);
        if (length && std::ranges::find(Units, length->unit) == std::end(Units))
            throw DocumentStreamError("parameter " + parameter.name + " has an unknown unit");
    }
}

void CheckCameras(const CadDocument& document)
{
    for (const DocumentCamera& camera : document.cameras) {
        if (camera.name.empty())
            throw DocumentStreamError("a camera has no name");
        const double lengths = Length(camera.sight) * Length(camera.up);
        if (!(lengths > 0) || !(Length(Cross(camera.sight, camera.up)) > MinimumSine * lengths) || !(camera.scale > 0))
            throw DocumentStreamError("camera " + camera.name + " shows nothing");
    }
}

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
    CheckFeatures(document);
    CheckParameters(document);
    CheckCameras(document);
}

// ---------------------------------------------------------------------------------------------
// Properties: kind, part number, nomenclature, description, count, name and value of each text parameter. Parameters
// of all types have a stream of their own, so that the count is 0 in what is written today.

std::string EncodeProperties(const CadDocument& document)
{
    StreamWriter writer;
    writer.PutNumber(static_cast<std::uint32_t>(document.kind));
    writer.PutText(document.partNumber);
    writer.PutText(document.nomenclature);
    writer.PutText(document.description);
    writer.PutNumber(0);
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
        UserParameter parameter;
        parameter.name = reader.TakeText();
        parameter.value = reader.TakeText();
        document.parameters.push_back(std::move(parameter));
    }
    reader.ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Identity: a text

std::string EncodeIdentity(const CadDocument& document)
{
    StreamWriter writer;
    writer.PutText(document.identity);
    return writer.Finish(IdentityForm.mark, IdentityForm.version);
}

void DecodeIdentity(std::string_view stream, CadDocument& document)
{
    StreamReader reader(stream, IdentityForm.mark, IdentityForm.version);
    document.identity = reader.TakeText();
    reader.ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Parameters: count; name, type and value of each

enum ParameterType : std::uint32_t { TextType = 1, LengthType = 2, IntegerType = 3, BooleanType = 4 };

struct ParameterValueWriter {
    StreamWriter& writer;

    void operator()(const std::string& text) const
    {
        writer.PutNumber(TextType);
        writer.PutText(text);
    }
    void operator()(const ParameterLength& length) const
    {
        writer.PutNumber(LengthType);
        writer.PutReal(length.value);
        writer.PutText(length.unit);
    }
    void operator()(std::int32_t integer) const
    {
        writer.PutNumber(IntegerType);
        writer.PutNumber(static_cast<std::uint32_t>(integer));
    }
    void operator()(bool boolean) const
    {
        writer.PutNumber(BooleanType);
        writer.PutNumber(boolean ? 1 : 0);
    }
};

std::string EncodeParameters(const CadDocument& document)
{
    StreamWriter writer;
    writer.PutNumber(static_cast<std::uint32_t>(document.parameters.size()));
    for (const UserParameter& parameter : document.parameters) {
        writer.PutText(parameter.name);
        std::visit(ParameterValueWriter{writer}, parameter.value);
    }
    return writer.Finish(ParametersForm.mark, ParametersForm.version);
}

void DecodeParameters(std::string_view stream, CadDocument& document)
{
    StreamReader reader(stream, ParametersForm.mark, ParametersForm.version);
    for (std::uint32_t count = reader.TakeCount(3 * sizeof(std::uint32_t)); count > 0; --count) {
        UserParameter parameter;
        parameter.name = reader.TakeText();
        switch (reader.TakeNumber()) {
        case TextType:
            parameter.value = reader.TakeText();
            break;
        case LengthType: {
            ParameterLength length;
            length.value = reader.TakeReal();
            length.unit = reader.TakeText();
            parameter.value = std::move(length);
            break;
        }
        case IntegerType:
            parameter.value = static_cast<std::int32_t>(reader.TakeNumber());
            break;
        case BooleanType: {
            const std::uint32_t boolean = reader.TakeNumber();
            if (boolean > 1)
                throw DocumentStreamError("a boolean is neither true nor false");
            parameter.value = boolean == 1;
            break;
        }
        default:
            throw DocumentStreamError("parameter " + parameter.name + " has an unknown type");
        }
        document.parameters.push_back(std::move(parameter));
    }
    reader.ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Cameras: count; name, eye, sight, up and scale of each

std::string EncodeCameras(const CadDocument& document)
{
    StreamWriter writer;
    writer.PutNumber(static_cast<std::uint32_t>(document.cameras.size()));
    for (const DocumentCamera& camera : document.cameras) {
        writer.PutText(camera.name);
        for (const auto* vector : {&camera.eye, &camera.sight, &camera.up})
            for (const double number : *vector)
                writer.PutReal(number);
        writer.PutReal(camera.scale);
    }
    return writer.Finish(CamerasForm.mark, CamerasForm.version);
}

void DecodeCameras(std::string_view stream, CadDocument& document)
{
    StreamReader reader(stream, CamerasForm.mark, CamerasForm.version);
    for (std::uint32_t count = reader.TakeCount(sizeof(std::uint32_t) + 10 * sizeof(double)); count > 0; --count) {
        DocumentCamera camera;
        camera.name = reader.TakeText();
        for (auto* vector : {&camera.eye, &camera.sight, &camera.up})
            for (double& number : *vector)
                number = reader.TakeReal();
        camera.scale = reader.TakeReal();
        document.cameras.push_back(std::move(camera));
    }
    reader.ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Features: name of the main tool, the tool to work in; count of other tools, name of each; count of axis systems,
// name and placement of each. The geometry of the tools stands in streams of its own.

std::string EncodeFeatures(const PartFeatures& features)
{
    StreamWriter writer;
    writer.PutText(features.mainTool);
    writer.PutNumber(features.workingTool);
    writer.PutNumber(static_cast<std::uint32_t>(features.otherTools.size()));
    for (const PartTool& tool : features.otherTools)
        writer.PutText(tool.name);
    writer.PutNumber(static_cast<std::uint32_t>(features.axisSystems.size()));
    for (const AxisSystem& system : features.axisSystems) {
        writer.PutText(system.name);
        for (const double number : system.placement)
            writer.PutReal(number);
    }
    return writer.Finish(FeaturesForm.mark, FeaturesForm.version);
}

PartFeatures DecodeFeatures(std::string_view stream)
{
    StreamReader reader(stream, FeaturesForm.mark, FeaturesForm.version);
    PartFeatures features;
    features.mainTool = reader.TakeText();
    features.workingTool = reader.TakeNumber();
    for (std::uint32_t count = reader.TakeCount(sizeof(std::uint32_t)); count > 0; --count)
        features.otherTools.push_back({reader.TakeText(), {}});
    for (std::uint32_t count = reader.TakeCount(sizeof(std::uint32_t) + 12 * sizeof(double)); count > 0; --count) {
        AxisSystem system;
        system.name = reader.TakeText();
        for (double& number : system.placement)
            number = reader.TakeReal();
        features.axisSystems.push_back(std::move(system));
    }
    reader.ExpectEnd();
    return features;
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
// Geometry: facts in version 1, none in version 2; then the boundary representation to the end

constexpr std::uint32_t MeasuredVersion = 1;
constexpr std::uint32_t UnmeasuredVersion = 2;

std::string EncodeGeometry(const DocumentGeometry& geometry)
{
    StreamWriter writer;
    if (const auto& facts = geometry.facts) {
        writer.PutNumber(facts->solids);
        writer.PutNumber(facts->faces);
        writer.PutReal(facts->volume);
        writer.PutReal(facts->area);
        for (const auto* corner : {&facts->box.lowest, &facts->box.highest})
            for (const double number : *corner)
                writer.PutReal(number);
    }
    writer.PutBytes(geometry.boundary);
    return writer.Finish(GeometryForm.mark, geometry.facts ? MeasuredVersion : UnmeasuredVersion);
}

GeometryFacts DecodeFacts(StreamReader& reader)
{
    GeometryFacts facts;
    facts.solids = reader.TakeNumber();
    facts.faces = reader.TakeNumber();
    facts.volume = reader.TakeReal();
    facts.area = reader.TakeReal();
    for (auto* corner : {&facts.box.lowest, &facts.box.highest})
        for (double& number : *corner)
            number = reader.TakeReal();
    return facts;
}

DocumentGeometry DecodeGeometry(std::string_view stream)
{
    StreamReader reader(stream, GeometryForm.mark, GeometryForm.version);
    DocumentGeometry geometry;
    if (reader.Version() == MeasuredVersion)
        geometry.facts = DecodeFacts(reader);
    geometry.boundary = reader.TakeRest();
    return geometry;
}

// ---------------------------------------------------------------------------------------------

/// Name of the stream of `form` that belongs to the tool `tool`: 0 the main tool, then the others.
std::string ToolStream(const StreamForm& form, std::size_t tool)
{
    return tool == 0 ? form.name : form.name + std::to_string(tool);
}

void AddStream(CompoundContents& storage, const StreamForm& form, std::string bytes, std::string name = {})
{
    if (name.empty())
        name = form.name;
    if (bytes.size() > form.maximumSize)
        throw DocumentStreamError("stream " + name + " is too long");
    storage.streams.emplace_back(std::move(name), std::move(bytes));
}

void AddTool(CompoundContents& storage, const std::optional<DocumentGeometry>& geometry, std::size_t tool)
{
    if (!geometry)
        return;
    AddStream(storage, GeometryForm, EncodeGeometry(*geometry), ToolStream(GeometryForm, tool));
    if (!geometry->colors.IsEmpty())
        AddStream(storage, ColorsForm, EncodeColors(geometry->colors), ToolStream(ColorsForm, tool));
}

CompoundStorage StorageOf(const CompoundStorage& root)
{
    auto storage = root.FindStorage(DocumentStorageName);
    if (!storage)
        throw CompoundFileError(root.GetFileName() + ": no storage " + DocumentStorageName);
    return std::move(*storage);
}

/// Hands the stream `name` to `decode` when there is one. Errors name the stream.
template <class Decoder>
bool DecodeStream(const CompoundStorage& storage, const StreamForm& form, const std::string& name, Decoder decode)
{
    const auto stream = storage.ReadStream(name, form.maximumSize);
    if (!stream)
        return false;
    try {
        decode(*stream);
    } catch (const DocumentStreamError& error) {
        throw CompoundFileError(storage.GetFileName() + ": stream " + name + ": " + error.what());
    }
    return true;
}

/// The geometry of the tool `tool`, when it has one, with its colours.
std::optional<DocumentGeometry> DecodeTool(const CompoundStorage& storage, std::size_t tool)
{
    std::optional<DocumentGeometry> geometry;
    DecodeStream(storage, GeometryForm, ToolStream(GeometryForm, tool),
                 [&](std::string_view stream) { geometry = DecodeGeometry(stream); });
    if (geometry)
        DecodeStream(storage, ColorsForm, ToolStream(ColorsForm, tool),
                     [&](std::string_view stream) { geometry->colors = DecodeColors(stream); });
    return geometry;
}

CadDocument Decode(const CompoundStorage& root)
{
    const CompoundStorage storage = StorageOf(root);
    CadDocument document;
    document.links = ReadLinkTable(storage);

    const auto decode = [&](const StreamForm& form, void (*decoder)(std::string_view, CadDocument&)) {
        return DecodeStream(storage, form, form.name, [&](std::string_view stream) { decoder(stream, document); });
    };
    if (!decode(PropertiesForm, DecodeProperties))
        throw CompoundFileError(root.GetFileName() + ": stream " + PropertiesForm.name + ": missing");
    decode(IdentityForm, DecodeIdentity);
    decode(ParametersForm, DecodeParameters);
    decode(CamerasForm, DecodeCameras);
    decode(ChildrenForm, DecodeChildren);
    DecodeStream(storage, FeaturesForm, FeaturesForm.name,
                 [&](std::string_view stream) { document.features = DecodeFeatures(stream); });
    const auto check = [&] {
        try {
            Check(document);
        } catch (const DocumentStreamError& error) {
            throw CompoundFileError(root.GetFileName() + ": " + error.what());
        }
    };
    check(); // also how many tools there are, before the geometry of each is looked for

    document.geometry = DecodeTool(storage, 0);
    for (std::size_t other = 0; other < document.features.otherTools.size(); ++other)
        document.features.otherTools[other].geometry = DecodeTool(storage, other + 1);
    check();
    return document;
}

} // namespace

std::string ParameterText(const UserParameter& parameter)
{
    if (const auto* text = std::get_if<std::string>(&parameter.value))
        return *text;
    if (const auto* boolean = std::get_if<bool>(&parameter.value))
        return *boolean ? "true" : "false";
    if (const auto* integer = std::get_if<std::int32_t>(&parameter.value))
        return std::to_string(*integer);
    const auto& length = std::get<ParameterLength>(parameter.value);
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), length.value).ptr;
    return std::string(digits.begin(), end) + " " + length.unit;
}

bool IsDocumentText(std::string_view text)
{
    try {
        StreamWriter().PutText(text);
        return true;
    } catch (const DocumentStreamError&) {
        return false;
    }
}

CadDocument ReadDocument(const std::filesystem::path& path)
{
    return Decode(CompoundStorage::OpenFile(path));
}

CadDocument ParseDocument(std::string_view bytes, const std::string& name)
{
    return Decode(CompoundStorage::OpenBytes(bytes, name));
}

std::optional<DocumentGeometry> ReadToolGeometry(const std::filesystem::path& path, std::size_t tool)
{
    return DecodeTool(StorageOf(CompoundStorage::OpenFile(path)), tool);
}

std::string BuildDocument(const CadDocument& document)
{
    try {
        Check(document);
        CompoundContents storage{DocumentStorageName, {}, {}};
        storage.streams.emplace_back(LinkTableStreamName, EncodeLinkTable(document.links));
        AddStream(storage, PropertiesForm, EncodeProperties(document));
        if (!document.identity.empty())
            AddStream(storage, IdentityForm, EncodeIdentity(document));
        if (!document.parameters.empty())
            AddStream(storage, ParametersForm, EncodeParameters(document));
        if (!document.cameras.empty())
            AddStream(storage, CamerasForm, EncodeCameras(document));
        if (document.features != PartFeatures())
            AddStream(storage, FeaturesForm, EncodeFeatures(document.features));
        if (document.kind == DocumentKind::Product)
            AddStream(storage, ChildrenForm, EncodeChildren(document));
        AddTool(storage, document.geometry, 0);
        for (std::size_t other = 0; other < document.features.otherTools.size(); ++other)
            AddTool(storage, document.features.otherTools[other].geometry, other + 1);
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
