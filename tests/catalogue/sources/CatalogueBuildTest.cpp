// Catalogues of folders, with the program that makes the items.

#include "catalogue/sources/CatalogueBuild.h"

#include "catalogue/items/ItemFolders.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"
#include "tests/support/SolidDocuments.h"
#include "tests/support/WriteItems.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>

namespace catalogue::testing {

namespace {

using openhost::testing::FilesBelow;
using openhost::testing::NamesIn;
using openhost::testing::ReadFile;
using openhost::testing::WriteBytes;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;
using Json = nlohmann::ordered_json;

const std::filesystem::path Maker = BuildDir() + "/bin/velmart-item-maker";

class BuiltCatalogue : public ::testing::Test {
protected:
    BuiltCatalogue()
    {
        options_.folder = parts_.Path("");
        options_.root = made_.Path() / "root";
        options_.base = ItemsDir();
        options_.workers = 2;
        options_.program = Maker;
    }

    BuildResult Build(const std::function<void(const BuildProgress&)>& tell = [](const BuildProgress&) {})
    {
        return CatalogueBuild(options_, tell).Run();
    }
    std::string Failure()
    {
        try {
            Build();
            return {};
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }
    /// A box with the edge `length`.
    void Part(const std::string& name, double length = 10) const
    {
        parts_.Box(name, std::filesystem::path(name).stem(), {0, 0, 0}, {length, 5, 2});
    }
    std::map<std::string, Json> Items() const
    {
        std::map<std::string, Json> items;
        for (const Json& entry : ReadItems(options_.root))
            items[entry["id"]] = entry;
        return items;
    }
    std::vector<std::string> Ids() const
    {
        std::vector<std::string> ids;
        for (const Json& entry : ReadItems(options_.root))
            ids.push_back(entry["id"]);
        return ids;
    }
    /// Which of the folders have the file of an item.
    std::vector<std::string> FoldersWith(const std::string& id) const
    {
        std::vector<std::string> folders;
        for (const char* folder : ItemFolders)
            if (std::filesystem::exists(options_.root / folder / ItemFileName(folder, id)))
                folders.emplace_back(folder);
        return folders;
    }

    openhost::testing::SolidDocuments parts_;
    openhost::TemporaryFolder made_;
    BuildOptions options_;
};

} // namespace

TEST_F(BuiltCatalogue, HasAnItemOfEachFileInTheirOrder)
{
    Part("b.ZALPart");
    Part("a/c.ZALPart");
    parts_.Product("d.ZALProduct", "D", {{"b.1", "b.ZALPart"}});
    std::filesystem::copy_file(SourceDir() + "/tests/foreign/as1_pe_203.stp", parts_.Path("e.stp"));
    const BuildResult result = Build();
    EXPECT_EQ(4U, result.items);
    EXPECT_EQ(4U, result.made);
    EXPECT_TRUE(result.isComplete);
    EXPECT_THAT(result.leftOut, IsEmpty());
    EXPECT_THAT(Ids(), ElementsAre("a-c", "b", "d", "e"));
    EXPECT_EQ("a", Items().at("a-c")["category"]);
    EXPECT_EQ(parts_.Path("").parent_path().filename().string(), Items().at("b")["category"]);
    EXPECT_THAT(FoldersWith("e"), ElementsAre("files", "items", "pictures", "shapes"));
}

TEST_F(BuiltCatalogue, HasThePageAndTheTemplates)
{
    Part("b.ZALPart");
    Build();
    for (const char* folder : {"page", "files/templates"}) {
        EXPECT_EQ(FilesBelow(ItemsDir() / std::filesystem::path(folder)), FilesBelow(options_.root / folder));
        EXPECT_THAT(FilesBelow(options_.root / folder), Not(IsEmpty()));
    }
    WriteBytes(options_.root / "page" / "index.html", "of another version");
    Build();
    EXPECT_EQ(ReadFile(ItemsDir() + "/page/index.html"), ReadFile(options_.root / "page" / "index.html"));
}

TEST_F(BuiltCatalogue, HoldsNothingElse)
{
    Part("b.ZALPart");
    WriteBytes(parts_.Path("bad.step"), "no STEP");
    Build();
    EXPECT_THAT(NamesIn(options_.root),
                UnorderedElementsAre("files", "items", "items.sqlite", "page", "pictures", "shapes"));
}

TEST_F(BuiltCatalogue, IsNotMadeAgainWhenNothingHasChanged)
{
    Part("a.ZALPart");
    parts_.Product("p.ZALProduct", "P", {{"a.1", "a.ZALPart"}});
    WriteBytes(parts_.Path("bad.step"), "no STEP");
    Build();
    options_.program = "/bin/false"; // that nothing can be made with
    const BuildResult result = Build();
    EXPECT_EQ(0U, result.made);
    EXPECT_EQ(2U, result.items);
    EXPECT_THAT(result.leftOut, ElementsAre(Field(&SourceRemark::name, "bad.step"))) << "it is told each time";
}

TEST_F(BuiltCatalogue, HasWhatIsNewAndChanged)
{
    Part("a.ZALPart");
    Part("b.ZALPart");
    Build();
    Part("b.ZALPart", 30);
    Part("aa.ZALPart");
    const BuildResult result = Build();
    EXPECT_EQ(2U, result.made);
    EXPECT_THAT(Ids(), ElementsAre("a", "b", "aa")) << "an item keeps its place";
    EXPECT_EQ(30.0, Items().at("b")["dimensions"]["l"]);
}

TEST_F(BuiltCatalogue, MakesAProductAgainWhenAPartOfItHasChanged)
{
    Part("a.ZALPart");
    Part("other.ZALPart");
    parts_.Product("p.ZALProduct", "P", {{"a.1", "a.ZALPart"}});
    Build();
    Part("a.ZALPart", 40);
    EXPECT_EQ(2U, Build().made);
    EXPECT_EQ(40.0, Items().at("p")["dimensions"]["l"]);
    std::filesystem::remove(parts_.Path("a.ZALPart"));
    const BuildResult result = Build();
    EXPECT_THAT(result.leftOut, ElementsAre(SourceRemark{"p.ZALProduct", "p.ZALProduct: a.ZALPart is missing"}));
    EXPECT_THAT(Ids(), ElementsAre("other"));
}

TEST_F(BuiltCatalogue, LosesWhatIsGone)
{
    Part("a.ZALPart");
    Part("b.ZALPart");
    Build();
    std::filesystem::remove(parts_.Path("a.ZALPart"));
    const BuildResult result = Build();
    EXPECT_EQ(1U, result.removed);
    EXPECT_EQ(1U, result.items);
    EXPECT_THAT(Ids(), ElementsAre("b"));
    EXPECT_THAT(FoldersWith("a"), IsEmpty());
}

TEST_F(BuiltCatalogue, TellsWhyAFileIsLeftOut)
{
    Part("a.ZALPart");
    WriteBytes(parts_.Path("bad.step"), "no STEP");
    const BuildResult result = Build();
    EXPECT_EQ(1U, result.items);
    ASSERT_EQ(1U, result.leftOut.size());
    EXPECT_EQ("bad.step", result.leftOut[0].name);
    EXPECT_NE("", result.leftOut[0].text);
    EXPECT_THAT(result.leftOut[0].text, Not(HasSubstr(parts_.Path("").string()))) << "the name says it";
}

TEST_F(BuiltCatalogue, ReadsAFileThatWasLeftOutWhenItChangesOrOnDemand)
{
    Part("a.ZALPart");
    options_.program = "/bin/false";
    EXPECT_THAT(Build().leftOut, ElementsAre(SourceRemark{"a.ZALPart", "the solid kernel has crashed"}));
    options_.program = Maker;
    EXPECT_EQ(0U, Build().items);
    options_.retry = true;
    EXPECT_EQ(1U, Build().items);
    options_.retry = false;
    WriteBytes(parts_.Path("a.ZALPart"), "damaged");
    EXPECT_EQ(0U, Build().items);
    EXPECT_THAT(FoldersWith("a"), IsEmpty()) << "its item is no longer what the file is";
    Part("a.ZALPart");
    EXPECT_EQ(1U, Build().items);
}

TEST_F(BuiltCatalogue, LeavesOutWhatTakesTooLong)
{
    Part("a.ZALPart");
    options_.limits.time = std::chrono::milliseconds(0);
    EXPECT_THAT(Build().leftOut, ElementsAre(Field(&SourceRemark::text, "it takes too long")));
}

TEST_F(BuiltCatalogue, GoesOnAfterAnInterruption)
{
    for (const char* name : {"a.ZALPart", "b.ZALPart", "c.ZALPart", "d.ZALPart", "e.ZALPart", "f.ZALPart"})
        Part(name);
    BuildResult stopped;
    {
        CatalogueBuild* running = nullptr;
        std::thread interruption;
        CatalogueBuild build(options_, [&](const BuildProgress& progress) {
            if (progress.done == 2)
                interruption = std::thread([&] { running->Interrupt(); });
        });
        running = &build;
        stopped = build.Run();
        interruption.join();
    }
    EXPECT_FALSE(stopped.isComplete);
    EXPECT_GE(stopped.made, 2U);
    EXPECT_LT(stopped.made, 6U);
    EXPECT_THAT(stopped.leftOut, IsEmpty());
    EXPECT_EQ(stopped.made, Items().size()) << "what is made stays";
    EXPECT_THAT(NamesIn(options_.root), Not(Contains(StartsWith("."))));
    const BuildResult result = Build();
    EXPECT_EQ(6 - stopped.made, result.made);
    EXPECT_EQ(6U, result.items);
}

TEST_F(BuiltCatalogue, RemovesWhatAKilledBuildHasLeft)
{
    Part("a.ZALPart");
    Build();
    WriteBytes(options_.root / ".openhost-1-1" / "a" / "files" / "a.zip", "half");
    WriteBytes(options_.root / "files" / "b.zip", "without its entry");
    Part("b.ZALPart");
    Build();
    EXPECT_THAT(NamesIn(options_.root), Not(Contains(StartsWith("."))));
    EXPECT_NE("without its entry", ReadFile(options_.root / "files" / "b.zip"));
}

TEST_F(BuiltCatalogue, TellsHowFarItIs)
{
    Part("a.ZALPart");
    WriteBytes(parts_.Path("bad.step"), "no STEP");
    std::vector<BuildProgress> told;
    Build([&](const BuildProgress& progress) { told.push_back(progress); });
    ASSERT_EQ(3U, told.size());
    EXPECT_EQ(2U, told[0].files);
    EXPECT_EQ(0U, told[0].done);
    EXPECT_EQ(std::filesystem::file_size(parts_.Path("a.ZALPart")) + 7, told[0].size);
    EXPECT_EQ(2U, told[2].done);
    EXPECT_EQ(1U, told[2].leftOut);
    EXPECT_EQ(told[2].size, told[2].doneSize);
}

TEST_F(BuiltCatalogue, MayLieInTheFolderItself)
{
    Part("a.ZALPart");
    options_.root = parts_.Path("catalogue");
    Build();
    EXPECT_EQ(1U, Build().items);
}

TEST_F(BuiltCatalogue, IsNotMadeWithoutParts)
{
    Part("a.ZALPart");
    Build();
    std::filesystem::remove(parts_.Path("a.ZALPart"));
    EXPECT_THAT(Failure(), HasSubstr("there is no STEP file and no document"));
    EXPECT_THAT(Ids(), ElementsAre("a")) << "a folder that is not mounted loses nothing";
    options_.folder = "/no/such/folder";
    EXPECT_EQ("/no/such/folder: no such folder", Failure());
}

TEST_F(BuiltCatalogue, TakesNoPlaceOfSomethingElse)
{
    Part("a.ZALPart");
    WriteBytes(options_.root / "letter.txt", "mine");
    EXPECT_EQ(options_.root.string() + ": the folder holds something else than a catalogue", Failure());
    EXPECT_THAT(NamesIn(options_.root), ElementsAre("letter.txt"));
    std::filesystem::remove(options_.root / "letter.txt");
    WriteItems(options_.root, {{{"id", "x"}, {"title", "X"}}});
    EXPECT_THAT(Failure(), HasSubstr("its items were not made from a folder of files"));
    options_.root = options_.root / "items.sqlite";
    EXPECT_NE("", Failure());
}

TEST_F(BuiltCatalogue, IsMadeByOneProcessAtATime)
{
    Part("a.ZALPart");
    std::filesystem::create_directories(options_.root);
    const openhost::Descriptor other(open(options_.root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(0, flock(other.Number(), LOCK_EX));
    EXPECT_EQ(options_.root.string() + ": another process builds a catalogue there", Failure());
}

} // namespace catalogue::testing
