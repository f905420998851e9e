#include "openhost/play/VerboseAccount.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace openhost {

namespace {

/// What the account tells of `events`, JSON texts.
std::string Told(const std::vector<std::string>& events)
{
    std::ostringstream output;
    VerboseAccount account(output);
    for (const std::string& event : events)
        account.Receive(nlohmann::ordered_json::parse(event));
    account.Finish();
    return output.str();
}

} // namespace

TEST(VerboseAccount, TellsWhatBecomesOfADocument)
{
    EXPECT_EQ("Document      opened /a/top.ZALProduct\n"
              "Document      changed /a/top.ZALProduct\n"
              "Document      undone /a/top.ZALProduct\n"
              "Document      undone /a/top.ZALProduct\n"
              "Document      saved /a/top.ZALProduct\n"
              "Document      closed /a/top.ZALProduct\n",
              Told({R"({"event": "document", "path": "/a/top.ZALProduct", "action": "opened"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "changed"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "undone"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "undone"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "saved"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "closed"})"}));
}

TEST(VerboseAccount, TellsWhichOperationTheSessionRefuses)
{
    EXPECT_EQ("Document      refused, Open: a.ZALPart: no\n",
              Told({R"({"event": "document", "action": "refused", "operation": "Open", "reason": "a.ZALPart: no"})"}));
}

TEST(VerboseAccount, TellsATreeIndented)
{
    EXPECT_EQ("Tree          top  [top.ZALProduct]\n"
              "              ├─ pair.1  [pair.ZALProduct]  at (0, 0.5, -20)\n"
              "              │  └─ bolt.1  [bolt.ZALPart]  at (1, 2, 3)\n"
              "              └─ nut.1  [nut.ZALPart]  (missing)  at (0, 0, 0)\n",
              Told({R"({"event": "tree", "path": "/a/top.ZALProduct", "root":
                        {"name": "top", "partNumber": "top", "file": "/a/top.ZALProduct", "children": [
                            {"name": "pair.1", "partNumber": "pair", "file": "/a/pair.ZALProduct", "at": [0, 0.5, -20],
                             "children": [
                                {"name": "bolt.1", "partNumber": "bolt", "file": "/a/bolt.ZALPart", "at": [1, 2, 3]}]},
                            {"name": "nut.1", "link": "nut.ZALPart", "problem": "missing", "at": [0, 0, 0]}]}})"}));
}

TEST(VerboseAccount, SaysWhereATreeIsCutOff)
{
    EXPECT_EQ("Tree          top  [top.ZALProduct]\n"
              "              ├─ bolt.1  [bolt.ZALPart]  at (0, 0, 0)\n"
              "              └─ … and more\n",
              Told({R"({"event": "tree", "path": "/a/top.ZALProduct", "root":
                        {"name": "top", "partNumber": "top", "file": "/a/top.ZALProduct", "children": [
                            {"name": "bolt.1", "partNumber": "bolt", "file": "/a/bolt.ZALPart", "at": [0, 0, 0]}],
                         "more": true}})"}));
}

TEST(VerboseAccount, TellsPromptsAndPicks)
{
    EXPECT_EQ("Prompt        Select a product (Insert)\n"
              "Selection     top/bolt.1, refused (the filter of the agent refuses it)\n"
              "Selection     top, accepted\n"
              "Selection     top, refused (no command waits for an element)\n",
              Told({R"({"event": "prompt", "command": "Insert", "state": "pick", "text": "Select a product"})",
                    R"({"event": "selection", "element": "top/bolt.1", "accepted": false, "command": "Insert",
                        "reason": "the filter of the agent refuses it"})",
                    R"({"event": "selection", "element": "top", "accepted": true, "command": "Insert"})",
                    R"({"event": "selection", "element": "top", "accepted": false,
                        "reason": "no command waits for an element"})"}));
}

TEST(VerboseAccount, KeepsNamesWithLineEndsInTheirLine)
{
    EXPECT_EQ("Selection     top/a End, accepted\n"
              "Document      opened /a b/top.ZALProduct\n"
              "Tree          a b  [t op.ZALProduct]\n"
              "              └─ x y  [l k]  (m g)  at (0, 0, 0)\n",
              Told({R"({"event": "selection", "element": "top/a\nEnd", "accepted": true, "command": "Insert"})",
                    R"({"event": "document", "path": "/a\nb/top.ZALProduct", "action": "opened"})",
                    R"({"event": "tree", "path": "/top.ZALProduct", "root":
                        {"name": "a\nb", "file": "/t\nop.ZALProduct", "children": [
                            {"name": "x\ty", "link": "l\nk", "problem": "m\ng", "at": [0, 0, 0]}]}})"}));
}

TEST(VerboseAccount, KeepsSequencesFromTheTerminal)
{
    EXPECT_EQ("Document      opened /a [31m/top.ZALProduct\n"
              "Message       x [2J\n"
              "              {\n"
              "                \"a\": \"\\u001b[2J\"\n"
              "              }\n"
              "Dialog        N, answer 1\n"
              "              a\n"
              "              b [0m\n",
              Told({R"({"event": "document", "path": "/a\u001b[31m/top.ZALProduct", "action": "opened"})",
                    R"({"event": "message", "text": "{\"event\":\"x\\u001b[2J\",\"content\":{\"a\":\"\\u001b[2J\"}}"})",
                    R"({"event": "dialog", "name": "N", "title": "", "text": "a\nb\u009b[0m", "answer": 1})"}));
}

TEST(VerboseAccount, TellsWhatIsLeftUndone)
{
    EXPECT_EQ("End           every step is done\n"
              "Left undone   answers that no question used: 2\n",
              Told({R"({"event": "end", "status": 0, "unusedAnswers": 2})"}));
}

TEST(VerboseAccount, EndsTheLineOfAProgressBarFirst)
{
    EXPECT_EQ("Progress      40 % \n"
              "Document      opened /top.ZALProduct\n",
              Told({R"({"event": "progress", "dialog": "D", "control": "C", "position": 40})",
                    R"({"event": "document", "path": "/top.ZALProduct", "action": "opened"})"}));
}

TEST(VerboseAccount, TellsManyChangesInARowOnce)
{
    const std::string first = R"({"event": "document", "path": "/a.ZALProduct", "action": "changed"})";
    const std::string second = R"({"event": "document", "path": "/b.ZALProduct", "action": "changed"})";
    const std::string url = R"({"event": "url", "url": "x"})";
    EXPECT_EQ("Document      changed /a.ZALProduct\n"
              "Document      changed /b.ZALProduct\n"
              "Page          x\n"
              "Document      changed /b.ZALProduct\n"
              "Document      changed /a.ZALProduct\n",
              Told({first, first, second, url, second, second, first}));
}

// ---------------------------------------------------------------------------------------------
// Files

namespace {

class VerboseAccountOfFiles : public ::testing::Test {
protected:
    std::filesystem::path Put(const std::string& name) const
    {
        std::ofstream(folder_.Path() / name) << "abc";
        return std::filesystem::canonical(folder_.Path() / name);
    }
    static std::string Extracted(const std::filesystem::path& path)
    {
        return nlohmann::json{{"event", "extracted"}, {"path", path.string()}}.dump();
    }
    static std::string Saved(const std::filesystem::path& path)
    {
        return nlohmann::json{{"event", "document"}, {"path", path.string()}, {"action", "saved"}}.dump();
    }
    static std::string Moved(const std::filesystem::path& from, const std::filesystem::path& to)
    {
        return nlohmann::json{{"event", "moved"}, {"from", from.string()}, {"to", to.string()}}.dump();
    }
    std::string Heading() const { return "\nFiles in " + std::filesystem::canonical(folder_.Path()).string() + "\n"; }
    static std::string Line(const std::string& name)
    {
        return "           3 bytes  900150983cd24fb0d6963f7d28e17f72  " + name + "\n";
    }

    TemporaryFolder folder_;
};

} // namespace

TEST_F(VerboseAccountOfFiles, TellsWhatWasExtractedMovedAndSaved)
{
    const std::filesystem::path extracted = Put("a.txt");
    const std::filesystem::path moved = Put("b.txt");
    const std::filesystem::path saved = Put("c.txt");
    EXPECT_EQ("Document      saved " + saved.string() + "\n" + Heading() + Line("a.txt") + Line("b.txt") +
                  Line("c.txt"),
              Told({Extracted(extracted), Extracted(folder_.Path() / "before.txt"),
                    Moved(folder_.Path() / "before.txt", moved), Saved(saved)}));
}

TEST_F(VerboseAccountOfFiles, ShowsTheProductThatWasSaved)
{
    CadDocument product;
    product.kind = DocumentKind::Product;
    product.partNumber = "TOP";
    const std::filesystem::path path = std::filesystem::canonical(folder_.Path()) / "top.ZALProduct";
    WriteDocument(product, path);
    EXPECT_THAT(Told({Saved(path)}), ::testing::EndsWith("\n\nProduct TOP  [top.ZALProduct]\nLinks\n  none\n"));
}

} // namespace openhost
