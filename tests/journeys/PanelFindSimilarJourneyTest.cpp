// From a selected component to the items like it, shown by the page in the real browser.

#include "tests/journeys/FrontServer.h"
#include "tests/journeys/PanelFixture.h"

#include <gmock/gmock.h>

#include <atomic>

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace openhost::testing {
namespace {

constexpr const char* Categories = "/categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true";
constexpr const char* Nut = "/items/slot-nut-m6";
constexpr const char* NutFirst = "ol.items li:first-child a[href='#/items/slot-nut-m6']";
constexpr const char* UploadFailed = "The shape could not be sent to the catalogue service.";

const json Connect = {
    {{"page", std::string("${BASE}") + Categories}}, {{"wait", "message"}}, {{"wait", {{"page", "ul.items a"}}}}};
const json Start = {{{"highlight", "FRAME/NUT.1"}},
                    {{"answer", {{"dialog", "UploadWarningPopup"}, {"button", 3}}}},
                    {{"command", "ZALVelmartFindSimilarCmd"}}};
/// Has the page fetch the request of the nut, which the server under test answers with an error.
const json AskForNut = {{{"page", {{"click", "a[href='#/items/slot-nut-m6']"}}}},
                        {{"wait", {{"page", "#download:enabled"}}}},
                        {{"page", {{"click", "#download"}}}}};

json Shown(const std::string& selector)
{
    return json::array({{{"wait", {{"page", selector}}}}});
}

json Join(const std::vector<json>& parts)
{
    json steps = json::array();
    for (const json& part : parts)
        steps.insert(steps.end(), part.begin(), part.end());
    return steps;
}

class PanelFindSimilarJourney : public PanelFixture {
protected:
    PanelFindSimilarJourney() : front_(Base()) { PutNutIntoFrame(); }

    /// Plays `parts` one after the other, to their end; the catalogue is behind the server under test.
    std::vector<json> PlayWithFront(const std::vector<json>& parts)
    {
        front_.Start();
        return PlayToTheEnd(Join(parts), front_.Address());
    }

    httplib::Server& Routes() { return front_.Routes(); }

    /// Passes uploads on once `gate` is open.
    void HoldBack(Gate& gate)
    {
        Routes().Post("/upload",
                      [this, wait = gate.Wait()](const httplib::Request& request, httplib::Response& response) {
                          wait();
                          front_.PassOn(request, response);
                      });
    }
    /// Answers the request for the nut with an error, after `action`.
    void OnAskForNut(std::function<void()> action)
    {
        Routes().Get(Nut, [action = std::move(action)](const httplib::Request&, httplib::Response& response) {
            action();
            response.status = 500;
        });
    }

    /// Texts of the error dialogs.
    static std::vector<std::string> Errors(const std::vector<json>& journal)
    {
        std::vector<std::string> texts;
        for (const json& dialog : Events(journal, "dialog"))
            if (dialog["name"] == "FileDownloadErrorNotify")
                texts.push_back(dialog["text"]);
        return texts;
    }

    /// The scripts that ask the page for a search.
    static std::vector<std::string> Searches(const std::vector<json>& journal)
    {
        std::vector<std::string> texts;
        for (const json& script : Events(journal, "script"))
            if (script["text"].get<std::string>().starts_with("OpApi.sendMessage('search'"))
                texts.push_back(script["text"]);
        return texts;
    }

    FrontServer front_;
};

// ---------------------------------------------------------------------------------------------
// The road to the results

TEST_F(PanelFindSimilarJourney, TheSelectedItemItselfIsTheFirstResultAndCanBeInserted)
{
    const std::vector<json> journal =
        PlayToTheEnd(Join({Connect,
                           Start,
                           Shown(NutFirst),
                           Shown("#others li:nth-child(20)"),
                           {{{"screenshot", Picture().string()}}, {{"page", {{"click", NutFirst}}}}},
                           Shown("#insert:enabled"),
                           {{{"page", {{"click", "#insert"}}}},
                            {{"wait", "message"}},
                            {{"select", "FRAME"}},
                            {{"wait", "transfer"}},
                            {{"wait", "idle"}},
                            {{"tree", "${PARTS}/FRAME.ZALProduct"}}}}));
    EXPECT_THAT(Errors(journal), IsEmpty());
    EXPECT_THAT(Searches(journal), ElementsAre(StartsWith("OpApi.sendMessage('search', {query: 'A")));
    EXPECT_GT(std::filesystem::file_size(Picture()), 1000U);
    const std::vector<json> trees = Events(journal, "tree");
    ASSERT_EQ(1U, trees.size());
    EXPECT_EQ(2U, trees[0]["root"]["children"].size());
}

TEST_F(PanelFindSimilarJourney, WithoutTheCataloguesPageTheCommandIsNotAvailable)
{
    const std::vector<json> journal = Play(Start);
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(1, journal.back()["status"]);
    EXPECT_THAT(journal.back()["reason"], HasSubstr("is not available"));
}

TEST_F(PanelFindSimilarJourney, APageThatHasGoneMeanwhileIsBroughtBackWithTheResults)
{
    Gate gate;
    HoldBack(gate);
    Routes().Get("/elsewhere", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("<!DOCTYPE html><button>go</button><script>"
                             "document.querySelector('button').onclick = () => fetch('/go');</script>",
                             "text/html");
    });
    Routes().Get("/go", [&](const httplib::Request&, httplib::Response&) { gate.Open(); });
    const std::vector<json> journal = PlayWithFront(
        {Connect,
         Start,
         {{{"page", "${BASE}/elsewhere"}}, {{"wait", "url"}}, {{"page", {{"click", "button"}}}}, {{"wait", "load"}}},
         Shown(NutFirst),
         Shown("#connection[data-state=connected]")});
    EXPECT_THAT(Errors(journal), IsEmpty());
    EXPECT_THAT(Searches(journal), IsEmpty());
    const std::string start = front_.Address() + Categories + "&addinmode=zalorq7&extq=A";
    EXPECT_THAT(Events(journal, "load").back()["url"], StartsWith(start));
}

// ---------------------------------------------------------------------------------------------
// A slow service

TEST_F(PanelFindSimilarJourney, TheUserGoesOnInThePageWhileAnUploadIsSlow)
{
    Gate gate;
    HoldBack(gate);
    OnAskForNut([&] { gate.Open(); });
    const std::vector<json> journal =
        PlayWithFront({Connect, Start, {{{"wait", "window"}}}, AskForNut, Shown(NutFirst)});
    const std::vector<json> windows = Events(journal, "window");
    ASSERT_EQ(2U, windows.size());
    EXPECT_EQ("ZALVelmartFindSimilarUploadProgressDlg", windows[0]["name"]);
    EXPECT_EQ("shown", windows[0]["action"]);
    EXPECT_EQ("ended", windows[1]["action"]);
}

TEST_F(PanelFindSimilarJourney, ClosingThePanelDuringAnUploadEndsItAndTheNextOneWorks)
{
    Gate begun;
    Gate gate;
    std::atomic<int> uploads = 0;
    Routes().Post("/upload", [&, wait = gate.Wait()](const httplib::Request& request, httplib::Response& response) {
        if (uploads++ == 0) {
            begun.Open();
            wait();
        }
        front_.PassOn(request, response);
    });
    OnAskForNut(begun.Wait());
    const std::vector<json> journal =
        PlayWithFront({Connect,
                       Start,
                       AskForNut,
                       Shown("#status[data-state=failed]"),
                       {{{"panel", "close"}}, {{"wait", "transfer"}}, {{"wait", "idle"}}, {{"panel", "open"}}},
                       Connect,
                       Start,
                       Shown(NutFirst)});
    const std::vector<json> transfers = Events(journal, "transfer");
    ASSERT_EQ(2U, transfers.size());
    EXPECT_EQ("cancelled", transfers[0]["end"]);
    EXPECT_EQ("finished", transfers[1]["end"]);
    EXPECT_EQ(1U, Searches(journal).size());
}

TEST_F(PanelFindSimilarJourney, ASlowSearchIsShownAndItsLateAnswerDisturbsNobody)
{
    Gate gate;
    Routes().Get("/search", [&, wait = gate.Wait()](const httplib::Request& request, httplib::Response& response) {
        wait();
        front_.PassOn(request, response);
    });
    OnAskForNut([&] { gate.Open(); });
    PlayWithFront({Connect,
                   Start,
                   Shown("#content .status[data-state=working]"),
                   {{{"page", {{"click", "#categories li:first-child a"}}}}},
                   AskForNut,
                   Shown("#status[data-state=failed]"),
                   {{{"page", {{"click", ".back"}}}}},
                   Shown("ul.items")});
}

// ---------------------------------------------------------------------------------------------
// A service that is down or answers nonsense

TEST_F(PanelFindSimilarJourney, AServiceThatHasGoneDownFailsTheUploadAndThePageStays)
{
    OnAskForNut([&] { front_.GoDown(); });
    const std::vector<json> journal = PlayWithFront({Connect,
                                                     AskForNut,
                                                     Shown("#status[data-state=failed]"),
                                                     Start,
                                                     {{{"wait", "dialog"}}},
                                                     {{{"wait", "transfer"}}},
                                                     Shown("#status[data-state=failed]")});
    EXPECT_THAT(Errors(journal), ElementsAre(UploadFailed));
    EXPECT_EQ("failed", Events(journal, "transfer").back()["end"]);
}

TEST_F(PanelFindSimilarJourney, AServiceThatGoesDownAfterTheUploadFailsTheSearch)
{
    Routes().Post("/upload", [&](const httplib::Request& request, httplib::Response& response) {
        front_.PassOn(request, response);
        front_.GoDown();
    });
    const std::vector<json> journal = PlayWithFront({Connect, Start, Shown(".trouble [role=alert]")});
    EXPECT_THAT(Errors(journal), IsEmpty());
    EXPECT_EQ(1U, Searches(journal).size());
}

TEST_F(PanelFindSimilarJourney, NonsenseForAnUploadIsToldAndReachesNobody)
{
    const std::vector<std::string> answers = {"<html>busy</html>", "", "{}", R"({"data": {}})", R"({"error": "full"})"};
    std::atomic<std::size_t> uploads = 0;
    Routes().Post("/upload", [&](const httplib::Request&, httplib::Response& response) {
        const std::size_t number = uploads++;
        if (number + 1 == answers.size())
            response.status = 503;
        response.set_content(answers[number], "application/json");
    });
    std::vector<json> parts = {Connect};
    for (std::size_t i = 0; i < answers.size(); ++i) {
        parts.push_back(Start);
        parts.push_back({{{"wait", "transfer"}}, {{"wait", "idle"}}});
    }
    parts.push_back(Shown("ul.items"));
    const std::vector<json> journal = PlayWithFront(parts);
    EXPECT_EQ(std::vector<std::string>(answers.size(), UploadFailed), Errors(journal));
    EXPECT_THAT(Searches(journal), IsEmpty());
}

TEST_F(PanelFindSimilarJourney, NonsenseForASearchIsSaidInThePageUntilTheServiceAnswers)
{
    const std::vector<std::string> answers = {"<html>busy</html>", R"({"items": 7})", "null", R"({"error": "full"})"};
    std::atomic<std::size_t> searches = 0;
    Routes().Get("/search", [&](const httplib::Request& request, httplib::Response& response) {
        const std::size_t number = searches++;
        if (number == answers.size())
            return front_.PassOn(request, response);
        if (number + 1 == answers.size())
            response.status = 503;
        response.set_content(answers[number], "application/json");
    });
    std::vector<json> parts = {Connect, Start};
    // The first view is the list; each search is a view of its own.
    for (std::size_t view = 2; view < 2 + answers.size(); ++view) {
        parts.push_back(Shown("#content[data-view='" + std::to_string(view) + "'] .trouble [role=alert]"));
        parts.push_back(json::array({{{"page", {{"click", "#again"}}}}}));
    }
    parts.push_back(Shown(NutFirst));
    PlayWithFront(parts);
    EXPECT_EQ(answers.size() + 1, searches);
}

TEST_F(PanelFindSimilarJourney, AQueryThatIsNoneIsSaidInThePage)
{
    Routes().Post("/upload", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(R"({"data": {"query": "nonsense"}})", "application/json");
    });
    const std::vector<json> journal = PlayWithFront({Connect, Start, Shown(".trouble [role=alert]")});
    EXPECT_THAT(Searches(journal), ElementsAre("OpApi.sendMessage('search', {query: 'nonsense'});"));
}

} // namespace
} // namespace openhost::testing
