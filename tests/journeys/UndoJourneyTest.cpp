// What the module does to documents, undone and done again: the program openhost, the shared library of the module and
// the catalogue.

#include "tests/journeys/ProgramFixture.h"
#include "tests/support/Files.h"

#include <gmock/gmock.h>

namespace openhost::testing {
namespace {

using nlohmann::json;

json Item(const std::string& event, const std::string& id)
{
    return {{"message",
             {{"event", event},
              {"content",
               {{"id", id}, {"attributes", {{"downloadUrls", {{"ZALOR_RAW", "${BASE}/files/" + id + ".zip"}}}}}}}}}};
}

class UndoJourney : public ProgramFixture {
protected:
    const json wait_ = {{"wait", "idle"}};
    const json tree_ = {{"tree", "${PARTS}/BEARING_UNIT_20.ZALProduct"}};
    const json save_ = {{"save", "${PARTS}/BEARING_UNIT_20.ZALProduct"}};
    const json undo_ = {{"undo", true}};
    const json redo_ = {{"redo", true}};

    /// The journal of `steps`, which are all done.
    std::vector<json> PlaySteps(const std::vector<json>& steps)
    {
        const Played play = Play(json{
            {"settings", {{"DownloadLocation", "${PARTS}"}, {"DoNotRemindDownloadLocation", true}}},
            {"steps", steps}}.dump());
        EXPECT_EQ(0, play.status) << play.error;
        return play.journal;
    }
    std::string Product() const { return ReadFile(Parts() / "BEARING_UNIT_20.ZALProduct"); }
};

TEST_F(UndoJourney, InsertingAndReplacingGoBackToTheSameFile)
{
    PlaySteps({Item("velmart_open", "bearing-unit-20"), wait_});
    const std::string before = Product();

    const auto trees = Events(PlaySteps({{{"open", "${PARTS}/BEARING_UNIT_20.ZALProduct"}},
                                         tree_, // 0
                                         Item("velmart_insert", "spur-gear-m2-z18"),
                                         {{"select", "BEARING_UNIT_20"}},
                                         wait_,
                                         tree_, // 1
                                         undo_,
                                         tree_,
                                         redo_,
                                         tree_, // 2 and 3
                                         {{"answer", {{"dialog", "ReplaceAllPopUp"}, {"button", 3}}}},
                                         Item("velmart_replace", "hexagon-bolt-m6x30"),
                                         {{"select", "BEARING_UNIT_20/BOLTED_JOINT_M8.1"}},
                                         wait_,
                                         tree_, // 4
                                         undo_,
                                         tree_,
                                         save_, // 5
                                         undo_,
                                         tree_,
                                         save_}), // 6
                              "tree");
    ASSERT_EQ(7U, trees.size());
    EXPECT_NE(trees[0], trees[1]);
    EXPECT_EQ(trees[0], trees[2]) << "the insertion is undone";
    EXPECT_EQ(trees[1], trees[3]) << "and done again";
    EXPECT_NE(trees[1], trees[4]);
    EXPECT_EQ(trees[1], trees[5]) << "the replacement of all is undone";
    EXPECT_EQ(trees[0], trees[6]) << "so is the insertion, after it was saved";
    EXPECT_TRUE(before == Product()) << "the file is not what it was";
}

} // namespace
} // namespace openhost::testing
