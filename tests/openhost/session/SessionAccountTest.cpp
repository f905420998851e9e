#include "openhost/session/SessionAccount.h"

#include <gtest/gtest.h>

#include <sstream>

namespace openhost {

namespace {

/// What the account tells of `events`, JSON texts.
std::string Told(const std::vector<std::string>& events)
{
    std::ostringstream output;
    SessionAccount account(output);
    for (const std::string& event : events)
        account.Receive(nlohmann::ordered_json::parse(event));
    account.Finish();
    return output.str();
}

} // namespace

TEST(SessionAccount, TellsWhatBecomesOfADocument)
{
    EXPECT_EQ(Told({R"({"event": "document", "path": "/a/top.ZALProduct", "action": "opened"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "changed"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "saved"})",
                    R"({"event": "document", "path": "/a/top.ZALProduct", "action": "closed"})"}),
              "Document      opened /a/top.ZALProduct\n"
              "Document      changed /a/top.ZALProduct\n"
              "Document      saved /a/top.ZALProduct\n"
              "Document      closed /a/top.ZALProduct\n");
}

TEST(SessionAccount, TellsWhichOperationTheSessionRefuses)
{
    EXPECT_EQ(Told({R"({"event": "document", "action": "refused", "operation": "Open", "reason": "a.ZALPart: no"})"}),
              "Document      refused, Open: a.ZALPart: no\n");
}

TEST(SessionAccount, TellsATreeIndented)
{
    EXPECT_EQ(Told({R"({"event": "tree", "path": "/a/top.ZALProduct", "root":
                        {"name": "top", "partNumber": "top", "file": "/a/top.ZALProduct", "children": [
                            {"name": "pair.1", "partNumber": "pair", "file": "/a/pair.ZALProduct", "at": [0, 0.5, -20],
                             "children": [
                                {"name": "bolt.1", "partNumber": "bolt", "file": "/a/bolt.ZALPart", "at": [1, 2, 3]}]},
                            {"name": "nut.1", "link": "nut.ZALPart", "problem": "missing", "at": [0, 0, 0]}]}})"}),
              "Tree          top  [top.ZALProduct]\n"
              "              ├─ pair.1  [pair.ZALProduct]  at (0, 0.5, -20)\n"
              "              │  └─ bolt.1  [bolt.ZALPart]  at (1, 2, 3)\n"
              "              └─ nut.1  [nut.ZALPart]  (missing)  at (0, 0, 0)\n");
}

TEST(SessionAccount, SaysWhereATreeIsCutOff)
{
    EXPECT_EQ(Told({R"({"event": "tree", "path": "/a/top.ZALProduct", "root":
                        {"name": "top", "partNumber": "top", "file": "/a/top.ZALProduct", "children": [
                            {"name": "bolt.1", "partNumber": "bolt", "file": "/a/bolt.ZALPart", "at": [0, 0, 0]}],
                         "more": true}})"}),
              "Tree          top  [top.ZALProduct]\n"
              "              ├─ bolt.1  [bolt.ZALPart]  at (0, 0, 0)\n"
              "              └─ … and more\n");
}

TEST(SessionAccount, TellsPromptsAndPicks)
{
    EXPECT_EQ(Told({R"({"event": "prompt", "command": "Insert", "state": "pick", "text": "Select a product"})",
                    R"({"event": "selection", "element": "top/bolt.1", "accepted": false, "command": "Insert",
                        "reason": "the filter of the agent refuses it"})",
                    R"({"event": "selection", "element": "top", "accepted": true, "command": "Insert"})",
                    R"({"event": "selection", "element": "top", "accepted": false,
                        "reason": "no command waits for an element"})"}),
              "Prompt        Select a product (Insert)\n"
              "Selection     top/bolt.1, refused (the filter of the agent refuses it)\n"
              "Selection     top, accepted\n"
              "Selection     top, refused (no command waits for an element)\n");
}

TEST(SessionAccount, KeepsNamesWithLineEndsInTheirLine)
{
    EXPECT_EQ(Told({R"({"event": "selection", "element": "top/a\nEnd", "accepted": true, "command": "Insert"})",
                    R"({"event": "document", "path": "/a\nb/top.ZALProduct", "action": "opened"})",
                    R"({"event": "tree", "path": "/top.ZALProduct", "root":
                        {"name": "a\nb", "file": "/t\nop.ZALProduct", "children": [
                            {"name": "x\ty", "link": "l\nk", "problem": "m\ng", "at": [0, 0, 0]}]}})"}),
              "Selection     top/a End, accepted\n"
              "Document      opened /a b/top.ZALProduct\n"
              "Tree          a b  [t op.ZALProduct]\n"
              "              └─ x y  [l k]  (m g)  at (0, 0, 0)\n");
}

TEST(SessionAccount, EndsTheLineOfAProgressBarFirst)
{
    EXPECT_EQ(Told({R"({"event": "progress", "dialog": "D", "control": "C", "position": 40})",
                    R"({"event": "document", "path": "/top.ZALProduct", "action": "opened"})"}),
              "Progress      40 % \n"
              "Document      opened /top.ZALProduct\n");
}

} // namespace openhost
