// The catalogue's page and the script that connects it, in the real browser.
#include "catalogue/service/CatalogueService.h"
#include "tests/openhost/desktop/BrowserFixture.h"
#include "tests/openhost/desktop/PageServer.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <QApplication>
#include <QWidget>

#include <atomic>
#include <future>

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace openhost::testing {

namespace {

constexpr const char* Index = R"([
{"id": "bolt-m8", "title": "Bolt M8x40", "category": "Bolts", "description": "Hexagon head", "file": "bolt-m8.zip",
 "dimensions": {"d": 8, "l": 40.25}, "volume": 2773.236,
 "boundingBox": {"lowest": [-7.5, -6.5, -5], "highest": [7.5, 6.5, 40]}},
{"id": "nut-m8", "title": "Nut M8", "category": "Nuts", "description": "", "file": "nut-m8.zip", "dimensions": {"d": 8}},
{"id": "nut-m6", "title": "Nut M6", "category": "Nuts", "dimensions": {"d": 6}}])";
constexpr const char* Bolt = R"({"id": "bolt-m8", "attributes": {"name": "Bolt M8x40"}, "downloadUrl": "http://x/y"})";

std::string ReadSource(const std::string& path)
{
    std::string text = ReadFile(SourceDir() + "/" + path);
    EXPECT_FALSE(text.empty()) << path;
    return text;
}

std::string HandlersScript(const std::string& context = "SidePanel")
{
    const std::string placeholder = "%USAGE_CONTEXT%";
    std::string script = ReadSource("installation/webapps/ZALVelmartIntegrationJS/OpApiHandlers.js");
    const std::size_t place = script.find(placeholder);
    EXPECT_NE(std::string::npos, place);
    return script.replace(place, placeholder.size(), context);
}

class CataloguePage : public BrowserFixture {
protected:
    CataloguePage()
    {
        for (const char* path : {"/", "/categories"})
            server_.AddPage(path, ReadSource("catalogue/page/index.html"));
        server_.Routes().set_mount_point("/page", SourceDir() + "/catalogue/page");
    }

    ~CataloguePage() override { server_.Stop(); }

    void Answer(const std::string& path, const std::string& text)
    {
        server_.Routes().Get(path, [text](const httplib::Request&, httplib::Response& response) {
            response.set_content(text, "application/json");
        });
    }

    /// Three items, of which one can be handed to the session.
    void AnswerItems()
    {
        Answer("/items", Index);
        Answer("/items/bolt-m8", Bolt);
    }

    /// Answers one search, whose query is then in `searched_`.
    void AnswerSearch(const std::string& text)
    {
        server_.Routes().Get("/search", [this, text](const httplib::Request& request, httplib::Response& response) {
            searched_.set_value(request.get_param_value("query"));
            response.set_content(text, "application/json");
        });
    }

    void OpenPage(const std::string& rest = "/categories?connect&lockedapp=true")
    {
        server_.Start();
        Load(server_.Url(rest));
    }

    void Connect(const std::string& context = "SidePanel")
    {
        ASSERT_TRUE(page_->ExecuteScript(HandlersScript(context)));
    }

    /// Opens the page on the three items, until it shows what `selector` finds.
    bool OpenItems(const std::string& rest, const std::string& selector)
    {
        AnswerItems();
        OpenPage(rest);
        return UntilShown(selector);
    }
    bool OpenList() { return OpenItems("/categories?connect&lockedapp=true", ".items li:nth-child(3)"); }
    bool OpenBolt() { return OpenItems("/categories#/items/bolt-m8", "table"); }
    bool ConnectBolt()
    {
        Connect();
        return UntilShown("#insert:enabled");
    }

    /// The text that a reader sees in the first element that `selector` finds.
    std::string TextOf(const std::string& selector)
    {
        const std::string number = std::to_string(++asked_);
        page_->ExecuteScript("hostPanel.sendMessage('" + number + ":' + (document.querySelector(" +
                             json(selector).dump() + ")?.innerText ?? 'nothing'));");
        std::string text;
        Until([&] {
            for (const std::string& message : reports_.messages)
                if (message.starts_with(number + ":")) {
                    text = message.substr(number.size() + 1);
                    return true;
                }
            return false;
        });
        return text;
    }

    /// What the page has sent to the session.
    std::vector<json> Sent()
    {
        std::vector<json> sent;
        for (const std::string& message : reports_.messages)
            if (message.starts_with("{"))
                sent.push_back(json::parse(message));
        return sent;
    }

    std::vector<std::string> SentEvents()
    {
        std::vector<std::string> events;
        for (const json& message : Sent())
            events.push_back(message["event"]);
        return events;
    }

    /// Waits until `count` messages of the page have come.
    bool UntilSent(std::size_t count)
    {
        return Until([&] { return Sent().size() >= count; });
    }

    PageServer server_;
    int asked_ = 0;
    std::promise<std::string> searched_;
};

// ---------------------------------------------------------------------------------------------
// The list

TEST_F(CataloguePage, TheListHasAllItemsAndTheirCategories)
{
    ASSERT_TRUE(OpenList());
    EXPECT_EQ("All items", TextOf("h2"));
    EXPECT_EQ("3 items", TextOf(".count"));
    EXPECT_EQ("Bolt M8x40", TextOf(".items .title"));
    EXPECT_EQ("d 8 · l 40.25", TextOf(".items .detail"));
    EXPECT_EQ("All\nBolts\nNuts", TextOf("#categories"));
    EXPECT_EQ("All", TextOf("#categories [aria-current=page]"));
}

TEST_F(CataloguePage, ACategoryShowsItsItemsAlone)
{
    ASSERT_TRUE(OpenList());
    User().Click("#categories li:nth-child(3) a");
    ASSERT_TRUE(UntilShown("#categories li:nth-child(3) [aria-current=page]"));
    EXPECT_EQ("Nuts", TextOf("h2"));
    EXPECT_EQ("2 items", TextOf(".count"));
}

TEST_F(CataloguePage, TheSearchFindsByAllWordsInNamesAndSizes)
{
    ASSERT_TRUE(OpenList());
    User().Enter("#query", "nut D8");
    ASSERT_TRUE(UntilShown(".items li:only-child"));
    EXPECT_EQ("Nut M8", TextOf(".items .title"));
    EXPECT_EQ("1 of 3 items", TextOf("#announcer"));
    User().Enter("#query", "<b>none</b>");
    EXPECT_EQ("Nothing matches “<b>none</b>”.", TextOf(".count"));
    User().Enter("#query", "");
    EXPECT_TRUE(UntilShown(".items li:nth-child(3)"));
}

TEST_F(CataloguePage, ASearchFromAnItemGoesBackToTheListAndKeepsTheFocus)
{
    ASSERT_TRUE(OpenBolt());
    User().Enter("#query", "nut");
    ASSERT_TRUE(UntilShown(".items li:nth-child(2)"));
    EXPECT_EQ("query", Ask("document.activeElement.id"));
}

TEST_F(CataloguePage, TextsOfTheServiceAreNeverMarkup)
{
    Answer("/items", R"json([{"id": "<img src=x onerror=alert(1)>", "title": "<script>document.title='bad'</script>",
        "category": "<b>c</b>", "description": "<i>d</i>", "file": "javascript:alert(1)",
        "dimensions": {"<u>d</u>": 1}}])json");
    OpenPage();
    ASSERT_TRUE(UntilShown(".items a"));
    EXPECT_EQ("<script>document.title='bad'</script>", TextOf(".items .title"));
    User().Click(".items a");
    ASSERT_TRUE(UntilShown("table"));
    EXPECT_EQ("<i>d</i>", TextOf(".description"));
    EXPECT_EQ("<u>d</u>", TextOf("th"));
    EXPECT_EQ("/files/javascript%3Aalert(1)", Ask("document.querySelector('#file').getAttribute('href')"));
    EXPECT_EQ("0", Ask("document.querySelectorAll('main b, main i, main u, main script').length"));
    EXPECT_EQ("Velmart catalogue", Ask("document.title"));
}

// ---------------------------------------------------------------------------------------------
// An item

TEST_F(CataloguePage, AnItemHasItsPictureAndATableOfItsDimensions)
{
    server_.Routes().Get("/items/bolt-m8/picture", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("<svg xmlns='http://www.w3.org/2000/svg' width='64' height='64'/>", "image/svg+xml");
    });
    ASSERT_TRUE(OpenBolt());
    EXPECT_EQ("Bolt M8x40", TextOf("h2"));
    EXPECT_EQ("d\t8\nl\t40.25\nOverall size\t15 × 13 × 45\nVolume\t2.77 cm³", TextOf("tbody"));
    EXPECT_EQ(
        "Picture of Bolt M8x40/items/bolt-m8/picture",
        Ask("document.querySelector('figure img').alt + document.querySelector('figure img').getAttribute('src')"));
}

TEST_F(CataloguePage, AMissingPictureIsANeutralDrawingWithoutAName)
{
    ASSERT_TRUE(OpenItems("/categories#/items/nut-m8", "figure img[data-neutral][alt='']"));
    EXPECT_EQ("/page/part.svg", Ask("document.querySelector('figure img').getAttribute('src')"));
}

TEST_F(CataloguePage, AnItemThatTheCatalogueLacksIsSaid)
{
    ASSERT_TRUE(OpenItems("/categories#/items/none", "[role=alert]"));
    EXPECT_EQ("No such item", TextOf("h2"));
    User().Click("#again");
    EXPECT_TRUE(UntilShown(".items"));
}

TEST_F(CataloguePage, WithoutASessionTheButtonsAreOffAndTheFileIsALink)
{
    ASSERT_TRUE(OpenBolt());
    EXPECT_EQ("Not connected", TextOf("#connection"));
    EXPECT_EQ("4", Ask("document.querySelectorAll('.actions button:disabled').length"));
    EXPECT_THAT(TextOf("#unconnected"), HasSubstr("not connected to a CAD application"));
    EXPECT_EQ("unconnected", Ask("document.querySelector('#insert').getAttribute('aria-describedby')"));
    EXPECT_EQ(
        "/files/bolt-m8.zip bolt-m8.zip",
        Ask("document.querySelector('#file').getAttribute('href') + ' ' + document.querySelector('#file').download"));
}

// ---------------------------------------------------------------------------------------------
// The session

TEST_F(CataloguePage, ConnectingAnnouncesUploadAndTemplatesAndSwitchesTheButtonsOn)
{
    ASSERT_TRUE(OpenBolt());
    Connect();
    ASSERT_TRUE(UntilSent(1));
    EXPECT_EQ(json({{"event", "velmart_ready"},
                    {"content",
                     {{"searchByUploadUrl", server_.Url("/upload")},
                      {"zalpartTemplate", server_.Url("/files/templates/PartTemplate.ZALPart")},
                      {"zalproductTemplate", server_.Url("/files/templates/ProductTemplate.ZALProduct")},
                      {"preferredSaveMethod", "save as"}}}}),
              Sent()[0]);
    ASSERT_TRUE(UntilShown("#insert:enabled"));
    EXPECT_EQ("Connected to the application", TextOf("#connection"));
    EXPECT_FALSE(User().Shows("#unconnected"));
    EXPECT_FALSE(User().Shows("#file"));
}

TEST_F(CataloguePage, EachButtonSendsTheItemAsTheServiceDescribesIt)
{
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    for (const std::string name : {"insert", "replace", "open", "download"}) {
        const std::size_t before = Sent().size();
        User().Click("#" + name);
        ASSERT_TRUE(UntilSent(before + 1));
        EXPECT_EQ(json({{"event", "velmart_" + name}, {"content", json::parse(Bolt)}}), Sent().back());
        ASSERT_TRUE(UntilShown("#status[data-state=done]"));
    }
    EXPECT_THAT(TextOf("#status"), HasSubstr("downloads the item"));
}

TEST_F(CataloguePage, AllCanBeDoneWithTheKeyboard)
{
    ASSERT_TRUE(OpenList());
    Connect();
    ASSERT_TRUE(UntilSent(1));
    User().Press("Tab");
    EXPECT_EQ("Skip to the items", Ask("document.activeElement.textContent"));
    User().Press("Return");
    User().Press("Tab");
    EXPECT_EQ("#/items/bolt-m8", Ask("document.activeElement.getAttribute('href')"));
    User().Press("Return");
    ASSERT_TRUE(UntilShown("table"));
    EXPECT_EQ("H2 Bolt M8x40", Ask("document.activeElement.tagName + ' ' + document.activeElement.textContent"));
    User().Press("Tab");
    EXPECT_EQ("insert", Ask("document.activeElement.id"));
    EXPECT_EQ("3px", Ask("getComputedStyle(document.activeElement).outlineWidth"));
    User().Press("Space");
    ASSERT_TRUE(UntilSent(2));
    EXPECT_EQ("velmart_insert", SentEvents().back());
    ASSERT_TRUE(UntilShown("#status[data-state=done]"));
    EXPECT_EQ("insert", Ask("document.activeElement.id"));
}

TEST_F(CataloguePage, WhileTheServiceIsSlowASecondPressCountsForNothing)
{
    Gate gate;
    const auto asked = std::make_shared<std::atomic<int>>(0);
    Answer("/items", Index);
    server_.Routes().Get("/items/bolt-m8",
                         [asked, wait = gate.Wait()](const httplib::Request&, httplib::Response& response) {
                             ++*asked;
                             wait();
                             response.set_content(Bolt, "application/json");
                         });
    OpenPage("/categories#/items/bolt-m8");
    ASSERT_TRUE(UntilShown("table"));
    ASSERT_TRUE(ConnectBolt());
    User().Click("#download");
    ASSERT_TRUE(UntilShown("#status[data-state=working]"));
    EXPECT_THAT(TextOf("#status"), HasSubstr("Downloading"));
    User().Click("#download");
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready"));
    gate.Open();
    ASSERT_TRUE(UntilShown("#status[data-state=done]"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready", "velmart_download"));
    EXPECT_EQ(1, *asked);
}

TEST_F(CataloguePage, NonsenseFromTheServiceFailsTheActionAndReachesNobody)
{
    Answer("/items", Index);
    std::atomic<int> asked = 0;
    server_.Routes().Get("/items/bolt-m8", [&](const httplib::Request&, httplib::Response& response) {
        constexpr const char* Answers[] = {"no json", "[]", "{\"id\": 1}", "null"};
        const int number = asked++;
        if (number == 4)
            response.status = 500;
        response.set_content(number < 4 ? Answers[number] : Bolt, "application/json");
    });
    OpenPage("/categories#/items/bolt-m8");
    ASSERT_TRUE(UntilShown("table"));
    ASSERT_TRUE(ConnectBolt());
    for (int number = 0; number < 5; ++number) {
        User().Click("#insert");
        ASSERT_TRUE(Until([&] { return asked > number; }));
        ASSERT_TRUE(UntilShown("#status[data-state=failed]"));
        EXPECT_THAT(TextOf("#status"), HasSubstr(number == 4 ? "the error 500" : "cannot be read"));
    }
    User().Click("#insert");
    ASSERT_TRUE(UntilShown("#status[data-state=done]"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready", "velmart_insert"));
}

TEST_F(CataloguePage, AServiceThatGoesDownIsSaid)
{
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    server_.Stop();
    User().Click("#insert");
    ASSERT_TRUE(UntilShown("#status[data-state=failed]"));
    EXPECT_EQ("Failed. The catalogue does not answer.", TextOf("#status"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready"));
}

TEST_F(CataloguePage, AListThatCannotBeReadIsSaidAndCanBeAskedForAgain)
{
    std::atomic<int> asked = 0;
    server_.Routes().Get("/items", [&](const httplib::Request&, httplib::Response& response) {
        constexpr const char* Answers[] = {"<html>", R"({"items": 1})", R"([1, null, {"id": 7}])"};
        const int number = asked++;
        response.set_content(number < 3 ? Answers[number] : Index, "application/json");
    });
    OpenPage();
    for (int number = 0; number < 3; ++number) {
        ASSERT_TRUE(UntilShown(".trouble"));
        EXPECT_EQ("The catalogue gives an answer that cannot be read.", TextOf("[role=alert]"));
        User().Click("#again");
        ASSERT_TRUE(Until([&] { return asked > number + 1; }));
    }
    EXPECT_TRUE(UntilShown(".items li:nth-child(3)"));
}

TEST_F(CataloguePage, EntriesThatAreNoItemsAreLeftOut)
{
    Answer("/items", R"([null, 1, {"id": "", "title": "x"}, {"id": "a"}, {"id": "ok", "title": "Good",
        "dimensions": {"d": "8", "l": null, "k": 2}, "boundingBox": {"lowest": [0], "highest": "x"}, "volume": "9"}])");
    OpenPage();
    ASSERT_TRUE(UntilShown(".items li:only-child"));
    EXPECT_EQ("Good", TextOf(".items .title"));
    EXPECT_EQ("k 2", TextOf(".items .detail"));
}

TEST_F(CataloguePage, ThatThePageLeavesIsSaid)
{
    server_.AddPage("/foreign", "<!DOCTYPE html><p id=foreign>foreign</p>");
    ASSERT_TRUE(OpenList());
    Connect();
    ASSERT_TRUE(UntilSent(1));
    Load(server_.Url("/foreign"));
    ASSERT_TRUE(UntilSent(2));
    EXPECT_EQ(json({{"event", "velmart_over"}, {"content", json::object()}}), Sent()[1]);
}

TEST_F(CataloguePage, TheHandlersMayRunTwice)
{
    ASSERT_TRUE(OpenBolt());
    Connect();
    Connect();
    ASSERT_TRUE(UntilSent(2));
    ASSERT_TRUE(UntilShown("#insert:enabled"));
    User().Click("#insert");
    ASSERT_TRUE(UntilShown("#status[data-state=done]"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready", "velmart_ready", "velmart_insert"));
    Load(server_.Url("/"));
    ASSERT_TRUE(UntilSent(4));
    EXPECT_EQ("1 + 1", Ask("'1 + 1'"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready", "velmart_ready", "velmart_insert", "velmart_over"));
}

TEST_F(CataloguePage, AChooserOfDocumentsHasNoProductToInsertInto)
{
    ASSERT_TRUE(OpenBolt());
    Connect("DocChooser");
    ASSERT_TRUE(UntilShown("#open:enabled"));
    EXPECT_TRUE(User().Shows("#download"));
    EXPECT_FALSE(User().Shows("#insert"));
    EXPECT_FALSE(User().Shows("#replace"));
}

// ---------------------------------------------------------------------------------------------
// What the handlers let through

TEST_F(CataloguePage, ThePageBringsAboutTheSixMessagesAndNoOthers)
{
    server_.AddPage("/tries", R"(<!DOCTYPE html><p>tries</p><script>
const outcomes = [];
document.addEventListener("velmart:outcome", (event) => outcomes.push(JSON.parse(event.detail).reason));
const tries = [
    undefined, 7, {event: "velmart_over", content: {}}, "", "no json", "null", "[]", "{}", '"velmart_over"',
    '{"event": "velmart_over"}', '{"event": "velmart_over", "content": {}, "more": 1}',
    '{"event": "VELMART_OVER", "content": {}}', '{"event": "velmart_close", "content": {}}',
    '{"event": "toString", "content": {}}', '{"event": ["velmart_over"], "content": {}}',
    '{"event": "velmart_insert", "content": []}', '{"event": "velmart_open", "content": "x"}',
    '{"event": "velmart_ready", "content": null}',
    JSON.stringify({event: "velmart_open", content: {text: "x".repeat(1 << 20)}}),
    '{"event": "velmart_replace", "content": {"id": 7}}',
];
document.addEventListener("velmart:connect", () => {
    for (const detail of tries)
        document.dispatchEvent(new CustomEvent("velmart:request", {detail}));
    document.dispatchEvent(new Event("velmart:request"));
    document.querySelector("p").textContent = outcomes.join();
});
</script>)");
    server_.Start();
    Load(server_.Url("/tries"));
    Connect();
    ASSERT_TRUE(UntilSent(1));
    EXPECT_EQ(json({{"event", "velmart_replace"}, {"content", {{"id", 7}}}}), Sent()[0]);
    const std::string text = TextOf("p");
    EXPECT_EQ("no text of a message,no text of a message,no text of a message,no JSON,no JSON,no message,no message,"
              "no message,no message,no message,no message,an unknown event,an unknown event,an unknown event,"
              "an unknown event,no item,no item,no map,no text of a message,,no text of a message",
              text);
    EXPECT_EQ(1U, Sent().size());
}

// What the page announces is where the module sends the user's shape and what it fetches to rebuild on.
TEST_F(CataloguePage, AddressesOfOthersAreRefused)
{
    server_.AddPage("/tries", R"(<!DOCTYPE html><p>tries</p><script>
const own = location.origin;
const host = location.host;
const addresses = [
    "https://elsewhere.example/t", `https://${host}/t`, `http://${host}.elsewhere.example/t`, `http://${host}0/t`,
    `http://${host}@elsewhere.example/t`, `http://${host}\\@elsewhere.example/t`, `http:\\\\${host}\\t`, ` ${own}/t`,
    `http://user@${host}/t`, `//${host}/t`, "/t", "t", `blob:${own}/t`, "file:///etc/passwd", "data:text/plain,t",
    "javascript:1", own, "", 7, null, true, [`${own}/t`], {href: `${own}/t`},
];
const keys = ["searchByUploadUrl", "zalpartTemplate", "zalproductTemplate"];
let outcome;
document.addEventListener("velmart:outcome", (event) => { outcome = JSON.parse(event.detail); });
const send = (content) => {
    const detail = JSON.stringify({event: "velmart_ready", content});
    document.dispatchEvent(new CustomEvent("velmart:request", {detail}));
    return outcome.reason;
};
document.addEventListener("velmart:connect", () => {
    const refused = new Map(keys.map((key) => [key, 0]));
    for (const key of keys)
        for (const address of addresses) {
            const others = Object.fromEntries(keys.map((name) => [name, `${own}/t`]));
            if (send({...others, [key]: address}) === `${key} is no address of the page's origin`)
                refused.set(key, refused.get(key) + 1);
        }
    const methods = [1, null, ["save as"], {}].map((preferredSaveMethod) => send({preferredSaveMethod}));
    const counts = [...refused].map(([key, count]) => `${key} ${count}`);
    document.querySelector("p").textContent = [addresses.length, ...counts, ...methods].join();
    send({preferredSaveMethod: "new from", zalpartTemplate: `${own}/t?name=@elsewhere.example`, other: 7});
});
</script>)");
    server_.Start();
    Load(server_.Url("/tries"));
    Connect();
    ASSERT_TRUE(UntilSent(1));
    EXPECT_EQ(json({{"event", "velmart_ready"},
                    {"content",
                     {{"preferredSaveMethod", "new from"},
                      {"zalpartTemplate", server_.Url("/t?name=@elsewhere.example")},
                      {"other", 7}}}}),
              Sent()[0]);
    EXPECT_EQ("23,searchByUploadUrl 23,zalpartTemplate 23,zalproductTemplate 23,preferredSaveMethod must be text,"
              "preferredSaveMethod must be text,preferredSaveMethod must be text,preferredSaveMethod must be text",
              TextOf("p"));
    EXPECT_EQ(1U, Sent().size());
}

TEST_F(CataloguePage, APageWithoutTheHandlersHasNoWayToTheSession)
{
    server_.AddPage("/foreign", R"(<!DOCTYPE html><p id=foreign>foreign</p><script>
for (const event of ["velmart_ready", "velmart_insert"])
    for (const target of [document, window])
        target.dispatchEvent(new CustomEvent("velmart:request", {detail: JSON.stringify({event, content: {}})}));
</script>)");
    server_.Start();
    Load(server_.Url("/foreign"));
    EXPECT_EQ("here", Ask("'here'"));
    EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(CataloguePage, AFrameInThePageDoesNotSpeakForIt)
{
    server_.AddPage("/inner", R"(<!DOCTYPE html><script>
document.dispatchEvent(new CustomEvent("velmart:request", {detail: '{"event":"velmart_over","content":{}}'}));
parent.postMessage('{"event":"velmart_over","content":{}}', "*");
parent.document.documentElement.dataset.tried = "";
</script>)");
    server_.AddPage("/outer", R"(<!DOCTYPE html><p>outer</p><script>
document.addEventListener("velmart:connect", () => {
    const frame = document.createElement("iframe");
    frame.src = "/inner";
    document.body.append(frame);
});
</script>)");
    server_.Start();
    Load(server_.Url("/outer"));
    Connect();
    ASSERT_TRUE(UntilShown("[data-tried]"));
    EXPECT_EQ("here", Ask("'here'"));
    EXPECT_THAT(Sent(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Shapes

TEST_F(CataloguePage, TheSessionAsksForAShapeAndTheResultsAreShownInTheirOrder)
{
    AnswerSearch(R"({"items": [{"id": "nut-m8", "title": "Nut M8", "score": 1},
            {"id": "nut-m6", "title": "Nut M6", "score": 0.8799}, {"id": 7, "score": 1}, {"id": "x", "score": "1"}]})");
    ASSERT_TRUE(OpenList());
    Connect();
    ASSERT_TRUE(page_->ExecuteScript("OpApi.sendMessage('search', {query: 'a+b/c=&%41 \u00e4'});"));
    ASSERT_TRUE(UntilShown("ol.items li:nth-child(2)"));
    EXPECT_EQ("a+b/c=&%41 \u00e4", searched_.get_future().get());
    EXPECT_EQ("Similar shapes", TextOf("h2"));
    EXPECT_EQ("2 items, closest first", TextOf(".count"));
    EXPECT_EQ("Nut M8", TextOf("ol.items li:first-child .title"));
    EXPECT_EQ("87 %\nalike", TextOf("ol.items li:last-child .score"));
    User().Click("ol.items li:last-child a");
    ASSERT_TRUE(UntilShown("table"));
    EXPECT_EQ("‹ Similar shapes", TextOf(".back"));
}

TEST_F(CataloguePage, TheAddressMayAskForAShape)
{
    AnswerSearch(R"([{"id": "nut-m8", "score": 1}])");
    ASSERT_TRUE(OpenItems("/categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true&extq=a%2Bb%20%26c+d",
                          "ol.items li:only-child"));
    EXPECT_EQ("a+b &c+d", searched_.get_future().get());
}

TEST_F(CataloguePage, AByteOfTheAddressThatIsNoUtf8IsACharacter)
{
    AnswerSearch("[]");
    ASSERT_TRUE(OpenItems("/categories?connect&extq=%E4", ".count"));
    EXPECT_EQ("\u00e4", searched_.get_future().get());
    EXPECT_EQ("The catalogue has no similar shape.", TextOf(".count"));
}

TEST_F(CataloguePage, ASearchThatFailsIsSaid)
{
    ASSERT_TRUE(OpenItems("/categories?connect&extq=x", "[role=alert]"));
    EXPECT_EQ("The catalogue does not have this.", TextOf("[role=alert]"));
}

TEST_F(CataloguePage, OtherMessagesToThePageChangeNothing)
{
    ASSERT_TRUE(OpenList());
    Connect();
    ASSERT_TRUE(page_->ExecuteScript("OpApi.sendMessage('close', {query: 'x'}); OpApi.sendMessage('search', {});"));
    EXPECT_EQ("All items", TextOf("h2"));
    EXPECT_FALSE(User().Shows("[role=alert], ol"));
}

// ---------------------------------------------------------------------------------------------
// The form

TEST_F(CataloguePage, LandmarksLabelsAndLiveRegionsAreThere)
{
    ASSERT_TRUE(OpenBolt());
    for (const char* selector : {"html[lang=en]", "header h1", "form[role=search] label[for=query]", "nav[aria-label]",
                                 "main", "#connection[role=status]", "#status[role=status]", "table caption",
                                 "th[scope=row]", ".actions[role=group][aria-label]", "#announcer[role=status]"})
        EXPECT_EQ("true", Ask("document.querySelector(" + json(selector).dump() + ") !== null")) << selector;
}

TEST_F(CataloguePage, ANarrowPanelIsWideEnough)
{
    for (QWidget* window : QApplication::topLevelWidgets())
        window->resize(320, 600);
    ASSERT_TRUE(OpenBolt());
    EXPECT_EQ("320 true", Ask("innerWidth + ' ' + (document.documentElement.scrollWidth <= innerWidth)"));
}

TEST_F(CataloguePage, ThePolicyOfTheServiceLetsItWork)
{
    catalogue::CatalogueService service(BuildDir() + "/items");
    service.Start();
    Load(service.GetAddress() + "/categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true&addinmode=zalorq7");
    ASSERT_TRUE(UntilShown(".items li:nth-child(21)"));
    Connect();
    ASSERT_TRUE(UntilSent(1));
    User().Click(".items li:nth-child(2) a");
    ASSERT_TRUE(UntilShown("#insert:enabled"));
    User().Click("#insert");
    ASSERT_TRUE(UntilSent(2));
    EXPECT_EQ("velmart_insert", Sent()[1]["event"]);
    EXPECT_EQ(service.GetAddress() + "/files/hexagon-bolt-m8x40.zip", Sent()[1]["content"]["downloadUrl"]);
}

} // namespace

} // namespace openhost::testing
