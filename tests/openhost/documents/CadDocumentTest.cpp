#include "DocumentBytes.h"

#include "openhost/documents/DocumentStream.h"
#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <bit>
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

void PutNumbers(StreamWriter& writer, std::initializer_list<std::uint32_t> numbers)
{
    for (const std::uint32_t number : numbers)
        writer.PutNumber(number);
}

constexpr const char* NotRigid = "child Bolt.1 has no rigid placement";

/// Offset of the first child's placement in the stream of SomeProduct: head, count, "Bolt.1" with its length, link.
constexpr std::size_t FirstPlacement = HeadSize + 4 + 4 + 6 + 4;

} // namespace

TEST(CadDocument, PartComesBackAsItWasWritten)
{
    EXPECT_EQ(SomePart(), ParseDocument(BuildDocument(SomePart()), "part"));
}

TEST(CadDocument, ProductComesBackWithChildrenInOrderAndPlacementsToTheBit)
{
    const CadDocument read = ParseDocument(BuildDocument(SomeProduct()), "product");
    EXPECT_EQ(SomeProduct(), read);
    EXPECT_EQ(30.25, read.children[2].placement[11]);
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
    EXPECT_EQ(SomeProduct(), ReadDocument(path));
    EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(folder.Path()), {}));
}

TEST(CadDocument, DocumentThatIsRefusedLeavesTheFileOfBefore)
{
    const TemporaryFolder folder;
    const auto path = folder.Path() / "Joint.ZALProduct";
    WriteDocument(SomeProduct(), path);
    CadDocument broken = SomeProduct();
    broken.children[0].link = 2;
    EXPECT_THROW(WriteDocument(broken, path), CompoundFileError);
    EXPECT_EQ(SomeProduct(), ReadDocument(path));
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
    struct Row {
        CadDocument document;
        void (*breakIt)(CadDocument& document);
        const char* refusal;
    };
    const Row rows[] = {
        {SomeProduct(), [](auto& d) { d.children[2].name = "Bolt.1"; }, "two children have the name Bolt.1"},
        {SomeProduct(), [](auto& d) { d.children[1].name.clear(); }, "a child has no name"},
        {SomeProduct(), [](auto& d) { d.links[1] = "Bolt.ZALPart"; }, "two links have the same file name"},
        {SomeProduct(), [](auto& d) { d.children[0].placement[3] = std::nan(""); }, NotRigid},
        {SomeProduct(), [](auto& d) { d.geometry = SomePart().geometry; }, "a product has geometry of its own"},
        {SomePart(), [](auto& d) { d.children = SomeProduct().children; }, "a part has children"},
        {SomePart(), [](auto& d) { d.parameters[1].name = ""; }, "a parameter has no name"},
        {SomePart(), [](auto& d) { d.nomenclature = "\xC3\x28"; }, "a text is not plain UTF-8"},
        {SomePart(), [](auto& d) { d.features.workingTool = 3; }, "the part has no tool to work in"},
        {SomePart(), [](auto& d) { d.features.otherTools[1].name.clear(); }, "a tool has no name"},
        {SomePart(),
         [](auto& d) {
             d.features.otherTools.assign(MaximumOtherTools + 1, {"T", {}});
         },
         "the part has too many tools"},
        {SomePart(), [](auto& d) { d.features.axisSystems[0].placement[0] = 2; },
         "axis system Head has no rigid placement"},
        {SomePart(),
         [](auto& d) {
             d.cameras[0].up = {2, 0, 0};
         },
         "camera Side shows nothing"},
        {SomePart(), [](auto& d) { d.cameras[0].sight = {}; }, "camera Side shows nothing"},
        {SomePart(), [](auto& d) { d.cameras[0].scale = 0; }, "camera Side shows nothing"},
    };
    for (const Row& row : rows) {
        CadDocument document = row.document;
        row.breakIt(document);
        EXPECT_EQ("document " + document.partNumber + ": " + row.refusal, BuildRefusal(document));
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

TEST(CadDocument, GeometryThatNobodyHasMeasuredComesBackWithoutFacts)
{
    CadDocument part = SomePart();
    part.geometry->facts.reset();
    part.features.otherTools[0].geometry->facts.reset();
    const CadDocument read = ParseDocument(BuildDocument(part), "part");
    EXPECT_EQ(part, read);
    EXPECT_NE(SomePart(), read);
}

TEST(CadDocument, MeasuredGeometryIsWrittenAsEarlierProgramsReadIt)
{
    const auto versionOf = [](const CadDocument& part) {
        for (const auto& [name, bytes] : StreamsOf(part))
            if (name == "Geometry")
                return static_cast<int>(bytes.at(4));
        return 0;
    };
    CadDocument part = SomePart();
    EXPECT_EQ(1, versionOf(part));
    part.geometry->facts.reset();
    EXPECT_EQ(2, versionOf(part));
}

TEST(CadDocument, ColorsOfEachToolComeBack)
{
    CadDocument part = SomePart();
    part.geometry->colors.whole = SurfaceColor{0.25, 1, 0};
    part.features.otherTools.push_back({"Other", part.geometry});
    part.features.otherTools.back().geometry->colors = {std::nullopt, {{0, {1, 0, 0}}, {7, {0.1, 0.2, 0.3}}}};
    EXPECT_EQ(part, ParseDocument(BuildDocument(part), "part"));
    const TemporaryFolder folder;
    WriteDocument(part, folder.Path() / "part");
    EXPECT_EQ(part.features.otherTools.back().geometry,
              ReadToolGeometry(folder.Path() / "part", part.features.otherTools.size()));
}

TEST(CadDocument, APartWithoutColorsHasNoStreamOfThem)
{
    EXPECT_EQ(std::string::npos, BuildDocument(SomePart()).find("ZCOL"));
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
    EXPECT_EQ((std::vector<UserParameter>{{"Material", "Steel"}}), ParseDocument(bytes, "part").parameters);
}

TEST(CadDocument, ParametersAreToldAsTheUserReadsThem)
{
    std::vector<std::string> texts;
    for (const UserParameter& parameter : SomePart().parameters)
        texts.push_back(ParameterText(parameter));
    EXPECT_EQ((std::vector<std::string>{"Steel 8.8", "", "-12.5 in", "-3", "true", "Steel 10.9"}), texts);
    EXPECT_EQ("1234.56789 mm", ParameterText({"l", ParameterLength{1234.56789, "mm"}}));
}

TEST(CadDocument, ScaledShearedAndMirroredPlacementsAreRefused)
{
    for (const Placement& placement :
         {Placement{2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, Placement{1, 0.5, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0},
          Placement{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, Placement{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}}) {
        CadDocument document = SomeProduct();
        document.children[0].placement = placement;
        EXPECT_EQ(std::string("document JOINT: ") + NotRigid, BuildRefusal(document));
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
    EXPECT_EQ(SomePart(), ParseDocument(BuildCompoundFile(root), "part"));
}

// ---------------------------------------------------------------------------------------------
// Hostile documents

TEST(HostileDocument, WithoutItsStorageIsRefused)
{
    CompoundContents root;
    root.streams.push_back({DocumentStorageName, "a stream of that name"});
    EXPECT_EQ("hostile: no storage ZALOR1", Refusal(BuildCompoundFile(root)));
    EXPECT_EQ("hostile: no storage ZALOR1", Refusal(BuildCompoundFile({})));
}

TEST(HostileDocument, WithoutLinkTableOrPropertiesIsRefused)
{
    auto streams = StreamsOf(SomePart());
    EXPECT_EQ("hostile: no link table", Refusal(FileWithStreams({streams[1], streams[2]})));
    EXPECT_EQ("hostile: stream Properties: missing", Refusal(FileWithStreams({streams[0], streams[2]})));
}

TEST(HostileDocument, WrongMarkVersionLengthAndChecksumAreNamed)
{
    struct Row {
        void (*change)(std::string& stream);
        const char* reason;
    };
    const Row rows[] = {
        {[](std::string& s) { s[0] = 'Q'; }, "the mark of the stream is wrong"},
        {[](std::string& s) { Put(s, 4, 2); }, "version 2 of the stream is unknown"},
        {[](std::string& s) { Put(s, 4, 0); }, "version 0 of the stream is unknown"},
        {[](std::string& s) { Put(s, 12, 0xFFFFFFFF); }, "the length of the stream is wrong"},
        {[](std::string& s) { s.back() ^= 1; }, "the checksum of the stream is wrong"},
        {[](std::string& s) { s.resize(11); }, "the stream is cut short"},
        {[](std::string& s) { s.clear(); }, "the stream is cut short"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(std::string("hostile: stream Properties: ") + row.reason,
                  Refusal(WithWholeStream(SomePart(), "Properties", row.change)));
}

TEST(HostileDocument, UnknownKindIsRefused)
{
    for (const std::uint32_t kind : {0U, 3U, 0xFFFFFFFFU})
        EXPECT_EQ("hostile: stream Properties: the kind of the document is unknown",
                  Refusal(WithNumber(SomePart(), "Properties", HeadSize, kind)));
}

TEST(HostileDocument, PartThatCallsItselfAProductIsRefusedForItsGeometry)
{
    CadDocument part = SomePart();
    part.features = {};
    EXPECT_EQ("hostile: a product has geometry of its own", Refusal(WithNumber(part, "Properties", HeadSize, 2)));
}

TEST(HostileDocument, ProductWithFeaturesOfAPartIsRefused)
{
    CadDocument product = SomeProduct();
    product.features.axisSystems = {{"Head", IdentityPlacement}};
    EXPECT_EQ("document JOINT: a product has features of a part", BuildRefusal(product));
    auto streams = StreamsOf(SomeProduct());
    for (const auto& [name, bytes] : StreamsOf(SomePart()))
        if (name == "Features")
            streams.emplace_back(name, bytes);
    EXPECT_EQ("hostile: a product has features of a part", Refusal(FileWithStreams(streams)));
}

TEST(HostileDocument, MillionsOfThingsOfAPartInAFewBytesAreRefused)
{
    // The counts stand after nothing, nothing, "Bolt" with its length and a number, and two more tools with names.
    const std::size_t tools = HeadSize + 4 + 4 + 4;
    const std::size_t systems = tools + 4 + 4 + 6 + 4 + 8;
    for (const auto& [stream, offset] : {std::pair("Parameters", HeadSize), std::pair("Cameras", HeadSize),
                                         std::pair("Features", tools), std::pair("Features", systems)})
        for (const std::uint32_t count : {5'000'000U, 0xFFFFFFFFU})
            EXPECT_EQ(Refusal(WithNumber(SomePart(), stream, offset, count)),
                      std::string("hostile: stream ") + stream + ": a count is larger than the stream");
}

TEST(HostileDocument, ParameterOfAnUnknownTypeUnitOrValueIsRefused)
{
    struct Row {
        void (*putValue)(StreamWriter& writer);
        const char* refusal;
    };
    const Row rows[] = {
        {[](StreamWriter& w) {
             PutNumbers(w, {3, 7});
         },
         ""},
        {[](StreamWriter& w) {
             PutNumbers(w, {5, 0});
         },
         "hostile: stream Parameters: parameter p has an unknown type"},
        {[](StreamWriter& w) {
             PutNumbers(w, {4, 2});
         },
         "hostile: stream Parameters: a boolean is neither true nor false"},
        {[](StreamWriter& w) {
             w.PutNumber(2);
             w.PutReal(1);
             w.PutText("ell");
         },
         "hostile: parameter p has an unknown unit"},
        {[](StreamWriter& w) {
             PutNumbers(w, {3, 7, 7});
         },
         "hostile: stream Parameters: something stands after the end of the stream"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.refusal, Refusal(WithStream(SomePart(), "Parameters", [&](std::string& stream) {
                      StreamWriter writer;
                      writer.PutNumber(1);
                      writer.PutText("p");
                      row.putValue(writer);
                      stream = writer.Finish("ZPAR", 1);
                  })));
}

TEST(HostileDocument, MillionsOfLinksOrChildrenInAFewBytesAreRefused)
{
    for (const auto& [stream, name] : {std::pair("Links", "link table"), std::pair("Children", "stream Children")})
        for (const std::uint32_t count : {50U, 5'000'000U, 0xFFFFFFFFU})
            EXPECT_EQ(Refusal(WithNumber(SomeProduct(), stream, HeadSize, count)),
                      std::string("hostile: ") + name + ": a count is larger than the stream");
}

TEST(HostileDocument, FewerLinksThanAnnouncedOrMoreAreRefused)
{
    const auto refusalWith = [](std::uint32_t count) {
        return Refusal(WithNumber(SomeProduct(), "Links", HeadSize, count));
    };
    EXPECT_EQ("hostile: link table: the stream is cut short", refusalWith(3));
    EXPECT_EQ("hostile: link table: something stands after the end of the stream", refusalWith(1));
}

TEST(HostileDocument, TextThatClaimsToBeLongerThanTheStreamIsRefused)
{
    const auto refusalWithLength = [](std::uint32_t length) {
        return Refusal(WithNumber(SomeProduct(), "Links", HeadSize + 4, length));
    };
    EXPECT_EQ("hostile: link table: a text is too long", refusalWithLength(0xFFFFFFFF));
    EXPECT_EQ("hostile: link table: a text is too long", refusalWithLength(65537));
    EXPECT_EQ("hostile: link table: the stream is cut short", refusalWithLength(65536));
}

TEST(HostileDocument, LinkNamesThatAreNoTextAreRefused)
{
    for (const char* name :
         {"Bolt\x1B[2J", "\xED\xA0\x80surrogat", "\xC0\xAFoverlong....", "\xF4\x90\x80\x80tooHigh..", "cut\xE2\x82"}) {
        const std::string replacement(name);
        EXPECT_EQ("hostile: link table: a text is not plain UTF-8",
                  Refusal(WithStream(SomeProduct(), "Links",
                                     [&](std::string& stream) {
                                         stream.replace(HeadSize + 8, 12, replacement);
                                         Put(stream, HeadSize + 4, static_cast<std::uint32_t>(replacement.size()));
                                     })))
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
    EXPECT_EQ("hostile: child Bolt.1 points outside the link table",
              Refusal(WithNumber(SomeProduct(), "Children", FirstPlacement - 4, 2)));
}

TEST(HostileDocument, PlacementThatIsNoneIsRefused)
{
    const auto refusalWith = [](std::size_t position, double number) {
        return Refusal(WithStream(SomeProduct(), "Children", [&](std::string& stream) {
            const auto bits = std::bit_cast<std::uint64_t>(number);
            Put(stream, FirstPlacement + 8 * position, static_cast<std::uint32_t>(bits));
            Put(stream, FirstPlacement + 8 * position + 4, static_cast<std::uint32_t>(bits >> 32));
        }));
    };
    for (const std::size_t position : {0U, 3U, 11U})
        for (const double number :
             {std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()})
            EXPECT_EQ("hostile: stream Children: a number is not finite", refusalWith(position, number)) << number;
    for (const auto& [position, number] :
         {std::pair{0U, 0.0}, {0U, -1.0}, {0U, 2.0}, {0U, 1e308}, {0U, 1.01}, {1U, 0.5}})
        EXPECT_EQ(std::string("hostile: ") + NotRigid, refusalWith(position, number)) << position << " " << number;
}

TEST(HostileDocument, GeometryWithoutItsFactsIsRefused)
{
    EXPECT_EQ("hostile: stream Geometry: the stream is cut short",
              Refusal(WithStream(SomePart(), "Geometry", [](std::string& stream) { stream.resize(HeadSize + 40); })));
}

TEST(HostileDocument, ColorsThatAreNoneAreRefused)
{
    CadDocument part = SomePart();
    part.geometry->colors.faces = {{1, {0.5, 0.5, 0.5}}, {2, {0, 0, 0}}};
    const auto refusal = [&](std::size_t place, auto value) {
        StreamWriter number;
        if constexpr (std::is_same_v<decltype(value), double>)
            number.PutReal(value);
        else
            number.PutNumber(value);
        const std::string bytes = number.Finish("ZCOL", 1).substr(HeadSize);
        return Refusal(WithStream(part, "Colors",
                                  [&](std::string& stream) { stream.replace(HeadSize + place, bytes.size(), bytes); }));
    };
    EXPECT_EQ("hostile: stream Colors: a boolean is neither true nor false", refusal(0, 2U));
    EXPECT_EQ("hostile: stream Colors: a count is larger than the stream", refusal(4, 0xFFFFFFFFU));
    EXPECT_EQ("hostile: stream Colors: the faces with colours are out of order", refusal(8, 2U));
    EXPECT_EQ("hostile: stream Colors: a colour is none", refusal(12, 1.5));
    EXPECT_EQ("hostile: stream Colors: a colour is none", refusal(12, -0.5));

    part.geometry->colors.faces = {{2, {0, 0, 0}}, {1, {0, 0, 0}}};
    EXPECT_THROW(BuildDocument(part), CompoundFileError);
    part.geometry->colors = {SurfaceColor{0, 0, 1.01}, {}};
    EXPECT_THROW(BuildDocument(part), CompoundFileError);
}

TEST(PartColors, ComeBackFromBeforeABoundary)
{
    const PartColors colors{SurfaceColor{1, 0.5, 0}, {{3, {0, 1, 0}}}};
    std::string bytes = ColoredBoundary(colors, "boundary");
    EXPECT_EQ(colors, TakeColors(bytes));
    EXPECT_EQ("boundary", bytes);
    EXPECT_EQ("boundary", ColoredBoundary({}, "boundary"));
    EXPECT_EQ(PartColors(), TakeColors(bytes));

    const std::string whole = ColoredBoundary(colors, "");
    for (std::size_t size = 4; size < whole.size(); ++size) {
        std::string cut = whole.substr(0, size);
        EXPECT_THROW(TakeColors(cut), DocumentStreamError) << size;
    }
}

TEST(PartColors, AreThoseOfTheWholeWhereAFaceHasNone)
{
    const PartColors colors{SurfaceColor{1, 0, 0}, {{1, {0, 1, 0}}, {9, {0, 0, 1}}}};
    EXPECT_EQ((std::vector<std::optional<SurfaceColor>>{SurfaceColor{1, 0, 0}, SurfaceColor{0, 1, 0}}),
              ColorsOfFaces(colors, 2));
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
