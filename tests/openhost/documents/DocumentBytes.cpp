#include "DocumentBytes.h"

#include "openhost/documents/DocumentStream.h"

namespace openhost::testing {

CadDocument SomePart()
{
    CadDocument part;
    part.kind = DocumentKind::Part;
    part.partNumber = "BOLT_M8";
    part.nomenclature = "Schraube Größe 8 mm – 螺栓";
    part.description = "two\nlines";
    part.identity = "5f1c";
    part.parameters = {
        {"Material", "Steel 8.8"}, {"Empty", ""}, {"l", ParameterLength{-12.5, "in"}}, {"n", -3}, {"hardened", true},
        {"Material", "Steel 10.9"}};
    part.cameras = {{"Side", {100, 0, 0}, {-1, 0, 0}, {0, 0, 1}, 50}, {"Iso", {1, 2, 3}, {-1, -1, -1}, {0, 0, 1}, 2.5}};
    part.links = {"Sketch.ZALPart"};
    DocumentGeometry geometry;
    geometry.facts = GeometryFacts{1, 14, 2773.2, 1500.5, {{-7.5, -6.5, -5.3}, {7.5, 6.5, 40}}};
    geometry.boundary = std::string("boundary\0of\xFF bytes", 18);
    part.geometry = geometry;
    part.features.mainTool = "Bolt";
    part.features.otherTools = {{"Thread", DocumentGeometry{GeometryFacts{1, 3, 7, 8, {{}, {1, 1, 1}}}, "thread"}},
                                {"Sketches", {}}};
    part.features.workingTool = 1;
    part.features.axisSystems = {{"Head", {0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30.25}}};
    return part;
}

CadDocument SomeProduct()
{
    CadDocument product;
    product.kind = DocumentKind::Product;
    product.partNumber = "JOINT";
    product.nomenclature = "Bolted joint";
    product.links = {"Bolt.ZALPart", "Washer.ZALPart"};
    product.children = {{"Bolt.1", 0, IdentityPlacement},
                        {"Washer.1", 1, IdentityPlacement},
                        {"Washer.2", 1, {0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30.25}}};
    return product;
}

std::string FileWithStreams(const std::vector<std::pair<std::string, std::string>>& streams)
{
    CompoundContents root;
    root.storages.push_back({DocumentStorageName, streams, {}});
    return BuildCompoundFile(root);
}

std::vector<std::pair<std::string, std::string>> StreamsOf(const CadDocument& document)
{
    const auto storage =
        CompoundStorage::OpenBytes(BuildDocument(document), "document").FindStorage(DocumentStorageName).value();
    std::vector<std::pair<std::string, std::string>> streams;
    for (const char* name : {"Links", "Properties", "Identity", "Parameters", "Cameras", "Features", "Children",
                             "Geometry", "Geometry1", "Colors"})
        if (auto stream = storage.ReadStream(name, 1 << 20))
            streams.emplace_back(name, std::move(*stream));
    return streams;
}

std::string WithStream(const CadDocument& document, const std::string& name,
                       const std::function<void(std::string& stream)>& change)
{
    return WithWholeStream(document, name, [&](std::string& stream) {
        change(stream);
        StreamWriter writer;
        writer.PutBytes(std::string_view(stream).substr(HeadSize));
        stream = writer.Finish(stream.substr(0, 4), 1);
    });
}

std::string WithNumber(const CadDocument& document, const std::string& name, std::size_t offset, std::uint32_t number)
{
    return WithStream(document, name, [&](std::string& stream) { Put(stream, offset, number); });
}

std::string WithWholeStream(const CadDocument& document, const std::string& name,
                            const std::function<void(std::string& stream)>& change)
{
    auto streams = StreamsOf(document);
    for (auto& [streamName, bytes] : streams)
        if (streamName == name)
            change(bytes);
    return FileWithStreams(streams);
}

void Put(std::string& stream, std::size_t offset, std::uint32_t number)
{
    for (int i = 0; i < 4; ++i)
        stream.at(offset + static_cast<std::size_t>(i)) = static_cast<char>(number >> (8 * i) & 0xFF);
}

std::string Refusal(const std::string& bytes)
{
    try {
        ParseDocument(bytes, "hostile");
        return "";
    } catch (const CompoundFileError& error) {
        return error.what();
    }
}

} // namespace openhost::testing
