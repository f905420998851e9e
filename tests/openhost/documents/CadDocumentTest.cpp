#include "DocumentBytes.h"

#include "openhost/documents/DocumentStream.h"
#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>

namespace openhost::testing {

namespace {

std::string BuildRefusal(const CadDocument& document)
{
    try {
        BuildDocument(document);
        return "";
    } catch (const CompoundFileError& error) {
        return error.what();
    }
}

/// Offset of the first child's placement in the stream of SomeProduct: head, count, "Bolt.1" with its length, link.
constexpr std::size_t FirstPlacement = HeadSize + 4 + 4 + 6 + 4;

} // namespace

TEST(CadDocument, PartComesBackAsItWasWritten)
{
    EXPECT_EQ(ParseDocument(BuildDocument(SomePart()), "part"), SomePart());
}

TEST(CadDocument, ProductComesBackWithChildrenInOrderAndPlacementsToTheBit)
{
    const CadDocument read = ParseDocument(BuildDocument(SomeProduct()), "product");
    EXPECT_EQ(read, SomeProduct());
    EXPECT_EQ(read.children[2].placement[11], 30.25);
}

TEST(CadDocument, EmptyDocumentComesBackEmpty)
{
    EXPECT_EQ(ParseDocument(BuildDocument(CadDocument()), "empty"), CadDocument());
}

TEST(CadDocument, GeometryOfMegabytesComesBack)
{
    CadDocument part = SomePart();
    part.geometry->boundary.assign(9'000'001, 'g');
    part.geometry->boundary[8'999'999] = '\0';
    EXPECT_EQ(ParseDocument(BuildDocument(part), "part"), part);
}

TEST(CadDocument, EqualDocumentsGiveEqualBytes)
{
    EXPECT_EQ(BuildDocument(SomeProduct()), BuildDocument(SomeProduct()));
    EXPECT_EQ(BuildDocument(SomePart()), BuildDocument(SomePart()));
}

TEST(CadDocument, FileComesBackAndLeavesNothingBesideIt)
{
    const TemporaryFolder folder;
    const auto path = folder.Path() / "Größe.ZALProduct";
    WriteDocument(SomePart(), path);
    WriteDocument(SomeProduct(), path);
    EXPECT_EQ(ReadDocument(path), SomeProduct());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

TEST(CadDocument, DocumentThatIsRefusedLeavesTheFileOfBefore)
{
    const TemporaryFolder folder;
    const auto path = folder.Path() / "Joint.ZALProduct";
    WriteDocument(SomeProduct(), path);
    CadDocument broken = SomeProduct();
    broken.children[0].link = 2;
    EXPECT_THROW(WriteDocument(broken, path), CompoundFileError);
    EXPECT_EQ(ReadDocument(path), SomeProduct());
}

TEST(CadDocument, WritingIntoAMissingFolderSaysWhere)
{
    const TemporaryFolder folder;
    try {
        WriteDocument(SomePart(), folder.Path() / "missing" / "a.ZALPart");
        FAIL();
    } catch (const CompoundFileError& error) {
        EXPECT_NE(std::string(error.what()).find("missing/a.ZALPart"), std::string::npos) << error.what();
    }
}

TEST(CadDocument, WhatNoReaderTakesIsNotWritten)
{
    CadDocument document = SomeProduct();
    document.children[2].name = "Bolt.1";
    EXPECT_EQ(BuildRefusal(document), "document JOINT: two children have the name Bolt.1");

    document = SomeProduct();
    document.children[1].name.clear();
    EXPECT_EQ(BuildRefusal(document), "document JOINT: a child has no name");

    document = SomeProduct();
    document.links[1] = "Bolt.ZALPart";
    EXPECT_EQ(BuildRefusal(document), "document JOINT: two links have the same file name");

    document = SomeProduct();
    document.children[0].placement[3] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(BuildRefusal(document), "document JOINT: child Bolt.1 has no rigid placement");

    document = SomeProduct();
    document.geometry = SomePart().geometry;
    EXPECT_EQ(BuildRefusal(document), "document JOINT: a product has geometry of its own");

    document = SomePart();
    document.children = SomeProduct().children;
    EXPECT_EQ(BuildRefusal(document), "document BOLT_M8: a part has children");

    document = SomePart();
    document.parameters[1].name = "";
    EXPECT_EQ(BuildRefusal(document), "document BOLT_M8: a parameter has no name");

    document = SomePart();
    document.nomenclature = "\xC3\x28";
    EXPECT_EQ(BuildRefusal(document), "document BOLT_M8: a text is no plain UTF-8");
}

TEST(CadDocument, FeaturesAndCamerasThatMeanNothingAreNotWritten)
{
    CadDocument document = SomePart();
    document.features.workingTool = 3;
    EXPECT_EQ(BuildRefusal(document), "document BOLT_M8: the part has no tool to work in");

    document = SomePart();
    document.features.otherTools[1].name.clear();
    EXPECT_EQ(BuildRefusal(document), "document BOLT_M8: a tool has no name");

    document = SomePart();
    document.features.otherTools.assign(MaximumOtherTools + 1, {"T", {}});
    EXPECT_EQ(BuildRefusal(document), "document BOLT_M8: the part has too many tools");

    document = SomePart();
    document.features.axisSystems[0].placement[0] = 2;
    EXPECT_EQ(BuildRefusal(document), "document BOLT_M8: axis system Head has no rigid placement");

    for (const auto& change :
         {+[](DocumentCamera& camera) {
              camera.up = {2, 0, 0};
          },
          +[](DocumentCamera& camera) { camera.sight = {}; }, +[](DocumentCamera& camera) { camera.scale = 0; }}) {
        document = SomePart();
        change(document.cameras[0]);
        EXPECT_EQ(BuildRefusal(document), "document BOLT_M8: camera Side shows nothing");
    }
}

TEST(CadDocument, MostToolsThatAPartMayHaveComeBack)
{
    CadDocument document = SomePart();
    document.features.otherTools.assign(MaximumOtherTools, document.features.otherTools[0]);
    EXPECT_EQ(ParseDocument(BuildDocument(document), "part"), document);
}

TEST(CadDocument, GeometryOfEachToolIsReadAlone)
{
    const TemporaryFolder folder;
    const auto path = folder.Path() / "Bolt.ZALPart";
    WriteDocument(SomePart(), path);
    EXPECT_EQ(ReadToolGeometry(path, 0), SomePart().geometry);
    EXPECT_EQ(ReadToolGeometry(path, 1), SomePart().features.otherTools[0].geometry);
    EXPECT_EQ(ReadToolGeometry(path, 2), std::nullopt);
    EXPECT_THROW(ReadToolGeometry(folder.Path() / "missing.ZALPart", 0), CompoundFileError);
}

TEST(CadDocument, TextPropertiesOfEarlierDocumentsAreParametersOfTypeText)
{
    const std::string bytes = WithStream(CadDocument(), "Properties", [](std::string& stream) {
        StreamWriter writer;
        writer.PutNumber(1);
        for (int i = 0; i < 3; ++i)
            writer.PutText("text");
        writer.PutNumber(1);
        writer.PutText("Material");
        writer.PutText("Steel");
        stream = writer.Finish("ZPRP", 1);
    });
    EXPECT_EQ(ParseDocument(bytes, "part").parameters, (std::vector<UserParameter>{{"Material", "Steel"}}));
}

TEST(CadDocument, ParametersAreToldAsTheUserReadsThem)
{
    std::vector<std::string> texts;
    for (const UserParameter& parameter : SomePart().parameters)
        texts.push_back(ParameterText(parameter));
    EXPECT_EQ(texts, (std::vector<std::string>{"Steel 8.8", "", "-12.5 in", "-3", "true", "Steel 10.9"}));
    EXPECT_EQ(ParameterText({"l", ParameterLength{1234.56789, "mm"}}), "1234.56789 mm");
}

TEST(CadDocument, ScaledShearedAndMirroredPlacementsAreRefused)
{
    for (const Placement& placement :
         {Placement{2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, Placement{1, 0.5, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0},
          Placement{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, Placement{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}}) {
        CadDocument document = SomeProduct();
        document.children[0].placement = placement;
        EXPECT_EQ(BuildRefusal(document), "document JOINT: child Bolt.1 has no rigid placement");
    }
}

TEST(CadDocument, UnknownStreamsAndStoragesArePassedOver)
{
    auto streams = StreamsOf(SomePart());
    streams.insert(streams.begin(), {"Lights", "of a later version"});
    CompoundContents root;
    root.streams.push_back({"Preview", "picture"});
    root.storages.push_back({"History", {}, {}});
    root.storages.push_back({DocumentStorageName, streams, {{"Sketches", {{"Pad.1", "x"}}, {}}}});
    EXPECT_EQ(ParseDocument(BuildCompoundFile(root), "part"), SomePart());
}

// ---------------------------------------------------------------------------------------------
// Hostile documents

TEST(HostileDocument, WithoutItsStorageIsRefused)
{
    CompoundContents root;
    root.streams.push_back({DocumentStorageName, "a stream of that name"});
    EXPECT_EQ(Refusal(BuildCompoundFile(root)), "hostile: no storage ZALOR1");
    EXPECT_EQ(Refusal(BuildCompoundFile({})), "hostile: no storage ZALOR1");
}

TEST(HostileDocument, WithoutLinkTableOrPropertiesIsRefused)
{
    auto streams = StreamsOf(SomePart());
    EXPECT_EQ(Refusal(FileWithStreams({streams[1], streams[2]})), "hostile: no link table");
    EXPECT_EQ(Refusal(FileWithStreams({streams[0], streams[2]})), "hostile: stream Properties: missing");
}

TEST(HostileDocument, WrongMarkVersionLengthAndChecksumAreNamed)
{
    const auto refusalWith = [](const std::function<void(std::string&)>& change) {
        return Refusal(WithStream(SomePart(), "Properties", change));
    };
    EXPECT_EQ(refusalWith([](std::string& s) { s[0] = 'Q'; }),
              "hostile: stream Properties: the mark of the stream is wrong");
    EXPECT_EQ(refusalWith([](std::string& s) { Put(s, 4, 2); }),
              "hostile: stream Properties: version 2 of the stream is unknown");
    EXPECT_EQ(refusalWith([](std::string& s) { Put(s, 4, 0); }),
              "hostile: stream Properties: version 0 of the stream is unknown");
    EXPECT_EQ(refusalWith([](std::string& s) { Put(s, 12, 0xFFFFFFFF); }),
              "hostile: stream Properties: the length of the stream is wrong");
    EXPECT_EQ(refusalWith([](std::string& s) { s.back() ^= 1; }),
              "hostile: stream Properties: the checksum of the stream is wrong");
    EXPECT_EQ(refusalWith([](std::string& s) { s.resize(11); }), "hostile: stream Properties: the stream is cut short");
    EXPECT_EQ(refusalWith([](std::string& s) { s.clear(); }), "hostile: stream Properties: the stream is cut short");
}

TEST(HostileDocument, UnknownKindIsRefused)
{
    for (const std::uint32_t kind : {0U, 3U, 0xFFFFFFFFU})
        EXPECT_EQ(Refusal(WithStream(SomePart(), "Properties",
                                     [kind](std::string& stream) {
                                         Put(stream, HeadSize, kind);
                                         RepairHead(stream);
                                     })),
                  "hostile: stream Properties: the kind of the document is unknown");
}

TEST(HostileDocument, PartThatCallsItselfAProductIsRefusedForItsGeometry)
{
    CadDocument part = SomePart();
    part.features = {};
    EXPECT_EQ(Refusal(WithStream(part, "Properties",
                                 [](std::string& stream) {
                                     Put(stream, HeadSize, 2);
                                     RepairHead(stream);
                                 })),
              "hostile: a product has geometry of its own");
}

TEST(HostileDocument, ProductWithFeaturesOfAPartIsRefused)
{
    CadDocument product = SomeProduct();
    product.features.axisSystems = {{"Head", IdentityPlacement}};
    EXPECT_EQ(BuildRefusal(product), "document JOINT: a product has features of a part");
    auto streams = StreamsOf(SomeProduct());
    for (const auto& [name, bytes] : StreamsOf(SomePart()))
        if (name == "Features")
            streams.emplace_back(name, bytes);
    EXPECT_EQ(Refusal(FileWithStreams(streams)), "hostile: a product has features of a part");
}

TEST(HostileDocument, MillionsOfParametersCamerasToolsOrAxisSystemsInAFewBytesAreRefused)
{
    // The counts stand behind nothing, nothing, "Bolt" with its length and a number, and two more tools with names.
    const std::size_t tools = HeadSize + 4 + 4 + 4;
    const std::size_t systems = tools + 4 + 4 + 6 + 4 + 8;
    for (const auto& [stream, offset] : {std::pair("Parameters", HeadSize), std::pair("Cameras", HeadSize),
                                         std::pair("Features", tools), std::pair("Features", systems)})
        for (const std::uint32_t count : {5'000'000U, 0xFFFFFFFFU})
            EXPECT_EQ(Refusal(WithStream(SomePart(), stream,
                                         [&](std::string& bytes) {
                                             Put(bytes, offset, count);
                                             RepairHead(bytes);
                                         })),
                      std::string("hostile: stream ") + stream + ": a count is larger than the stream");
}

TEST(HostileDocument, ParameterOfAnUnknownTypeUnitOrValueIsRefused)
{
    const auto refusalWith = [](const std::function<void(StreamWriter&)>& putValue) {
        return Refusal(WithStream(SomePart(), "Parameters", [&](std::string& stream) {
            StreamWriter writer;
            writer.PutNumber(1);
            writer.PutText("p");
            putValue(writer);
            stream = writer.Finish("ZPAR", 1);
        }));
    };
    EXPECT_EQ(refusalWith([](StreamWriter& w) {
                  w.PutNumber(3);
                  w.PutNumber(7);
              }),
              "");
    EXPECT_EQ(refusalWith([](StreamWriter& w) {
                  w.PutNumber(5);
                  w.PutNumber(0);
              }),
              "hostile: stream Parameters: parameter p has an unknown type");
    EXPECT_EQ(refusalWith([](StreamWriter& w) {
                  w.PutNumber(4);
                  w.PutNumber(2);
              }),
              "hostile: stream Parameters: a boolean is neither true nor false");
    EXPECT_EQ(refusalWith([](StreamWriter& w) {
                  w.PutNumber(2);
                  w.PutReal(1);
                  w.PutText("ell");
              }),
              "hostile: parameter p has an unknown unit");
    EXPECT_EQ(refusalWith([](StreamWriter& w) {
                  w.PutNumber(3);
                  w.PutNumber(7);
                  w.PutNumber(7);
              }),
              "hostile: stream Parameters: something stands behind the end of the stream");
}

TEST(HostileDocument, MillionsOfLinksOrChildrenInAFewBytesAreRefused)
{
    for (const auto& [stream, name] : {std::pair("Links", "link table"), std::pair("Children", "stream Children")})
        for (const std::uint32_t count : {50U, 5'000'000U, 0xFFFFFFFFU})
            EXPECT_EQ(Refusal(WithStream(SomeProduct(), stream,
                                         [count](std::string& bytes) {
                                             Put(bytes, HeadSize, count);
                                             RepairHead(bytes);
                                         })),
                      std::string("hostile: ") + name + ": a count is larger than the stream");
}

TEST(HostileDocument, FewerLinksThanAnnouncedOrMoreAreRefused)
{
    const auto refusalWithCount = [](std::uint32_t count) {
        return Refusal(WithStream(SomeProduct(), "Links", [count](std::string& stream) {
            Put(stream, HeadSize, count);
            RepairHead(stream);
        }));
    };
    EXPECT_EQ(refusalWithCount(3), "hostile: link table: the stream is cut short");
    EXPECT_EQ(refusalWithCount(1), "hostile: link table: something stands behind the end of the stream");
}

TEST(HostileDocument, TextThatClaimsToBeLongerThanTheStreamIsRefused)
{
    const auto refusalWithLength = [](std::uint32_t length) {
        return Refusal(WithStream(SomeProduct(), "Links", [length](std::string& stream) {
            Put(stream, HeadSize + 4, length);
            RepairHead(stream);
        }));
    };
    EXPECT_EQ(refusalWithLength(0xFFFFFFFF), "hostile: link table: a text is too long");
    EXPECT_EQ(refusalWithLength(65537), "hostile: link table: a text is too long");
    EXPECT_EQ(refusalWithLength(65536), "hostile: link table: the stream is cut short");
}

TEST(HostileDocument, LinkNamesThatAreNoTextAreRefused)
{
    for (const char* name :
         {"Bolt\x1B[2J", "\xED\xA0\x80surrogat", "\xC0\xAFoverlong....", "\xF4\x90\x80\x80tooHigh..", "cut\xE2\x82"}) {
        const std::string replacement(name);
        EXPECT_EQ(Refusal(WithStream(SomeProduct(), "Links",
                                     [&](std::string& stream) {
                                         stream.replace(HeadSize + 8, 12, replacement);
                                         Put(stream, HeadSize + 4, static_cast<std::uint32_t>(replacement.size()));
                                         RepairHead(stream);
                                     })),
                  "hostile: link table: a text is no plain UTF-8")
            << name;
    }
}

TEST(HostileDocument, EmptyAndDoubledLinkNamesAreRefused)
{
    StreamWriter empty;
    empty.PutNumber(1);
    empty.PutText("");
    empty.PutBytes("padding");
    EXPECT_THROW(DecodeLinkTable(empty.Finish("ZLNK", 1)), DocumentStreamError);

    StreamWriter doubled;
    doubled.PutNumber(2);
    doubled.PutText("A.ZALPart");
    doubled.PutText("A.ZALPart");
    EXPECT_THROW(DecodeLinkTable(doubled.Finish("ZLNK", 1)), DocumentStreamError);
}

TEST(HostileDocument, ChildOutsideTheLinkTableIsRefused)
{
    EXPECT_EQ(Refusal(WithStream(SomeProduct(), "Children",
                                 [](std::string& stream) {
                                     Put(stream, FirstPlacement - 4, 2);
                                     RepairHead(stream);
                                 })),
              "hostile: child Bolt.1 points outside the link table");
}

TEST(HostileDocument, PlacementThatIsNoNumberIsRefused)
{
    EXPECT_EQ(Refusal(WithStream(SomeProduct(), "Children",
                                 [](std::string& stream) {
                                     Put(stream, FirstPlacement + 4, 0x7FF80000);
                                     RepairHead(stream);
                                 })),
              "hostile: stream Children: a number is not finite");
}

TEST(HostileDocument, GeometryWithoutItsFactsIsRefused)
{
    EXPECT_EQ(Refusal(WithStream(SomePart(), "Geometry",
                                 [](std::string& stream) {
                                     stream.resize(HeadSize + 40);
                                     RepairHead(stream);
                                 })),
              "hostile: stream Geometry: the stream is cut short");
}

TEST(HostileDocument, EveryTruncationIsRefusedAndNeverCrashes)
{
    const std::string whole = BuildDocument(SomeProduct());
    for (std::size_t size = 0; size < whole.size() - 512; size += 61)
        EXPECT_NE(Refusal(whole.substr(0, size)), "") << size;
}

TEST(HostileDocument, EveryFlippedByteGivesADocumentOrAReason)
{
    const std::string whole = BuildDocument(SomeProduct());
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string bytes = whole;
        bytes[at] = static_cast<char>(~bytes[at]);
        const std::string refusal = Refusal(bytes);
        EXPECT_TRUE(refusal.empty() || refusal.starts_with("hostile: ")) << at << ": " << refusal;
    }
}

} // namespace openhost::testing
