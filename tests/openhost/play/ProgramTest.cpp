#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/lvr/LvrMesh.h"

#include "tests/support/Files.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>

#include <sys/wait.h>

namespace openhost {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Runs the program openhost.
class ProgramTest : public ::testing::Test {
protected:
    /// Runs it with `arguments`, words of a shell, and returns its exit status.
    int Run(const std::string& arguments)
    {
        const std::string files = " >" + (folder_.Path() / "out").string() + " 2>" + (folder_.Path() / "err").string();
        const int status = std::system(
            ("cd " + folder_.Path().string() + " && " + BuildDir() + "/bin/openhost " + arguments + files).c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string Read(const std::string& name) const { return testing::ReadFile(folder_.Path() / name); }

    void Write(const std::string& name, const std::string& content) const
    {
        std::ofstream(folder_.Path() / name, std::ios::binary) << content;
    }

    TemporaryFolder folder_;
};

TEST_F(ProgramTest, HelpTellsTheCommands)
{
    EXPECT_EQ(0, Run("--help"));
    const std::string help = Read("out");
    for (const std::string command : {"play", "show", "export", "import", "picture", "stl"}) {
        EXPECT_THAT(help, HasSubstr("\n  " + command + " "));
        EXPECT_EQ(0, Run(command + " --help"));
        EXPECT_THAT(Read("out"), HasSubstr("Example: openhost " + command));
    }
}

TEST_F(ProgramTest, VersionIsToldInOneLine)
{
    EXPECT_EQ(0, Run("--version"));
    EXPECT_THAT(Read("out"), ::testing::MatchesRegex("openhost [0-9]+.[0-9]+.[0-9]+\n"));
}

TEST_F(ProgramTest, ASlipInACommandOrAnOptionIsUnderstood)
{
    Run("shwo document");
    EXPECT_THAT(Read("err"), HasSubstr("did you mean show?"));
    Run("play session --jurnal file");
    EXPECT_THAT(Read("err"), HasSubstr("did you mean --journal?"));
    Run("play session --something");
    EXPECT_THAT(Read("err"), ::testing::Not(HasSubstr("did you mean")));
}

TEST_F(ProgramTest, WrongUseIsExplained)
{
    const std::map<std::string, std::vector<std::string>> uses = {
        {"", {""}},
        {"other", {""}},
        {"play", {"", "a b", "--journal", "a --set", "a --set =x", "a --set x", "a --other"}},
        {"show", {"", "a b c"}},
        {"export", {"", "a", "a b c"}},
        {"import", {"", "a", "a b c", "a b --seconds 0", "a b --other"}},
        {"picture", {"", "a", "a b c", "a b --size", "a b --size 0x5", "a b --size 9000x5", "a b --other"}},
        {"stl", {"", "a", "a b c"}}};
    for (const auto& [command, arguments] : uses)
        for (const std::string& words : arguments) {
            EXPECT_EQ(2, Run(command + " " + words)) << command << " " << words;
            EXPECT_THAT(Read("err"), StartsWith("openhost: ")) << command << " " << words;
        }
}

TEST_F(ProgramTest, ALightRepresentationBecomesAnStlFile)
{
    LvrMesh mesh;
    mesh.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    mesh.normals = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    mesh.triangles = {{0, 1, 2}};
    WriteLvr(folder_.Path() / "shape.lvr", mesh);
    EXPECT_EQ(0, Run("stl shape.lvr shape.stl")) << Read("err");
    EXPECT_EQ(80U + 4 + 50, Read("shape.stl").size());
}

TEST_F(ProgramTest, AFileOfAnotherKindIsStatus1AndWritesNothing)
{
    Write("text", "nothing of the kind");
    for (const std::string command : {"show", "export", "import", "picture", "stl"})
        for (const std::string file : {"text", "missing"}) {
            const std::string use = command + " " + file + (command == "show" ? "" : " made");
            EXPECT_EQ(1, Run(use)) << use;
            EXPECT_THAT(Read("err"), HasSubstr(file)) << use;
            EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "made")) << use;
        }
}

TEST_F(ProgramTest, AnImportedProductComesBackAsItWasExported)
{
    CadDocument part;
    part.partNumber = "PART";
    WriteDocument(part, folder_.Path() / "p.ZALPart");
    CadDocument product;
    product.kind = DocumentKind::Product;
    product.partNumber = "PRODUCT";
    product.links = {"p.ZALPart"};
    product.children = {{"a", 0, IdentityPlacement}, {"b", 0, IdentityPlacement}};
    WriteDocument(product, folder_.Path() / "q.ZALProduct");
    EXPECT_EQ(0, Run("export q.ZALProduct made.step --author 'Jo O'")) << Read("err");
    EXPECT_THAT(Read("made.step"), HasSubstr("('Jo O')"));
    EXPECT_EQ(0, Run("import made.step new/folder")) << Read("err");
    EXPECT_EQ("new/folder/PRODUCT.ZALProduct\n", Read("out"));
    EXPECT_EQ("", Read("err")) << "no progress but on a terminal";
    EXPECT_EQ(2U, ReadDocument(folder_.Path() / "new/folder/PRODUCT.ZALProduct").children.size());
    EXPECT_EQ("PART", ReadDocument(folder_.Path() / "new/folder/PART.ZALPart").partNumber);

    EXPECT_EQ(1, Run("import made.step new/folder"));
    EXPECT_THAT(Read("err"), HasSubstr("there is a file of this name already"));
    EXPECT_EQ(0, Run("import made.step new/folder --replace")) << Read("err");
}

TEST_F(ProgramTest, AnImportThatIsInterruptedLeavesNothing)
{
    CadDocument part;
    part.partNumber = "PART";
    WriteDocument(part, folder_.Path() / "p.ZALPart");
    ASSERT_EQ(0, Run("export p.ZALPart made.step"));
    // Enough of it that the signal comes before the end: the folder tells that the import has begun.
    std::string step = Read("made.step");
    std::string points;
    for (int number = 100'000; number < 400'000; ++number)
        points += "#" + std::to_string(number) + "=CARTESIAN_POINT('',(0.,0.,0.));\n";
    Write("made.step", step.insert(step.find("ENDSEC;\nEND-ISO"), points));
    const std::string program = BuildDir() + "/bin/openhost";
    Write("interrupt", program + " import made.step made 2>told & process=$!\n"
                                 "until [ -d made ]; do :; done; kill -TERM $process; wait $process\n");
    const int status = std::system(("cd " + folder_.Path().string() + " && sh interrupt >out 2>err").c_str());
    EXPECT_EQ(143, WEXITSTATUS(status));
    EXPECT_EQ("openhost: made.step: the import was interrupted; nothing is written\n", Read("told"));
    EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "made"));
}

TEST_F(ProgramTest, AFileThatIsNoSessionIsStatus2WithLineAndReason)
{
    Write("session.json", "{\n\"steps\": [],\n\"other\": 1}");
    EXPECT_EQ(2, Run("play session.json --journal journal"));
    EXPECT_EQ("session.json:3: a session has the unknown key \"other\"\n", Read("err"));
    EXPECT_EQ("", Read("out"));
    EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "journal"));
}

TEST_F(ProgramTest, AMissingSessionIsStatus2)
{
    EXPECT_EQ(2, Run("play missing.json"));
    EXPECT_THAT(Read("err"), StartsWith("missing.json:1: "));
}

TEST_F(ProgramTest, APlayedSessionIsStatus0AndItsJournalOnStandardOutput)
{
    Write("session.json", R"({"steps": [{"message": {"event": "velmart_over", "content": "${TEXT}"}}]})");
    EXPECT_EQ(0, Run("play session.json --set TEXT=a=b")) << Read("err");
    EXPECT_THAT(Read("out"), EndsWith("{\"event\":\"end\",\"status\":0}\n"));
}

TEST_F(ProgramTest, AFailedStepIsStatus1AndTheJournalInItsFile)
{
    Write("session.json", R"({"steps": [{"wait": "idle"}, {"wait": "transfer"}]})");
    EXPECT_EQ(1, Run("play session.json --journal journal"));
    EXPECT_EQ("", Read("out"));
    EXPECT_THAT(Read("journal"), HasSubstr("{\"event\":\"end\",\"status\":1,\"step\":2,\"reason\":"));
}

TEST_F(ProgramTest, AJournalThatCannotBeWrittenIsStatus1)
{
    Write("session.json", R"({"steps": []})");
    EXPECT_EQ(1, Run("play session.json --journal missing/journal"));
    EXPECT_EQ(1, Run("play session.json --journal /dev/full"));
    EXPECT_EQ("openhost: the journal could not be written\n", Read("err"));
}

TEST_F(ProgramTest, AnAccountTakesThePlaceOfTheJournalOnStandardOutput)
{
    Write("session.json", R"({"steps": [{"message": {"event": "velmart_over", "content": 7}}]})");
    EXPECT_EQ(0, Run("play session.json --account --journal journal"));
    EXPECT_EQ("The page is left\n\nevery step is done\n", Read("out"));
    EXPECT_THAT(Read("journal"), EndsWith("{\"event\":\"end\",\"status\":0}\n"));

    EXPECT_EQ(1, Run("play session.json --account --module missing.so"));
    EXPECT_THAT(Read("out"), HasSubstr("the session cannot begin: "));
}

TEST_F(ProgramTest, AVerboseAccountHasTheNamesOfTheModule)
{
    Write("session.json", R"({"steps": [{"message": {"event": "velmart_over", "content": 7}}]})");
    EXPECT_EQ(0, Run("play session.json --account --verbose"));
    EXPECT_THAT(Read("out"), HasSubstr("Message       velmart_over\n"));
    EXPECT_THAT(Read("out"), EndsWith("every step is done\n"));

    std::filesystem::create_directories(folder_.Path() / "installation" / "webapps" / "ZALVelmartIntegrationJS");
    Write("installation/webapps/ZALVelmartIntegrationJS/OpApiHandlers.js", "first line\nsecond line\n");
    Write("panel.json", R"({"variables": {"ZALInstallPath": "installation"},
                            "steps": [{"url": "https://velmart.example/"}, {"panel": "close"}]})");
    EXPECT_EQ(0, Run("play panel.json --account --verbose"));
    for (const char* line : {"Panel         opened\n", "Page          https://velmart.example/\n",
                             "Script        first line ...\n", "Panel         closed\n"})
        EXPECT_THAT(Read("out"), HasSubstr(line));
}

TEST_F(ProgramTest, WithoutStandardDescriptorsASessionIsPlayedIntoItsFiles)
{
    Write("session.json", R"({"steps": [{"url": "https://velmart.example/"}]})");
    const std::string play = "cd " + folder_.Path().string() + " && " + BuildDir() + "/bin/openhost play session.json ";
    EXPECT_EQ(0, std::system((play + "--journal journal <&- >&- 2>&-").c_str()));
    EXPECT_THAT(Read("journal"), StartsWith("{\"event\":"));

    EXPECT_EQ(1, WEXITSTATUS(std::system((play + ">&- 2>err").c_str()))) << "its journal has nowhere to go";
    EXPECT_THAT(Read("err"), HasSubstr("could not be written"));
}

TEST_F(ProgramTest, OnlyATerminalThatWantsColoursGetsThem)
{
    Write("session.json", R"({"steps": []})");
    const std::string play = BuildDir() + "/bin/openhost play session.json --account";
    // `script` runs a command on a terminal of its own.
    const auto playOnTerminal = [&](const std::string& environment) {
        const std::string command = "cd " + folder_.Path().string() + " && " + environment + " script -qec '" + play +
                                    "' /dev/null >out </dev/null";
        EXPECT_EQ(0, std::system(command.c_str())) << command;
        return Read("out");
    };
    EXPECT_THAT(playOnTerminal("env -u NO_COLOR"), HasSubstr("\x1B[32mevery step is done\x1B[0m"));
    EXPECT_THAT(playOnTerminal("NO_COLOR="), HasSubstr("\x1B["));
    EXPECT_THAT(playOnTerminal("NO_COLOR=1"), ::testing::Not(HasSubstr("\x1B")));
    EXPECT_EQ(0, Run("play session.json --account"));
    EXPECT_EQ("\nevery step is done\n", Read("out"));
}

TEST_F(ProgramTest, AReportIsOnePageWithThePictureOfTheResult)
{
    CadDocument product;
    product.kind = DocumentKind::Product;
    product.partNumber = "P-100";
    WriteDocument(product, folder_.Path() / "a.ZALProduct");
    Write("session.json", R"({"documents": ["a.ZALProduct"],
                              "steps": [{"save": "a.ZALProduct", "as": "b.ZALProduct"}]})");
    EXPECT_EQ(0, Run("play session.json --journal journal --report report.html")) << Read("err");
    EXPECT_THAT(Read("report.html"), HasSubstr("<title>session.json: every step is done</title>"));
    EXPECT_THAT(Read("report.html"), HasSubstr("<img alt=\"b.ZALProduct\" src=\"data:image/png;base64,iVBORw0KGgo"));
}

TEST_F(ProgramTest, AFailedSessionHasAReportToo)
{
    Write("session.json", R"({"steps": [{"wait": "transfer"}]})");
    EXPECT_EQ(1, Run("play session.json --account --report report.html"));
    EXPECT_THAT(Read("report.html"), HasSubstr("<title>session.json: step 1 has failed: "));
}

TEST_F(ProgramTest, AReportThatCannotBeWrittenIsStatus1)
{
    Write("session.json", R"({"steps": []})");
    for (const std::string file : {"missing/report.html", "/dev/null", "."}) {
        EXPECT_EQ(1, Run("play session.json --account --report " + file)) << file;
        EXPECT_THAT(Read("err"), StartsWith("openhost: the report cannot be written: ")) << file;
        EXPECT_EQ("", Read("out")) << file << ": nothing is played";
    }
    EXPECT_EQ(0, Run("play session.json --account --report report.html"));
    std::filesystem::permissions(folder_.Path() / "report.html", std::filesystem::perms::owner_read);
    EXPECT_EQ(1, Run("play session.json --account --report report.html"));
    EXPECT_THAT(Read("err"), HasSubstr("report.html"));
}

TEST_F(ProgramTest, AnotherModuleCanBeNamed)
{
    Write("session.json", R"({"steps": []})");
    EXPECT_EQ(1, Run("play session.json --module missing.so"));
    EXPECT_THAT(Read("out"), HasSubstr("missing.so"));

    ::setenv("OPENHOST_MODULE", "elsewhere.so", 1);
    EXPECT_EQ(1, Run("play session.json"));
    EXPECT_THAT(Read("out"), HasSubstr("elsewhere.so"));
    EXPECT_EQ(0, Run("play session.json --module " + BuildDir() + "/lib/ZALVelmartIntegration.so"));
    ::unsetenv("OPENHOST_MODULE");
}

TEST_F(ProgramTest, ShowPrintsADocument)
{
    CadDocument document;
    document.kind = DocumentKind::Product;
    document.partNumber = "P-100";
    WriteDocument(document, folder_.Path() / "a.ZALProduct");
    EXPECT_EQ(0, Run("show a.ZALProduct")) << Read("err");
    EXPECT_THAT(Read("out"), HasSubstr("P-100"));
}

TEST_F(ProgramTest, ExportAndPictureWriteTheirFilesAndWarnOfWhatIsMissing)
{
    CadDocument document;
    document.kind = DocumentKind::Product;
    document.partNumber = "P-100";
    document.links = {"gone.ZALPart"};
    document.children = {{"gone.1", 0, IdentityPlacement}};
    WriteDocument(document, folder_.Path() / "a.ZALProduct");

    EXPECT_EQ(0, Run("export a.ZALProduct a.step")) << Read("err");
    EXPECT_THAT(Read("err"), HasSubstr("a.ZALProduct: gone.ZALPart is missing; 1 instance is left out\n"));
    EXPECT_EQ("", Read("out"));
    EXPECT_THAT(Read("a.step"), HasSubstr("'P-100'"));

    EXPECT_EQ(0, Run("picture --size 30x20 a.ZALProduct a.png")) << Read("err");
    EXPECT_THAT(Read("err"), HasSubstr("a.ZALProduct: gone.ZALPart is missing; 1 instance is left out\n"));
    EXPECT_EQ("", Read("out"));
    EXPECT_EQ(std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0\x1E\0\0\0\x14", 24), Read("a.png").substr(0, 24));
}

} // namespace openhost
