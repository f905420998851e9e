#include "openhost/play/SessionAccount.h"

#include "host/dialogs.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace openhost {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// What the account tells of `events`, JSON texts that come 20 ms after each other, before how the session ends.
std::string Told(const std::vector<std::string>& events, bool coloured = false)
{
    std::ostringstream output;
    SessionAccount account(output, coloured);
    Narration::Time time;
    for (const std::string& event : events)
        account.Receive(nlohmann::ordered_json::parse(event), time += std::chrono::milliseconds(20));
    account.Receive({{"event", "end"}, {"status", 0}}, time);
    account.Finish();
    const std::string end = coloured ? "\n\x1B[32mevery step is done\x1B[0m\n" : "\nevery step is done\n";
    EXPECT_THAT(output.str(), EndsWith(end));
    return output.str().substr(0, output.str().size() - end.size());
}

std::string Message(const std::string& name, const nlohmann::json& content)
{
    return nlohmann::json{{"event", "message"}, {"text", nlohmann::json{{"event", name}, {"content", content}}.dump()}}
        .dump();
}

/// What the account tells when the session ends by the event `end`.
std::string ToldOfEnd(const std::string& end)
{
    std::ostringstream output;
    SessionAccount account(output, false);
    account.Receive(nlohmann::ordered_json::parse(end), {});
    account.Finish();
    return output.str();
}

constexpr const char* Request = R"({"event": "request", "method": "GET", "url": "http://a/b.zip", "headers": {}})";

} // namespace

// ---------------------------------------------------------------------------------------------
// The page

TEST(SessionAccount, TellsWhatThePageAsksForByItsName)
{
    EXPECT_EQ("The page asks for Bolted joint M8, grip 26 to be downloaded\n"
              "The page asks for My bolt to be opened\n"
              "The page asks for hexagon-nut to be inserted\n"
              "The page asks for http://a/b.zip to replace a component\n"
              "The page asks for an item to be downloaded\n",
              Told({Message("velmart_download", {{"id", "x"}, {"attributes", {{"name", "Bolted joint M8, grip 26"}}}}),
                    Message("velmart_open", {{"id", "x"}, {"attributes", {{"fileName", "My bolt"}}}}),
                    Message("velmart_insert", {{"id", "hexagon-nut"}}),
                    Message("velmart_replace", {{"downloadUrl", "http://a/b.zip"}}), Message("velmart_download", 7)}));
}

TEST(SessionAccount, TellsOfOtherMessages)
{
    EXPECT_EQ("The page is ready\n"
              "The page is left\n"
              "The page sends other\n"
              "The page sends what is not a message\n"
              "  It is refused\n",
              Told({Message("velmart_ready", {}), Message("velmart_over", {}), Message("other", {}),
                    R"({"event": "message", "text": "[1"})",
                    R"({"event": "result", "operation": "OnJSMessage", "code": "0x80004005"})"}));
}

TEST(SessionAccount, TellsOfThePanelWhenAStepIsAboutIt)
{
    EXPECT_EQ("The panel shows https://velmart.example/\n"
              "The panel is closed\n",
              Told({R"({"event": "panel", "action": "opened"})", R"({"event": "step", "number": 1, "key": "url"})",
                    R"({"event": "url", "url": "https://velmart.example/"})",
                    R"({"event": "step", "number": 2, "key": "panel"})", R"({"event": "panel", "action": "closed"})"}));
}

TEST(SessionAccount, LeavesOutWhatMeansNothingToAUser)
{
    EXPECT_EQ("", Told({R"({"event": "result", "operation": "OnJSMessage", "code": "S_OK"})",
                        R"({"event": "result", "operation": "Save", "code": "0x00000001"})",
                        R"({"event": "notification", "class": "C", "publisher": "P"})",
                        R"({"event": "trace", "name": "N", "text": "T"})",
                        R"({"event": "progress", "dialog": "D", "control": "C", "position": 40})",
                        R"({"event": "script", "text": "first line"})",
                        R"({"event": "command", "header": "H", "mask": 1, "state": 1, "available": true})"}));
}

// ---------------------------------------------------------------------------------------------
// Transfers

TEST(SessionAccount, TellsATransferWithSizeAndTime)
{
    EXPECT_EQ("  12.3 KB from http://a/b.zip in 0.02 s\n"
              "  2 files unpacked\n",
              Told({Request, R"({"event": "transfer", "url": "http://a/b.zip", "end": "finished", "code": 200,
                                 "bytes": 12345})",
                    R"({"event": "extracted", "path": "/none/a"})", R"({"event": "extracted", "path": "/none/b"})"}));
}

TEST(SessionAccount, TellsAnUpload)
{
    EXPECT_EQ("  Sent to http://a/upload in 0.02 s\n",
              Told({R"({"event": "request", "method": "POST", "url": "http://a/upload", "headers": {}})",
                    R"({"event": "transfer", "url": "http://a/upload", "end": "finished", "code": 200, "bytes": 5})"}));
}

TEST(SessionAccount, TellsATransferThatFails)
{
    const auto transfer = [](const std::string& members) {
        return R"({"event": "transfer", "url": "http://a/b.zip", )" + members + "}";
    };
    EXPECT_EQ("  http://a/b.zip has failed with HTTP status 404 in 0.02 s\n"
              "  http://a/b.zip has failed in 0.02 s: nobody answers\n"
              "  The transfer of http://a/b.zip is cancelled\n",
              Told({Request, transfer(R"("end": "finished", "code": 404, "bytes": 5)"), Request,
                    transfer(R"("end": "failed", "code": 0, "bytes": 0, "error": "nobody answers")"),
                    transfer(R"("end": "cancelled", "code": 0, "bytes": 0)")}));
}

TEST(SessionAccount, TellsWhatIsLeftOutOfAnArchive)
{
    EXPECT_EQ("  Left out of the archive: ../a (outside the folder)\n",
              Told({R"({"event": "refused", "entry": "../a", "reason": "outside the folder"})"}));
}

// ---------------------------------------------------------------------------------------------
// The user

TEST(SessionAccount, TellsQuestionsAndErrorsWithTheirAnswersInWords)
{
    const auto dialog = [](unsigned int style, const std::string& text, int answer) {
        return nlohmann::json{{"event", "dialog"}, {"name", "N"},  {"style", style},
                              {"title", "T"},      {"text", text}, {"answer", answer}}
            .dump();
    };
    EXPECT_EQ("  \x1B[2mOverwrite?\n"
              "  /a → Yes\x1B[0m\n"
              "  \x1B[2mSend? → No\x1B[0m\n"
              "  \x1B[2mSend? → closed\x1B[0m\n"
              "  \x1B[31mIt has failed. → OK\x1B[0m\n",
              Told({dialog(ZALDlgNotifyYesNo, "Overwrite?\n/a\n", 3), dialog(ZALDlgNotifyWarningYesNo, "Send?", 4),
                    dialog(ZALDlgNotifyWarningYesNo, "Send?", 0), dialog(ZALDlgNotifyError, "It has failed.", 1)},
                   true));
}

TEST(SessionAccount, TellsWhatTheUserDoesInWindows)
{
    EXPECT_EQ("  The user is asked for the download folder\n"
              "The user enters /a/b as the download folder\n"
              "The user unchecks that it is not asked for again\n"
              "The user pushes OK\n"
              "The user saves the settings\n"
              "  The settings are saved\n"
              "  The settings cannot be saved: no room\n",
              Told({R"({"event": "window", "name": "ZALVelmartDownloadLocationDlg", "style": 1, "action": "shown"})",
                    R"({"event": "push", "dialog": "D", "control": "VLDownloadLocationEditor", "text": "/a/b"})",
                    R"({"event": "push", "dialog": "D", "control": "VLDoNotRemindDownloadLocationCheckButton",
                        "state": false})",
                    R"({"event": "push", "dialog": "D", "control": "OK"})",
                    R"({"event": "options", "operation": "save"})", R"({"event": "settings", "action": "saved"})",
                    R"({"event": "settings", "action": "failed", "error": "no room"})"}));
}

TEST(SessionAccount, TellsPromptsAndPicksInOneLine)
{
    EXPECT_EQ("  Select a product → top/bolt.1, which is refused: no product\n"
              "  Select a product → top\n"
              "  Picked: top, which is refused: no command waits\n"
              "  Select another\n",
              Told({R"({"event": "prompt", "command": "C", "state": "S", "text": "Select a product"})",
                    R"({"event": "command", "command": "C", "action": "entered", "state": "S"})",
                    R"({"event": "selection", "element": "top/bolt.1", "accepted": false, "reason": "no product"})",
                    R"({"event": "selection", "element": "top", "accepted": true, "command": "C"})",
                    R"({"event": "selection", "element": "top", "accepted": false, "reason": "no command waits"})",
                    R"({"event": "prompt", "command": "C", "state": "S", "text": "Select another"})"}));
}

// ---------------------------------------------------------------------------------------------
// Documents

TEST(SessionAccount, TellsWhatBecomesOfADocumentOnce)
{
    const auto document = [](const std::string& action) {
        return R"({"event": "document", "path": "/a/top.ZALProduct", "action": ")" + action + "\"}";
    };
    EXPECT_EQ("  top.ZALProduct is opened\n"
              "  top.ZALProduct is changed\n"
              "  top.ZALProduct is saved\n"
              "  top.ZALProduct is closed\n"
              "\nChanged: top.ZALProduct",
              Told({document("opened"), document("activated"), document("changed"), document("changed"),
                    document("saved"), document("closed")}));
}

TEST(SessionAccount, TellsEachChangeThatIsUndoneOrDoneAgain)
{
    const std::string undone = R"({"event": "document", "path": "/a/top.ZALProduct", "action": "undone"})";
    const std::string redone = R"({"event": "document", "path": "/a/top.ZALProduct", "action": "redone"})";
    EXPECT_EQ("  The last change of top.ZALProduct is undone\n"
              "  The last change of top.ZALProduct is undone\n"
              "  The last change of top.ZALProduct is done again\n",
              Told({undone, undone, redone}));
}

TEST(SessionAccount, TellsThatADocumentIsNew)
{
    EXPECT_EQ("  top.ZALProduct is made\n",
              Told({R"({"event": "step", "number": 1, "key": "new"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "opened"})"}));
}

TEST(SessionAccount, LeavesOutDocumentsWithoutAWindow)
{
    EXPECT_EQ("", Told({R"({"event": "document", "path": "/a", "action": "opened", "hidden": true})",
                        R"({"event": "document", "path": "/a", "action": "changed"})",
                        R"({"event": "document", "path": "/a", "action": "closed", "hidden": true})"}));
}

TEST(SessionAccount, TellsWhatIsInsertedAndReplaced)
{
    const std::string pick = R"({"event": "selection", "element": "top/nut.1", "accepted": true, "command": "C"})";
    const std::string done = R"({"event": "command", "command": "C", "action": "done"})";
    const std::string told =
        Told({Message("velmart_insert", {{"id", "bolt"}}), pick, done, Message("velmart_replace", {{"id", "bolt"}}),
              pick, done, R"({"event": "command", "command": "C", "action": "cancelled"})"});
    EXPECT_THAT(told, HasSubstr("\n  bolt is inserted into top/nut.1\n"));
    EXPECT_THAT(told, HasSubstr("\n  bolt replaces top/nut.1\n  Nothing is replaced\n"));
}

TEST(SessionAccount, TellsARefusalWithoutItsOperation)
{
    EXPECT_EQ("  Refused: a.ZALPart: no\n",
              Told({R"({"event": "document", "action": "refused", "operation": "Open", "reason": "a.ZALPart: no"})"}));
}

TEST(SessionAccount, CutsOffALargeTree)
{
    nlohmann::json root{{"name", "top"}, {"file", "/a/top.ZALProduct"}, {"children", nlohmann::json::array()}};
    for (int i = 1; i <= 20; ++i)
        root["children"].push_back({{"name", "nut." + std::to_string(i)}, {"file", "nut"}, {"at", {0, 0.5, 0}}});
    const std::string told = Told({nlohmann::json{{"event", "tree"}, {"path", "/a"}, {"root", root}}.dump()});
    EXPECT_THAT(told, HasSubstr("  top  [top.ZALProduct]\n  ├─ nut.1  [nut]  at (0, 0.5, 0)\n"));
    EXPECT_THAT(told, EndsWith("  ├─ nut.11  [nut]  at (0, 0.5, 0)\n  … and 9 more\n"));
}

// ---------------------------------------------------------------------------------------------
// The bridge

TEST(SessionAccount, TellsOfTheOtherComponent)
{
    const auto bridge = [](const std::string& direction, const nlohmann::json& message) {
        return nlohmann::json{{"event", "bridge"}, {"direction", direction}, {"text", message.dump()}}.dump();
    };
    EXPECT_EQ("  Another component is asked to fetch the files\n"
              "  It asks for files to be fetched\n"
              "  It is told where they are\n"
              "  It hands the files over\n"
              "  It does not fetch them: not mine\n",
              Told({bridge("sent", {{"method", "downloadQ7FilesFromTolva"}}),
                    bridge("received", {{"method", "downloadFilesFromVL"}}),
                    bridge("sent", {{"result", nlohmann::json::object()}}),
                    bridge("received", {{"result", nlohmann::json::object()}}),
                    bridge("received", {{"error", {{"message", "not mine"}}}})}));
}

// ---------------------------------------------------------------------------------------------
// Terminals

TEST(SessionAccount, KeepsControlCharactersFromTheTerminal)
{
    const std::string told =
        Told({Message("velmart_download", {{"attributes", {{"name", "a\x1B]0;x\x07\nb"}}}}),
              R"({"event": "dialog", "name": "N", "title": "", "text": "a\u001b[2J\u009b1m", "answer": 1})",
              R"({"event": "selection", "element": "a\nEnd", "accepted": true})",
              R"({"event": "document", "path": "/a\u001b[31m.ZALPart", "action": "opened"})"});
    EXPECT_EQ("The page asks for a ]0;x  b to be downloaded\n"
              "  a [2J 1m → OK\n"
              "  Picked: a End\n"
              "  a [31m.ZALPart is opened\n",
              told);
}

TEST(SessionAccount, ColoursDetailsResultsAndFailures)
{
    EXPECT_EQ("The page is ready\n"
              "  \x1B[2mPicked: top\x1B[0m\n"
              "  \x1B[32ma is saved\x1B[0m\n"
              "  \x1B[31mno\x1B[0m\n",
              Told({Message("velmart_ready", {}), R"({"event": "selection", "element": "top", "accepted": true})",
                    R"({"event": "document", "path": "/a", "action": "saved"})", R"({"event": "error", "text": "no"})"},
                   true));
}

// ---------------------------------------------------------------------------------------------
// The end

TEST(SessionAccount, EndsWithTheFailure)
{
    EXPECT_THAT(ToldOfEnd(R"({"event": "end", "status": 1, "step": 2, "reason": "no bolt"})"),
                EndsWith("\nstep 2 has failed: no bolt\n"));
    EXPECT_THAT(ToldOfEnd(R"({"event": "end", "status": 1, "reason": "no module"})"),
                EndsWith("\nthe session cannot begin: no module\n"));
}

TEST(SessionAccount, TellsWhatIsLeftUndoneAlsoWhenAllIsDone)
{
    EXPECT_EQ("\nLeft undone: answers that no question used: 1; documents that are not saved: /a/b.ZALPart\n"
              "every step is done\n",
              ToldOfEnd(R"({"event": "end", "status": 0, "unusedAnswers": 1, "unsavedDocuments": ["/a/b.ZALPart"]})"));
}

namespace {

class SessionAccountOfFiles : public ::testing::Test {
protected:
    std::filesystem::path Put(const std::string& name) const
    {
        std::ofstream(folder_.Path() / name) << "abc";
        return folder_.Path() / name;
    }
    /// A product with these links, each of which stands in it twice.
    std::filesystem::path PutProduct(const std::string& name, const std::vector<std::string>& links) const
    {
        CadDocument product;
        product.kind = DocumentKind::Product;
        product.partNumber = name;
        product.links = links;
        for (unsigned int link = 0; link < links.size(); ++link)
            for (const char* number : {".1", ".2"})
                product.children.push_back({links[link] + number, link, IdentityPlacement});
        WriteDocument(product, folder_.Path() / (name + ".ZALProduct"));
        return folder_.Path() / (name + ".ZALProduct");
    }
    static std::string Extracted(const std::filesystem::path& path)
    {
        return nlohmann::json{{"event", "extracted"}, {"path", path.string()}}.dump();
    }
    static std::string Document(const std::filesystem::path& path, const std::string& action)
    {
        return nlohmann::json{{"event", "document"}, {"path", path.string()}, {"action", action}}.dump();
    }

    TemporaryFolder folder_;
};

} // namespace

TEST_F(SessionAccountOfFiles, ListsWhatIsThereWithItsSize)
{
    const std::string told =
        Told({Extracted(Put("a.txt")), Extracted(folder_.Path() / "gone.txt"), Document(Put("b.txt"), "saved")});
    EXPECT_THAT(told, EndsWith("\nFiles in " + std::filesystem::canonical(folder_.Path()).string() +
                               "\n   3 bytes  a.txt" + std::string(31, ' ') + "   3 bytes  b.txt\n"));
}

TEST_F(SessionAccountOfFiles, CountsFilesOfALongList)
{
    std::vector<std::string> events;
    for (int i = 0; i < 30; ++i)
        events.push_back(Extracted(Put(std::to_string(i))));
    EXPECT_THAT(Told(events), EndsWith("\n  … and 6 more\n"));
}

TEST_F(SessionAccountOfFiles, ShowsTheRootWithEachSubProductOnce)
{
    const std::string told =
        Told({Extracted(PutProduct("sub", {"nut"})), Extracted(PutProduct("top", {"sub.ZALProduct"}))});
    EXPECT_THAT(told, HasSubstr("\nProduct top  [top.ZALProduct]\n"
                                "├─ sub.ZALProduct.1  [sub.ZALProduct]  at (0, 0, 0)\n"
                                "│  ├─ nut.1  [nut]  at (0, 0, 0)  (missing)\n"
                                "│  └─ nut.2  [nut]  at (0, 0, 0)  (missing)\n"
                                "└─ sub.ZALProduct.2  [sub.ZALProduct]  at (0, 0, 0)  …\n"));
    EXPECT_THAT(told, Not(HasSubstr("Product sub")));
}

TEST_F(SessionAccountOfFiles, OfOpenedProductsShowsOnlyTheChangedOne)
{
    const std::filesystem::path first = PutProduct("first", {"nut"});
    const std::filesystem::path second = PutProduct("second", {"nut"});
    const std::string told = Told({Extracted(first), Extracted(second), Document(first, "opened"),
                                   Document(second, "opened"), Document(second, "changed")});
    EXPECT_THAT(told, HasSubstr("\nProduct second  "));
    EXPECT_THAT(told, Not(HasSubstr("\nProduct first  ")));
}

TEST_F(SessionAccountOfFiles, ShowsNoTreeOfAFileThatIsNotTheDocument)
{
    const std::filesystem::path product = PutProduct("top", {"nut"});
    std::ostringstream output;
    SessionAccount account(output, false);
    for (const std::string& event : {Document(product, "opened"), Extracted(product), Document(product, "changed")})
        account.Receive(nlohmann::ordered_json::parse(event), {});
    account.Receive({{"event", "end"}, {"status", 0}, {"unsavedDocuments", {product.string()}}}, {});
    account.Finish();
    EXPECT_THAT(output.str(), Not(HasSubstr("Product top")));
}

TEST_F(SessionAccountOfFiles, SaysWhyAProductCannotBeShown)
{
    EXPECT_THAT(Told({Extracted(Put("bad.ZALProduct"))}),
                HasSubstr("\n" + std::filesystem::canonical(folder_.Path()).string() + "/bad.ZALProduct"));
}

} // namespace openhost
