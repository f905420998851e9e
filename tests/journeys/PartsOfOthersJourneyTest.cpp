// From a folder of STEP files that others made to parts in the user's workspace.

#include "catalogue/service/ItemRequest.h"
#include "openhost/documents/CadDocument.h"
#include "tests/journeys/ProgramFixture.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"
#include "tests/support/StepFile.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace openhost::testing {
namespace {

using nlohmann::json;
using ::testing::Contains;
using ::testing::StartsWith;

class PartsOfOthersJourney : public ProgramFixture {
protected:
    PartsOfOthersJourney()
    {
        const std::filesystem::path folder = Folder() / "theirs";
        std::filesystem::create_directory(folder);
        for (const char* name : {"as1_pe_203.stp", "LED_D5.0mm-4_RGB.step"})
            std::filesystem::copy_file(SourceDir() + "/tests/foreign/" + name, folder / name);
        EXPECT_EQ(0, std::system((BuildDir() + "/bin/velmart-catalogue build " + folder.string() + " " +
                                  Root().string() + " >" + (Folder() / "out").string())
                                     .c_str()));
    }
    std::filesystem::path Root() const { return Folder() / "root"; }
};

TEST_F(PartsOfOthersJourney, AnAssemblyIsOpenedAndAPartInsertedIntoIt)
{
    catalogue::CatalogueService service(Root());
    service.Start();
    const auto ask = [&](const char* event, const char* id) {
        json message = json::parse(catalogue::ReadDownloadMessage(Root(), id, service.GetAddress()));
        message["event"] = event;
        return R"({"message": )" + message.dump() + "}, ";
    };
    WriteBytes(Folder() / "session.json",
               R"({
        "settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true},
        "steps": [{"message": {"event": "velmart_ready", "content": {}}}, )" +
                   ask("velmart_open", "as1-pe-203") + R"({"wait": "idle"}, )" +
                   ask("velmart_insert", "led-d5-0mm-4-rgb") +
                   R"({"select": "AS1_PE_ASM"}, {"wait": "idle"}, {"save": "${PARTS}/AS1_PE_ASM.ZALProduct"}]})");
    const Played play = PlayFile(Folder() / "session.json", "", Parts(), service.GetAddress());
    EXPECT_EQ(0, play.status) << play.error << (play.journal.empty() ? json() : play.journal.back());
    const CadDocument root = ReadDocument(Parts() / "AS1_PE_ASM.ZALProduct");
    EXPECT_EQ(DocumentKind::Product, root.kind);
    for (const std::string& link : root.links)
        EXPECT_TRUE(std::filesystem::is_regular_file(Parts() / link)) << link;
    EXPECT_THAT(root.links, Contains(StartsWith("LED"))) << "it stands in the product";
}

TEST_F(PartsOfOthersJourney, TheStepFileOfTheDownloadHasTheSolidsOfTheOneBefore)
{
    catalogue::CatalogueService service(Root());
    service.Start();
    WriteBytes(Folder() / "session.json", R"({
        "settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true},
        "steps": [{"message": )" + catalogue::ReadDownloadMessage(Root(), "as1-pe-203", service.GetAddress()) +
                                              R"(}, {"wait": "idle"}]})");
    ASSERT_EQ(0, PlayFile(Folder() / "session.json", "", Parts(), service.GetAddress()).status);
    const std::string before = SourceDir() + "/tests/foreign/as1_pe_203.stp";
    const std::string after = (Folder() / "after.step").string();
    ASSERT_EQ(0, Run("export '" + (Parts() / "AS1_PE_ASM.ZALProduct").string() + "' '" + after + "'"));
    const StepFile one(before);
    const StepFile other(after);
    EXPECT_EQ(one.solids, other.solids);
    EXPECT_NEAR(one.volume, other.volume, 1e-6 * one.volume);
}

} // namespace
} // namespace openhost::testing
