// Items rebuilt on the user's templates: the program openhost, the shared library of the module, the catalogue, and
// what another program reads of the result.

#include "openhost/documents/CadDocument.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "tests/journeys/JourneyFixture.h"
#include "tests/journeys/ProgramFixture.h"
#include "tests/support/HostileShapes.h"
#include "tests/support/Places.h"
#include "tests/support/StepFile.h"
#include "tests/support/WriteItems.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace openhost::testing {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* DownloadFailed = "The download has failed.";

class RebuildJourney : public ProgramFixture {
protected:
    RebuildJourney()
    {
        std::filesystem::create_directory(Plain());
        std::filesystem::create_directory(Temp());
    }

    /// Where rebuilt documents come without templates; with them they come into Parts().
    std::filesystem::path Plain() const { return Folder() / "plain"; }
    /// Where downloads come first.
    std::filesystem::path Temp() const { return Folder() / "temp"; }

    json Templates() const
    {
        return {{"zalpartTemplate", Base() + "/files/templates/PartTemplate.ZALPart"},
                {"zalproductTemplate", Base() + "/files/templates/ProductTemplate.ZALProduct"},
                {"preferredSaveMethod", "save as"}};
    }
    /// Those with `query` at the address of the one under `key`.
    json TemplatesWith(const std::string& key, const std::string& query) const
    {
        json ready = Templates();
        ready[key] = ready[key].get<std::string>() + query;
        return ready;
    }

    /// Plays the session `file` into `parts` and keeps its journal.
    void PlayInto(const std::filesystem::path& file, const std::filesystem::path& parts)
    {
        Played play = PlayFile(file, "", parts, Base());
        ASSERT_EQ(0, play.status) << play.error;
        events_ = std::move(play.journal);
    }

    /// Downloads the item `id` into `parts` under `fileName`, on templates when `ready` names some; `event` may be
    /// "velmart_open" as well.
    void Download(const std::string& id, const std::string& fileName, const std::filesystem::path& parts,
                  const json& ready, const std::string& event = "velmart_download")
    {
        DownloadFrom(Base() + "/files/" + id + ".zip", fileName, parts, ready, event);
    }

    void DownloadFrom(const std::string& address, const std::string& fileName, const std::filesystem::path& parts,
                      const json& ready, const std::string& event = "velmart_download")
    {
        const json request = {{"id", fileName},
                              {"attributes", {{"fileName", fileName}, {"downloadUrls", {{"ZALOR_RAW", address}}}}}};
        json session = {{"variables", {{"ZALTemp", Temp().string()}}},
                        {"settings", {{"DownloadLocation", parts.string()}, {"DoNotRemindDownloadLocation", true}}},
                        {"steps",
                         {{{"message", {{"event", "velmart_ready"}, {"content", ready}}}},
                          {{"message", {{"event", event}, {"content", request}}}},
                          {{"wait", "idle"}, {"seconds", 60}}}}};
        if (!ready.empty())
            session["environment"]["ZAL_VELMART_UNICITY_AND_TEMPLATE_SUPPORT"] = "1";
        const std::filesystem::path file = Folder() / "session.json";
        std::ofstream(file) << session.dump(1);
        PlayInto(file, parts);
    }

    StepFile Export(const std::filesystem::path& document)
    {
        const std::filesystem::path step = Folder() / "out.step";
        EXPECT_EQ(0, Run("export '" + document.string() + "' '" + step.string() + "'"));
        return StepFile(step);
    }

    std::vector<json> Events(const std::string& name) const { return ProgramFixture::Events(events_, name); }
    std::size_t Requests(const std::string& ending) const
    {
        const std::vector<json> requests = Events("request");
        return static_cast<std::size_t>(std::ranges::count_if(
            requests, [&](const json& request) { return request["url"].get<std::string>().ends_with(ending); }));
    }
    /// How often programs have opened documents, less the times that they closed them.
    int LeftOpen() const
    {
        int open = 0;
        for (const json& event : Events("document"))
            if (event.contains("hidden"))
                open += event["action"] == "opened" ? 1 : event["action"] == "closed" ? -1 : 0;
        return open;
    }
    /// Texts of the blocking dialogs.
    std::vector<std::string> Dialogs() const
    {
        std::vector<std::string> texts;
        for (const json& dialog : Events("dialog"))
            texts.push_back(dialog["text"]);
        return texts;
    }
    /// Of the download nothing is left but the archive and the templates, and no document is left open.
    void ExpectTidy() const
    {
        EXPECT_THAT(NamesIn(Temp()), ElementsAre("VelmartDownloadedQ7Files.zip", "VelmartTemplates"));
        EXPECT_EQ(0, LeftOpen());
    }
    static std::filesystem::path ServedTemplate(const std::string& name)
    {
        return std::filesystem::path(ItemsDir()) / "files" / "templates" / name;
    }

private:
    std::vector<json> events_;
};

void ExpectEqualGeometry(const StepFile& rebuilt, const StepFile& source)
{
    EXPECT_EQ(source.solids, rebuilt.solids);
    EXPECT_GT(source.solids, 0U);
    EXPECT_NEAR(rebuilt.volume, source.volume, 1e-9 * source.volume);
    EXPECT_EQ(source.root, rebuilt.root);
    EXPECT_EQ(source.products, rebuilt.products);
    ASSERT_EQ(source.instances.size(), rebuilt.instances.size());
    for (const StepInstance& expected : source.instances) {
        const StepInstance& instance = rebuilt.Find(expected.path);
        EXPECT_EQ(expected.product, instance.product) << expected.path;
        EXPECT_NEAR(instance.volume, expected.volume, 1e-9 * expected.volume) << expected.path;
        for (std::size_t i = 0; i < 12; ++i)
            EXPECT_NEAR(instance.placement[i], expected.placement[i], 1e-9) << expected.path << " " << i;
    }
}

} // namespace

TEST_F(RebuildJourney, APartHasTheSolidOfItsSourceAndTheRestOfTheTemplate)
{
    Download("hexagon-bolt-m6x30", "My bolt", Plain(), json::object());
    Download("hexagon-bolt-m6x30", "My bolt", Parts(), Templates());
    ASSERT_THAT(NamesIn(Parts()), ElementsAre("My bolt.ZALPart"));
    ExpectTidy();

    ExpectEqualGeometry(Export(Parts() / "My bolt.ZALPart"), Export(Plain() / "ISO4014_M6x30.ZALPart"));

    const CadDocument rebuilt = ReadDocument(Parts() / "My bolt.ZALPart");
    const CadDocument source = ReadDocument(Plain() / "ISO4014_M6x30.ZALPart");
    const CadDocument used = ReadDocument(ServedTemplate("PartTemplate.ZALPart"));
    ASSERT_TRUE(rebuilt.geometry);
    EXPECT_EQ(std::nullopt, rebuilt.geometry->facts);
    const GeometryFacts facts = MeasureShape(DecodeShape(*rebuilt.geometry));
    EXPECT_EQ(source.geometry->facts->faces, facts.faces);
    EXPECT_NEAR(facts.volume, source.geometry->facts->volume, 1e-9 * source.geometry->facts->volume);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(facts.box.lowest[axis], source.geometry->facts->box.lowest[axis], 1e-9);
        EXPECT_NEAR(facts.box.highest[axis], source.geometry->facts->box.highest[axis], 1e-9);
    }
    const std::filesystem::path shown = Folder() / "shown";
    EXPECT_EQ(0, Run("show '" + (Parts() / "My bolt.ZALPart").string() + "' >'" + shown.string() + "'"));
    EXPECT_THAT(ReadFile(shown), ::testing::HasSubstr("  1 solid, " + std::to_string(facts.faces) + " faces, volume "))
        << "measured when it is shown";
    EXPECT_EQ(source.partNumber, rebuilt.partNumber);
    EXPECT_EQ(source.nomenclature, rebuilt.nomenclature);
    EXPECT_EQ(source.description, rebuilt.description);
    EXPECT_EQ(used.identity, rebuilt.identity);
    EXPECT_EQ(used.features, rebuilt.features);
    EXPECT_EQ(used.cameras, rebuilt.cameras);
    std::vector<UserParameter> parameters = used.parameters;
    std::ranges::copy(source.parameters, std::back_inserter(parameters));
    EXPECT_EQ(parameters, rebuilt.parameters);
}

TEST_F(RebuildJourney, APartHasTheCamerasOfItsSource)
{
    const TemporaryFolder served;
    std::filesystem::create_directory(served.Path() / "files");
    CadDocument source;
    source.partNumber = "BOX";
    source.geometry = EncodeShape(BRepPrimAPI_MakeBox(10, 20, 5).Shape());
    source.cameras = {DocumentCamera{"from the left"}, DocumentCamera{"from above"}};
    WriteDocument(source, served.Path() / "files" / "box.ZALPart");
    CadDocument used;
    used.cameras = {DocumentCamera{"of the template"}};
    WriteDocument(used, served.Path() / "files" / "template.ZALPart");
    catalogue::testing::WriteItems(served.Path(), {});
    catalogue::CatalogueService service(served.Path());
    service.Start();

    DownloadFrom(service.GetAddress() + "/files/box.ZALPart", "My box", Parts(),
                 {{"zalpartTemplate", service.GetAddress() + "/files/template.ZALPart"}});
    ASSERT_THAT(NamesIn(Parts()), ElementsAre("My box.ZALPart"));
    const CadDocument rebuilt = ReadDocument(Parts() / "My box.ZALPart");
    EXPECT_TRUE(rebuilt.geometry);
    EXPECT_EQ(source.cameras, rebuilt.cameras);
    EXPECT_EQ(0, LeftOpen());
}

TEST_F(RebuildJourney, AnAssemblyKeepsItsInstancesAndSharesRepeatedParts)
{
    Download("bolted-joint-m8", "My joint", Plain(), json::object());
    Download("bolted-joint-m8", "My joint", Parts(), Templates());
    ASSERT_THAT(NamesIn(Parts()), ElementsAre("My joint.ZALProduct", "My joint_01.ZALPart", "My joint_02.ZALPart",
                                              "My joint_03.ZALPart"));
    ExpectTidy();

    const StepFile source = Export(Plain() / "BOLTED_JOINT_M8.ZALProduct");
    ASSERT_EQ(4U, source.instances.size());
    ASSERT_EQ(4U, source.products) << "the washer stands in it twice";
    ExpectEqualGeometry(Export(Parts() / "My joint.ZALProduct"), source);

    const CadDocument product = ReadDocument(Parts() / "My joint.ZALProduct");
    const CadDocument used = ReadDocument(ServedTemplate("ProductTemplate.ZALProduct"));
    EXPECT_EQ((LinkTable{"My joint_01.ZALPart", "My joint_02.ZALPart", "My joint_03.ZALPart"}), product.links);
    EXPECT_EQ("BOLTED_JOINT_M8", product.partNumber);
    EXPECT_EQ(used.cameras, product.cameras);
    EXPECT_EQ(used.parameters, product.parameters) << "the source has none";
    EXPECT_EQ("ISO7089_M8", ReadDocument(Parts() / "My joint_02.ZALPart").partNumber);
}

TEST_F(RebuildJourney, TheExampleRebuildsAPartAndAnAssemblyAndOpensBoth)
{
    PlayInto(SourceDir() + "/examples/rebuild-on-templates.json", Parts());
    EXPECT_EQ(1U, Requests("/PartTemplate.ZALPart")) << "templates are fetched once";
    EXPECT_EQ(1U, Requests("/ProductTemplate.ZALProduct"));
    EXPECT_EQ(0, LeftOpen());
    const std::vector<json> trees = Events("tree");
    ASSERT_EQ(2U, trees.size());
    EXPECT_EQ("ISO4014_M6x30", trees[0]["root"]["partNumber"]);
    ASSERT_EQ(4U, trees[1]["root"]["children"].size());
    EXPECT_EQ(trees[1]["root"]["children"][1]["file"], trees[1]["root"]["children"][2]["file"]);
}

TEST_F(RebuildJourney, SeveralProductsComeAsTheyAre)
{
    Download("bearing-unit-20", "My unit", Plain(), json::object());
    Download("bearing-unit-20", "My unit", Parts(), Templates());
    EXPECT_EQ(NamesIn(Parts()), NamesIn(Plain()));
    EXPECT_THAT(Events("document"), IsEmpty());
    ExpectTidy();
    ExpectEqualGeometry(Export(Parts() / "BEARING_UNIT_20.ZALProduct"), Export(Plain() / "BEARING_UNIT_20.ZALProduct"));
}

TEST_F(RebuildJourney, TheUserWhoOpensSeveralProductsIsTold)
{
    Download("bearing-unit-20", "My unit", Parts(), Templates(), "velmart_open");
    EXPECT_THAT(Dialogs(), ElementsAre(StartsWith("The item has more than one product")));
}

TEST_F(RebuildJourney, AnItemThatIsThereAlreadyIsNotFetchedAgain)
{
    Download("hexagon-bolt-m6x30", "My bolt", Parts(), Templates());
    const std::string rebuilt = ReadFile(Parts() / "My bolt.ZALPart");
    Download("hexagon-bolt-m6x30", "My bolt", Parts(), Templates(), "velmart_open");
    EXPECT_THAT(Events("request"), IsEmpty());
    EXPECT_THAT(Dialogs(), ElementsAre(StartsWith("A file of this name was already in the download folder")));
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("My bolt.ZALPart"));
    EXPECT_EQ(ReadFile(Parts() / "My bolt.ZALPart"), rebuilt);
}

// ---------------------------------------------------------------------------------------------
// Templates that cannot be used

TEST_F(RebuildJourney, ATemplateThatIsOfNoUseIsRefusedAndLeavesNothingOpen)
{
    json filled = Templates();
    filled["zalpartTemplate"] = Base() + "/files/ISO7089_M6.ZALPart"; // it has a shape already
    const std::vector<std::pair<std::string, json>> cases = {
        {"hexagon-bolt-m6x30", filled},
        {"hexagon-bolt-m6x30", TemplatesWith("zalpartTemplate", "?empty=1")},
        {"bolted-joint-m8", TemplatesWith("zalproductTemplate", "?empty=1")}};
    for (const auto& [id, ready] : cases) {
        SCOPED_TRACE(ready);
        std::filesystem::remove_all(Temp() / "VelmartTemplates");
        Download(id, "My item", Parts(), ready);
        EXPECT_EQ(1U, Requests(ready["zalpartTemplate"].get<std::string>().substr(Base().size())));
        EXPECT_THAT(NamesIn(Parts()), IsEmpty());
        EXPECT_THAT(Dialogs(), ElementsAre(DownloadFailed));
        ExpectTidy();
    }
}

TEST_F(RebuildJourney, GeometryOnWhichTheKernelCrashesIsNotPasted)
{
    const TemporaryFolder served;
    CadDocument hostile;
    hostile.partNumber = "HOSTILE";
    hostile.geometry = CrashesDecoding();
    std::filesystem::create_directory(served.Path() / "files");
    WriteDocument(hostile, served.Path() / "files" / "hostile.ZALPart");
    catalogue::testing::WriteItems(served.Path(), {});
    catalogue::CatalogueService service(served.Path());
    service.Start();

    DownloadFrom(service.GetAddress() + "/files/hostile.ZALPart", "My part", Parts(), Templates());
    std::vector<json> refusals = Events("document");
    std::erase_if(refusals, [](const json& event) { return event["action"] != "refused"; });
    ASSERT_EQ(1U, refusals.size());
    EXPECT_EQ("Paste", refusals[0]["operation"]);
    EXPECT_EQ("PartBody: the geometry cannot be copied: the solid kernel has crashed", refusals[0]["reason"]);
    EXPECT_EQ(0, LeftOpen());
    ASSERT_THAT(NamesIn(Parts()), ElementsAre("My part.ZALPart"));
    const CadDocument rebuilt = ReadDocument(Parts() / "My part.ZALPart");
    EXPECT_EQ("HOSTILE", rebuilt.partNumber);
    EXPECT_FALSE(rebuilt.geometry) << "the template is saved without it";
}

TEST_F(RebuildJourney, AProductTemplateWithoutAPartTemplateEndsAfterTheFirstPart)
{
    Download("bolted-joint-m8", "My joint", Plain(), json::object());
    json ready = Templates();
    ready.erase("zalpartTemplate");
    Download("bolted-joint-m8", "My joint", Parts(), ready);
    ASSERT_THAT(NamesIn(Parts()), ElementsAre("My joint_01.ZALPart"));
    EXPECT_EQ(ReadFile(Parts() / "My joint_01.ZALPart"), ReadFile(Plain() / "ISO4014_M8x40.ZALPart"));
    EXPECT_THAT(Dialogs(), ElementsAre(DownloadFailed));
    ExpectTidy();
}

TEST_F(RebuildJourney, ATemplateThatCannotBeFetchedLeavesTheItemAsItCame)
{
    Download("hexagon-bolt-m6x30", "My bolt", Plain(), json::object());
    Download("hexagon-bolt-m6x30", "My bolt", Parts(), TemplatesWith("zalpartTemplate", "?cut=100"));
    ASSERT_THAT(NamesIn(Parts()), ElementsAre("My bolt.ZALPart"));
    EXPECT_EQ(ReadFile(Parts() / "My bolt.ZALPart"), ReadFile(Plain() / "ISO4014_M6x30.ZALPart"));
    EXPECT_THAT(Dialogs(), ElementsAre(DownloadFailed)) << "the failure is told first, and only that";
    EXPECT_EQ(0, LeftOpen());
}

} // namespace openhost::testing
