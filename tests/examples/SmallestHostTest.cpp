// The smallest host, as a newcomer runs it: a program of its own with the plug-in and the catalogue.

#include "catalogue/service/CatalogueService.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"
#include "tests/support/WriteItems.h"
#include "tests/support/ZipBytes.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <set>
#include <sys/wait.h>

namespace openhost::testing {

namespace {

class SmallestHost : public ::testing::Test {
protected:
    SmallestHost() : service_(MakeRoot())
    {
        service_.Start();
        std::filesystem::create_directory(Parts());
    }

    std::filesystem::path Folder() const { return folder_.Path(); }
    std::filesystem::path Parts() const { return Folder() / "parts"; }

    /// Has it download what the catalogue serves at `path`; its exit status.
    int Download(const std::string& path) const
    {
        const std::string command = "'" + BuildDir() + "/bin/smallest-host' '" + BuildDir() +
                                    "/lib/ZALVelmartIntegration.so' '" + service_.GetAddress() + path + "' '" +
                                    Parts().string() + "' >'" + Output().string() + "' 2>&1";
        return WEXITSTATUS(std::system(command.c_str()));
    }
    std::string Said() const { return ReadFile(Output()); }

    std::set<std::string> NamesInParts() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(Parts()))
            names.insert(entry.path().filename());
        return names;
    }

    const std::string bolt_ = std::string(100'000, 'b') + '\0' + "olt";
    const std::string nut_ = "nut";

private:
    std::filesystem::path MakeRoot() const
    {
        catalogue::testing::WriteItems(Folder() / "root", {});
        WriteBytes(Folder() / "root" / "files" / "bolt.zip",
                   ZipBytes().Add("bolt.ZALPart", bolt_).Deflated().Add("nut.ZALPart", nut_).Bytes());
        return Folder() / "root";
    }
    std::filesystem::path Output() const { return Folder() / "output"; }

    TemporaryFolder folder_;
    catalogue::CatalogueService service_;
};

TEST_F(SmallestHost, PutsTheFilesOfAnItemIntoTheFolder)
{
    EXPECT_EQ(0, Download("/files/bolt.zip")) << Said();
    EXPECT_EQ((std::set<std::string>{"bolt.ZALPart", "nut.ZALPart"}), NamesInParts());
    EXPECT_EQ(bolt_, ReadFile(Parts() / "bolt.ZALPart"));
    EXPECT_EQ(nut_, ReadFile(Parts() / "nut.ZALPart"));
    EXPECT_EQ("", Said());
}

TEST_F(SmallestHost, FollowsARedirection)
{
    EXPECT_EQ(0, Download("/files/bolt.zip?redirect=2")) << Said();
    EXPECT_EQ(bolt_, ReadFile(Parts() / "bolt.ZALPart"));
}

TEST_F(SmallestHost, AnswersTheQuestionWhetherToOverwriteWithYes)
{
    WriteBytes(Parts() / "bolt.ZALPart", "old");
    EXPECT_EQ(0, Download("/files/bolt.zip"));
    EXPECT_THAT(Said(), ::testing::HasSubstr("Do you want to overwrite listed files ?"));
    EXPECT_THAT(Said(), ::testing::EndsWith("-> Yes\n"));
    EXPECT_EQ(bolt_, ReadFile(Parts() / "bolt.ZALPart"));
}

TEST_F(SmallestHost, TellsADownloadThatFails)
{
    EXPECT_EQ(1, Download("/files/bolt.zip?cut=50"));
    EXPECT_EQ("Transaction has failed\n", Said());
    EXPECT_EQ(1, Download("/files/missing.zip"));
    EXPECT_EQ("Transaction has failed\n", Said());
    EXPECT_EQ(std::set<std::string>{}, NamesInParts());
}

} // namespace

} // namespace openhost::testing
