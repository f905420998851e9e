// The catalogue's page and the script that connects it, in the real browser.
#include "catalogue/service/CatalogueService.h"
#include "catalogue/service/ItemSearch.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/openhost/desktop/BrowserFixture.h"
#include "tests/openhost/desktop/PageServer.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <QApplication>
#include <QWidget>

#include <atomic>
#include <cmath>
#include <functional>
#include <future>
#include <limits>
#include <regex>
#include <set>

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

    /// Answers as the service does of which the entries are `entries`.
    void AnswerItemsOf(const std::string& entries)
    {
        const std::filesystem::path file = folder_.Path() / catalogue::StoreName;
        std::filesystem::remove(file);
        catalogue::ItemStoreWriter writer(file);
        for (const auto& entry : nlohmann::ordered_json::parse(entries))
            writer.Put(entry);
        store_ = std::make_unique<catalogue::ItemStore>(file);
        server_.Routes().Get("/items", [this](const httplib::Request& request, httplib::Response& response) {
            const catalogue::ItemPage page = store_->Find(catalogue::ReadItemQuery(request.params));
            response.set_content(catalogue::ToJson(page).dump(), "application/json");
        });
        server_.Routes().Get("/items/([^/]+)/entry",
                             [this](const httplib::Request& request, httplib::Response& response) {
                                 const auto entry = store_->Entry(request.matches[1]);
                                 response.status = entry ? 200 : 404;
                                 response.set_content(entry ? entry->dump() : "{}", "application/json");
                             });
    }

    /// Three items, of which one can be handed to the session.
    void AnswerItems()
    {
        AnswerItemsOf(Index);
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
        ASSERT_TRUE(page_->ExecuteHandlers(HandlersScript(context)));
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

    /// Presses `button` and tells the page that the host has begun.
    bool BeginRequest(const std::string& button)
    {
        const std::size_t before = Sent().size();
        User().Click("#" + button);
        if (!UntilSent(before + 1))
            return false;
        Tell(button, R"("state":"started")");
        return UntilShown("#status[data-state=working]");
    }

    /// Tells the page of its last request, as the host does.
    void Tell(const std::string& button, const std::string& state, const std::string& id = "bolt-m8")
    {
        page_->DispatchEvent(reports_.documents.back(), "velmart:progress",
                             R"({"event":"velmart_)" + button + R"(","id":")" + id + "\"," + state + "}");
    }

    /// The text that a reader sees in the first element that `selector` finds.
    std::string TextOf(const std::string& selector)
    {
        const std::string number = std::to_string(++asked_);
        page_->ExecuteHandlers("hostPanel.sendMessage('" + number + ":' + (document.querySelector(" +
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

    std::string OptionsOf(const std::string& box)
    {
        return Ask("[...document.querySelectorAll('#" + box +
                   " option')].map((option) => option.textContent).join('|')");
    }
    void Choose(const std::string& box, const std::string& value)
    {
        page_->ExecuteScript("{const box = document.getElementById('" + box + "'); box.value = '" + value +
                             "'; box.dispatchEvent(new Event('change'));}");
    }

    TemporaryFolder folder_;
    std::unique_ptr<catalogue::ItemStore> store_;
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
    ASSERT_TRUE(Until([&] { return TextOf(".count") == "Nothing matches “<b>none</b>”."; }));
    User().Enter("#query", "");
    EXPECT_TRUE(UntilShown(".items li:nth-child(3)"));
}

TEST_F(CataloguePage, AMistypedWordIsTakenForWhatItWasMeantToBe)
{
    ASSERT_TRUE(OpenList());
    User().Enter("#query", "blot");
    ASSERT_TRUE(UntilShown(".items li:only-child"));
    EXPECT_EQ("Nothing matches “blot”. These match “bolt”.", TextOf(".count"));
    EXPECT_EQ("Bolt M8x40", TextOf(".items .title"));
}

TEST_F(CataloguePage, MaterialAndSizeNarrowTheList)
{
    AnswerItemsOf(R"([
{"id": "a", "title": "Pin", "material": "Steel", "boundingBox": {"lowest": [0, 0, 0], "highest": [5, 1, 1]}},
{"id": "b", "title": "Rod", "material": "Steel", "boundingBox": {"lowest": [0, 0, 0], "highest": [50, 1, 1]}},
{"id": "c", "title": "Bush", "material": "<b>Brass</b>", "boundingBox": {"lowest": [0, 0, 0], "highest": [8, 1, 1]}}])");
    OpenPage();
    ASSERT_TRUE(UntilShown(".items li:nth-child(3)"));
    EXPECT_EQ("Any material|Steel (2)|<b>Brass</b> (1)", OptionsOf("material"));
    EXPECT_EQ("Any size|up to 10 mm (2)|30 to 100 mm (1)", OptionsOf("size"));
    Choose("material", "Steel");
    ASSERT_TRUE(UntilShown(".items li:nth-child(2):last-child"));
    EXPECT_EQ("material", Ask("document.activeElement.id"));
    EXPECT_EQ("Any size|up to 10 mm (1)|30 to 100 mm (1)", OptionsOf("size"));
    Choose("size", "30");
    ASSERT_TRUE(UntilShown(".items li:only-child"));
    EXPECT_EQ("Rod", TextOf(".items .title"));
    Choose("material", "");
    Choose("size", "");
    EXPECT_TRUE(UntilShown(".items li:nth-child(3)"));
}

TEST_F(CataloguePage, ALongListIsShownInPagesAndKeptOnTheWayBack)
{
    std::string entries;
    for (int number = 0; number < 130; ++number)
        entries += (number > 0 ? "," : "[") + std::string(R"({"id": "i)") + std::to_string(number) +
                   R"(", "title": "Item )" + std::to_string(number) + R"("})";
    AnswerItemsOf(entries + "]");
    OpenPage();
    ASSERT_TRUE(UntilShown(".items li:nth-child(60):last-child"));
    EXPECT_EQ("130 items", TextOf(".count"));
    EXPECT_EQ("Show 60 more", TextOf("#more"));
    User().Click("#more");
    ASSERT_TRUE(UntilShown(".items li:nth-child(120):last-child"));
    EXPECT_EQ("#/items/i60", Ask("document.activeElement.getAttribute('href')"));
    EXPECT_EQ("Show 10 more", TextOf("#more"));
    User().Click("#more");
    ASSERT_TRUE(UntilShown(".items li:nth-child(130):last-child"));
    EXPECT_FALSE(User().Shows("#more"));
    User().Click(".items li:nth-child(125) a");
    ASSERT_TRUE(UntilShown("figure"));
    EXPECT_EQ("Item 124", TextOf("h2"));
    User().Click(".back");
    ASSERT_TRUE(UntilShown(".items li:nth-child(130):last-child"));
    EXPECT_EQ("#/items/i124", Ask("document.activeElement.getAttribute('href')"));
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
    AnswerItemsOf(R"json([{"id": "<img src=x onerror=alert(1)>", "title": "<script>document.title='bad'</script>",
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
    EXPECT_EQ("<script>document.title='bad'</script> – Velmart catalogue", Ask("document.title"));
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
    EXPECT_EQ("Diameter d\t8\nLength l\t40.25\nOverall size\t15 × 13 × 45\nVolume\t2.77 cm³", TextOf("tbody"));
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
    EXPECT_EQ("Connected", TextOf("#connection"));
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
        ASSERT_TRUE(UntilShown("#status[data-state=sent]"));
    }
    EXPECT_THAT(TextOf("#status"), HasSubstr("downloads Bolt M8x40"));
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
    ASSERT_TRUE(UntilShown("#status[data-state=sent]"));
    EXPECT_EQ("insert", Ask("document.activeElement.id"));
}

TEST_F(CataloguePage, WhileTheServiceIsSlowTheButtonsAreOff)
{
    Gate gate;
    const auto asked = std::make_shared<std::atomic<int>>(0);
    AnswerItemsOf(Index);
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
    EXPECT_EQ("Bolt M8x40: the description is fetched…", TextOf("#status"));
    EXPECT_EQ("4", Ask("document.querySelectorAll('.actions button:disabled').length"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready"));
    gate.Open();
    ASSERT_TRUE(UntilShown("#status[data-state=sent]"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready", "velmart_download"));
    EXPECT_EQ(1, *asked);
}

TEST_F(CataloguePage, NonsenseFromTheServiceFailsTheActionAndReachesNobody)
{
    AnswerItemsOf(Index);
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
    ASSERT_TRUE(UntilShown("#status[data-state=sent]"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready", "velmart_insert"));
}

TEST_F(CataloguePage, AServiceThatGoesDownIsSaid)
{
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    server_.Stop();
    User().Click("#insert");
    ASSERT_TRUE(UntilShown("#status[data-state=failed]"));
    EXPECT_EQ("Bolt M8x40 was not inserted. The catalogue does not answer.", TextOf("#status"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready"));
}

TEST_F(CataloguePage, AListThatCannotBeReadIsSaidAndCanBeAskedForAgain)
{
    std::atomic<int> asked = 0;
    server_.Routes().Get("/items", [&](const httplib::Request&, httplib::Response& response) {
        constexpr const char* Answers[] = {"<html>", R"({"total": 1, "items": 1})",
                                           R"({"total": 3, "items": [1, null, {"id": 7}]})"};
        const int number = asked++;
        const char* good = R"({"total": 1, "items": [{"id": "a", "title": "A"}]})";
        response.set_content(number < 3 ? Answers[number] : good, "application/json");
    });
    OpenPage();
    for (int number = 0; number < 3; ++number) {
        ASSERT_TRUE(UntilShown(".trouble"));
        EXPECT_EQ("The catalogue gives an answer that cannot be read.", TextOf("[role=alert]"));
        User().Click("#again");
        ASSERT_TRUE(Until([&] { return asked > number + 1; }));
    }
    EXPECT_TRUE(UntilShown(".items li:only-child"));
}

TEST_F(CataloguePage, EntriesThatAreNoItemsAreLeftOut)
{
    Answer("/items", R"({"total": 5, "materials": [1, {"name": 7}, {"name": "S", "count": -1}], "sizes": {"from": 1},
        "meant": [7], "categories": "x", "items": [null, 1, {"id": "", "title": "x"}, {"id": "a"},
        {"id": "ok", "title": "Good", "dimensions": {"d": "8", "l": null, "k": 2},
         "boundingBox": {"lowest": [0], "highest": "x"}, "volume": "9"}]})");
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
    ASSERT_TRUE(UntilShown("#status[data-state=sent]"));
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
// What becomes of a request

TEST_F(CataloguePage, WhileARequestRunsTheButtonsAreOffAndItsProgressIsShown)
{
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    ASSERT_TRUE(BeginRequest("download"));
    EXPECT_EQ("4", Ask("document.querySelectorAll('.actions button:disabled').length"));
    Tell("download", R"("state":"running","share":null)");
    ASSERT_TRUE(UntilShown("#share:indeterminate"));
    Tell("download", R"("state":"running","share":0.25)");
    ASSERT_TRUE(UntilShown("#share:not(:indeterminate)"));
    EXPECT_EQ("0.25", Ask("document.querySelector('#share').value"));
    EXPECT_EQ("Bolt M8x40 is downloaded…", TextOf("#status"));
    EXPECT_FALSE(User().Shows("#close"));
    // Another item is shown meanwhile.
    User().Click(".back");
    ASSERT_TRUE(UntilShown(".items"));
    User().Click(".items li:nth-child(2) a");
    ASSERT_TRUE(UntilShown("table"));
    EXPECT_EQ("4", Ask("document.querySelectorAll('.actions button:disabled').length"));
    EXPECT_TRUE(User().Shows("#share"));

    Tell("download", R"("state":"done","files":["a.ZALPart","b.ZALPart"],"count":5,"folder":"~/parts")");
    ASSERT_TRUE(UntilShown("#status[data-state=done]"));
    EXPECT_EQ("Bolt M8x40 is downloaded.", TextOf("#status"));
    EXPECT_EQ("Folder: ~/parts", TextOf("#folder"));
    EXPECT_EQ("Files: a.ZALPart, b.ZALPart, and 3 more", TextOf("#files"));
    EXPECT_TRUE(User().Shows("#insert:enabled"));
    EXPECT_FALSE(User().Shows("#share"));
    User().Click("#close");
    EXPECT_FALSE(User().Shows("#work"));
}

TEST_F(CataloguePage, TheNextStepIsNamed)
{
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    struct Row {
        const char* button;
        const char* prompt;
        const char* text;
    };
    for (const Row& row : {Row{"insert", "p", "Pick the product in the application that Bolt M8x40 goes into."},
                           Row{"replace", "p", "Pick the component in the product that Bolt M8x40 replaces."},
                           Row{"open", "", "Choose the folder for Bolt M8x40 in the window of the application."},
                           Row{"insert", "", "Choose the folder for Bolt M8x40 in the window of the application."}}) {
        ASSERT_TRUE(BeginRequest(row.button)) << row.text;
        Tell(row.button, R"("state":"waiting","prompt":")" + std::string(row.prompt) + "\"");
        ASSERT_TRUE(UntilShown("#status[data-state=waiting]")) << row.text;
        EXPECT_EQ(row.text, TextOf("#status"));
        Tell(row.button, R"("state":"done","files":[],"count":0)");
        ASSERT_TRUE(UntilShown("#status[data-state=done]")) << row.text;
        EXPECT_FALSE(User().Shows("#folder, #files")) << row.text;
    }
    EXPECT_EQ("Bolt M8x40 is inserted. Save the product to keep it.", TextOf("#status"));
}

TEST_F(CataloguePage, AFailureHasItsReasonAndCanBeTriedAgain)
{
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    ASSERT_TRUE(BeginRequest("open"));
    Tell("open", R"("state":"failed","reason":"<b>It has failed.</b>","cause":"HTTP 404")");
    ASSERT_TRUE(UntilShown("#status[data-state=failed]"));
    EXPECT_EQ("Bolt M8x40 was not opened. <b>It has failed.</b> (HTTP 404)", TextOf("#status"));
    const std::size_t before = Sent().size();
    User().Click("#retry");
    ASSERT_TRUE(UntilSent(before + 1));
    EXPECT_EQ("velmart_open", SentEvents().back());
    EXPECT_FALSE(User().Shows("#retry"));
    Tell("open", R"("state":"failed","reason":"")");
    ASSERT_TRUE(UntilShown("#retry"));
    EXPECT_EQ("Bolt M8x40 was not opened. The application does not say why.", TextOf("#status"));
}

TEST_F(CataloguePage, ACancelledRequestGivesTheFocusBackToItsButton)
{
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    ASSERT_TRUE(BeginRequest("replace"));
    EXPECT_EQ("work", Ask("document.activeElement.id"));
    Tell("replace", R"("state":"cancelled")");
    ASSERT_TRUE(UntilShown("#status[data-state=cancelled]"));
    EXPECT_EQ("Cancelled: Bolt M8x40.", TextOf("#status"));
    EXPECT_EQ("replace", Ask("document.activeElement.id"));
    EXPECT_TRUE(User().Shows("#retry"));
}

TEST_F(CataloguePage, WhatIsToldOfOtherRequestsChangesNothing)
{
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    Tell("open", R"("state":"done","files":[],"count":0)");
    EXPECT_EQ("here", Ask("'here'"));
    EXPECT_FALSE(User().Shows("#work"));
    ASSERT_TRUE(BeginRequest("open"));
    Tell("insert", R"("state":"cancelled")");
    Tell("open", R"("state":"cancelled")", "nut-m8");
    Tell("open", R"("state":"nonsense")");
    for (const char* detail : {"", "null", "[]", "7", R"({"state":"cancelled"})"})
        page_->DispatchEvent(reports_.documents.back(), "velmart:progress", detail);
    EXPECT_EQ("here", Ask("'here'"));
    EXPECT_EQ("Bolt M8x40: handed to the application…", TextOf("#status"));
    Tell("open", R"("state":"done","files":{"0":"x"},"count":"many","folder":["x"],"note":7)");
    ASSERT_TRUE(UntilShown("#status[data-state=done]"));
    EXPECT_FALSE(User().Shows("#folder, #files"));
    EXPECT_EQ("Bolt M8x40 is open.", TextOf("#status"));
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

TEST_F(CataloguePage, AQueryThatClosesItsStringReachesTheSearchAndNotTheHost)
{
    AnswerSearch(R"([{"id": "nut-m8", "score": 1}])");
    ASSERT_TRUE(OpenBolt() && ConnectBolt());
    const std::string query =
        "x'}); document.documentElement.dataset.out = ''; "
        "JSON.stringify = () => '{\"event\":\"velmart_download\",\"content\":{\"id\":\"forged\"}}'; "
        "JSON.parse = () => ({}); Map.prototype.has = () => true; Map.prototype.get = () => () => ''; "
        "hostPanel.sendMessage('{\"event\":\"velmart_download\",\"content\":{\"id\":\"forged\"}}'); //";
    ASSERT_TRUE(page_->ExecuteScript("OpApi.sendMessage('search', {query: '" + query + "'});"));
    ASSERT_TRUE(UntilShown("[data-out] ol.items"));
    EXPECT_EQ("x", searched_.get_future().get());

    // What the page asks for afterwards is judged and sent as ever.
    EXPECT_EQ("false no message", Ask(R"((() => {
        let outcome = "";
        document.addEventListener("velmart:outcome", (event) => { outcome = event.detail; }, {once: true});
        document.dispatchEvent(new CustomEvent("velmart:request", {detail: "{}"}));
        return `${JSON.parse(outcome).accepted} ${JSON.parse(outcome).reason}`;
    })())"));
    EXPECT_THAT(SentEvents(), ElementsAre("velmart_ready"));
}

TEST_F(CataloguePage, OtherMessagesToThePageChangeNothing)
{
    ASSERT_TRUE(OpenList());
    Connect();
    ASSERT_TRUE(page_->ExecuteScript("OpApi.sendMessage('close', {query: 'x'}); OpApi.sendMessage('search', {});"));
    EXPECT_EQ("All items", TextOf("h2"));
    EXPECT_FALSE(User().Shows("[role=alert], ol"));
}

TEST_F(CataloguePage, ResultsThatAreHardlyAlikeAreKeptApart)
{
    AnswerSearch(R"([{"id": "nut-m8", "title": "Nut M8", "score": 0.6}, {"id": "nut-m6", "score": 0.5999},
                     {"id": "bolt-m8", "score": 0}])");
    ASSERT_TRUE(OpenItems("/categories?extq=x", "ol.items"));
    EXPECT_EQ("1 item, closest first", TextOf(".count"));
    EXPECT_EQ("2 other items are less alike", TextOf("summary"));
    EXPECT_FALSE(User().Shows("#others[open]"));
    User().Click("summary");
    ASSERT_TRUE(UntilShown("#others[open] li:nth-child(2)"));
    EXPECT_EQ("Rank 3", TextOf("#others li:nth-child(2) .detail"));
}

TEST_F(CataloguePage, AnItemHasItsPartsAndWhatIsSimilarToIt)
{
    AnswerSearch(R"([{"id": "joint", "score": 1}, {"id": "nut-m8", "title": "Nut M8", "score": 0.9},
                     {"id": "bolt-m8", "score": 0.3}])");
    AnswerItemsOf(R"([{"id": "joint", "title": "Joint", "category": "Assemblies", "shape": "q&=",
        "parts": [{"id": "nut-m8", "name": "Nut", "count": 2}, {"name": "<b>Pin</b>", "count": 12},
                  {"id": "gone", "name": "Gone", "count": 1}, {"name": "x", "count": 0}, {"count": 1}, 7]},
        {"id": "nut-m8", "title": "Nut M8", "category": "Nuts"}])");
    OpenPage("/categories#/items/joint");
    ASSERT_TRUE(UntilShown(".similar li"));
    EXPECT_EQ("q&=", searched_.get_future().get());
    EXPECT_EQ("Parts\n2 ×\nNut\n12 ×\n<b>Pin</b>\n1 ×\nGone", TextOf(".parts"));
    EXPECT_EQ("1", Ask("document.querySelectorAll('.similar li').length"));
    EXPECT_EQ("90 %\nalike", TextOf(".similar .score"));
    User().Click(".parts a");
    ASSERT_TRUE(Until([&] { return TextOf("h2") == "Nut M8"; }));
    EXPECT_FALSE(User().Shows(".parts, .similar"));
}

// ---------------------------------------------------------------------------------------------
// The view of a shape

/// One triangle, before `change`.
std::string ShapeBytes(const std::function<void(std::string&)>& change = [](std::string&) {})
{
    std::string bytes = "ZLVR";
    const auto add = [&bytes](auto... values) {
        const auto one = [&bytes](auto value) { bytes.append(reinterpret_cast<const char*>(&value), sizeof(value)); };
        (one(values), ...);
    };
    add(1U, 1U, 3U, 1U);
    add(0.0F, 0.0F, 0.0F, 10.0F, 10.0F, 0.0F);
    add(0.0F, 0.0F, 0.0F, 10.0F, 0.0F, 0.0F, 0.0F, 10.0F, 0.0F);
    add(0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 1.0F);
    add(0U, 1U, 2U);
    change(bytes);
    return bytes;
}

void Put(std::string& bytes, std::size_t place, auto value)
{
    bytes.replace(place, sizeof(value), reinterpret_cast<const char*>(&value), sizeof(value));
}

TEST_F(CataloguePage, TheShapeOfAnItemIsTurnedAndZoomedWithKeys)
{
    server_.Routes().Get("/items/bolt-m8/shape", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(ShapeBytes(), "application/octet-stream");
    });
    ASSERT_TRUE(OpenItems("/categories#/items/bolt-m8", "#view[data-view='-35,25,1.00']"));
    EXPECT_FALSE(User().Shows("figure img"));
    EXPECT_EQ("3D view of Bolt M8x40", Ask("document.querySelector('#view').getAttribute('aria-label')"));
    User().Click("#view");
    User().Press("Left");
    ASSERT_TRUE(UntilShown("#view[data-view='-25,25,1.00']"));
    User().Press("Up");
    ASSERT_TRUE(UntilShown("#view[data-view='-25,15,1.00']"));
    User().Press("+");
    EXPECT_TRUE(UntilShown("#view[data-view='-25,15,1.20']"));
    for (int i = 0; i < 12; ++i)
        User().Press("Down");
    EXPECT_TRUE(UntilShown("#view[data-view='-25,90,1.20']"));
}

TEST_F(CataloguePage, TheShapeOfAnItemFollowsThePointerAndTheWheel)
{
    server_.Routes().Get("/items/bolt-m8/shape", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(ShapeBytes(), "application/octet-stream");
    });
    ASSERT_TRUE(OpenItems("/categories#/items/bolt-m8", "#view[data-view='-35,25,1.00']"));
    ASSERT_TRUE(page_->ExecuteScript(R"(
        const view = document.querySelector("#view");
        view.dispatchEvent(new PointerEvent("pointermove", {buttons: 0, movementX: 100, movementY: 100}));
        view.dispatchEvent(new PointerEvent("pointermove", {buttons: 1, movementX: 20, movementY: 10}));
        view.dispatchEvent(new WheelEvent("wheel", {deltaY: -200, cancelable: true}));
    )"));
    EXPECT_TRUE(UntilShown("#view[data-view='-45,30,1.65']"));
    EXPECT_EQ("true false", Ask(R"((() => {
        const view = document.querySelector("#view");
        const wheel = () => !view.dispatchEvent(new WheelEvent("wheel", {deltaY: -9999, cancelable: true}));
        const first = wheel();
        for (let i = 0; i < 20; ++i)
            wheel();
        return `${first} ${wheel()}`;
    })())"));
}

TEST_F(CataloguePage, WhatIsNoShapeIsRefusedAsAWhole)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<std::pair<const char*, std::string>> rows = {
        {"empty", ""},
        {"mark", ShapeBytes([](std::string& bytes) { bytes[3] = 'r'; })},
        {"version", ShapeBytes([](std::string& bytes) { Put(bytes, 4, 3U); })},
        {"unit", ShapeBytes([](std::string& bytes) { Put(bytes, 8, 2U); })},
        {"no vertices", ShapeBytes([](std::string& bytes) { Put(bytes, 12, 0U); })},
        {"vertices", ShapeBytes([](std::string& bytes) { Put(bytes, 12, 0xFFFFFFFFU); })},
        {"triangles", ShapeBytes([](std::string& bytes) { Put(bytes, 16, 0x7FFFFFFFU); })},
        {"too short", ShapeBytes([](std::string& bytes) { bytes.pop_back(); })},
        {"too long", ShapeBytes([](std::string& bytes) { bytes += '\0'; })},
        {"box", ShapeBytes([](std::string& bytes) { Put(bytes, 32, 11.0F); })},
        {"box that is none", ShapeBytes([nan](std::string& bytes) { Put(bytes, 20, nan); })},
        {"position", ShapeBytes([nan](std::string& bytes) { Put(bytes, 44, nan); })},
        {"far position", ShapeBytes([](std::string& bytes) {
             Put(bytes, 32, 2e9F);
             Put(bytes, 56, 2e9F);
         })},
        {"normal", ShapeBytes([](std::string& bytes) { Put(bytes, 80, 0.5F); })},
        {"corner", ShapeBytes([](std::string& bytes) { Put(bytes, bytes.size() - 4, 3U); })},
    };
    server_.Routes().Get("/items/bolt-m8/shape", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(ShapeBytes(), "application/octet-stream");
    });
    for (std::size_t row = 0; row < rows.size(); ++row)
        server_.Routes().Get("/shapes/" + std::to_string(row),
                             [bytes = rows[row].second](const httplib::Request&, httplib::Response& response) {
                                 response.set_content(bytes, "application/octet-stream");
                             });
    server_.AddPage("/reads", R"(<!DOCTYPE html><p>reads</p><script type=module>
import {parseShape} from "/page/lvr.js";
const read = async (path) => parseShape(await (await fetch(path)).arrayBuffer()) !== null;
const seen = [await read("/items/bolt-m8/shape")];
for (let row = 0; row < 15; ++row)
    seen.push(await read(`/shapes/${row}`));
document.querySelector("p").textContent = seen.map((good, row) => good ? row : "").join();
document.body.dataset.done = "";
</script>)");
    ASSERT_EQ(15U, rows.size());
    server_.Start();
    Load(server_.Url("/reads"));
    ASSERT_TRUE(UntilShown("[data-done]"));
    EXPECT_EQ("0,,,,,,,,,,,,,,,", TextOf("p")) << "the first is a shape, and none of the others";
}

TEST_F(CataloguePage, AnItemWithoutAShapeKeepsItsPicture)
{
    server_.Routes().Get("/items/bolt-m8/shape", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("ZLVR", "application/octet-stream");
    });
    ASSERT_TRUE(OpenBolt());
    EXPECT_EQ("asked", Ask("'asked'"));
    EXPECT_TRUE(User().Shows("figure img"));
    EXPECT_FALSE(User().Shows("#view"));
}

// ---------------------------------------------------------------------------------------------
// The way back

TEST_F(CataloguePage, TheWayBackLeadsToThePlaceInTheList)
{
    for (QWidget* window : QApplication::topLevelWidgets())
        window->resize(420, 240);
    ASSERT_TRUE(OpenList());
    User().Click(".items li:nth-child(3) a");
    ASSERT_TRUE(UntilShown("table"));
    EXPECT_EQ("0", Ask("scrollY"));
    User().Click(".back");
    ASSERT_TRUE(UntilShown(".items li:nth-child(3)"));
    EXPECT_EQ("#/items/nut-m6", Ask("document.activeElement.getAttribute('href')"));
    const std::string place = Ask("Math.round(scrollY)");
    EXPECT_NE("0", place);
    User().Press("Return");
    ASSERT_TRUE(UntilShown("table"));
    ASSERT_TRUE(page_->ExecuteScript("history.back();"));
    ASSERT_TRUE(UntilShown(".items li:nth-child(3)"));
    EXPECT_EQ(place, Ask("Math.round(scrollY)"));
    // A list that was chosen anew begins at its head.
    User().Click("#categories li:nth-child(2) a");
    ASSERT_TRUE(UntilShown("#categories li:nth-child(2) [aria-current=page]"));
    EXPECT_EQ("0 H2", Ask("scrollY + ' ' + document.activeElement.tagName"));
}

// ---------------------------------------------------------------------------------------------
// Languages

TEST_F(CataloguePage, ThePageSpeaksGermanWhenAskedTo)
{
    AnswerItemsOf(R"([{"id": "w", "title": "Washer ISO 7089 M6", "category": "Washers", "description":
        "Plain, without chamfer", "dimensions": {"d1": 6.4, "d2": 12}, "volume": 1234.5}])");
    OpenPage("/categories?connect&lang=de-AT#/items/w");
    ASSERT_TRUE(UntilShown("table"));
    EXPECT_EQ("de", Ask("document.documentElement.lang"));
    EXPECT_EQ("Scheibe ISO 7089 M6", TextOf("h2"));
    EXPECT_EQ("Flach, ohne Fase", TextOf(".description"));
    EXPECT_EQ("Innendurchmesser d1\t6,4\nAußendurchmesser d2\t12\nVolumen\t1,23 cm³", TextOf("tbody"));
    EXPECT_EQ("Alle\nScheiben", TextOf("#categories"));
    EXPECT_EQ("Nicht verbunden", TextOf("#connection"));
    EXPECT_EQ("Kategorien Nach Namen oder Größe suchen",
              Ask("document.querySelector('nav').getAttribute('aria-label') + ' ' + "
                  "document.querySelector('#query').placeholder"));
    User().Enter("#query", "scheibe");
    ASSERT_TRUE(UntilShown(".items li:only-child"));
    EXPECT_EQ("1 Artikel", TextOf(".count"));
}

TEST_F(CataloguePage, ALanguageThatIsNotThereIsEnglish)
{
    ASSERT_TRUE(OpenItems("/categories?lang=toString", ".items"));
    EXPECT_EQ("en All items", Ask("document.documentElement.lang + ' ' + document.querySelector('h2').textContent"));
}

TEST_F(CataloguePage, EachLanguageHasTheSameTexts)
{
    const auto keys = [](const std::string& name) {
        const std::string text = ReadSource("catalogue/page/" + name);
        const std::regex pattern("\n( {4}| {8}\"?)(\\w[\\w ]*)\"?: ");
        std::set<std::string> found;
        for (std::sregex_iterator key(text.begin(), text.end(), pattern), end; key != end; ++key)
            if ((*key)[1].length() == 4)
                found.insert((*key)[2]);
        return found;
    };
    EXPECT_EQ(keys("texts-en.js"), keys("texts-de.js"));
    EXPECT_LT(50U, keys("texts-en.js").size());
}

// ---------------------------------------------------------------------------------------------
// The form

TEST_F(CataloguePage, LandmarksLabelsAndLiveRegionsAreThere)
{
    ASSERT_TRUE(OpenBolt());
    for (const char* selector :
         {"html[lang=en]", "header h1", "#share[aria-label]", "#work[aria-label]", "form[role=search] label[for=query]",
          "nav[aria-label]", "main", "#connection[role=status]", "#status[role=status]", "table caption",
          "th[scope=row]", ".actions[role=group][aria-label]", "#announcer[role=status]"})
        EXPECT_EQ("true", Ask("document.querySelector(" + json(selector).dump() + ") !== null")) << selector;
}

TEST_F(CataloguePage, ANarrowPanelIsWideEnough)
{
    for (QWidget* window : QApplication::topLevelWidgets())
        window->resize(320, 600);
    const auto widths = [this] {
        return Ask("innerWidth + ' ' + (document.documentElement.scrollWidth <= innerWidth)");
    };
    ASSERT_TRUE(OpenItems("/categories?lang=de#/items/bolt-m8", "table"));
    EXPECT_EQ("320 true", widths());
    ASSERT_TRUE(ConnectBolt());
    ASSERT_TRUE(BeginRequest("insert"));
    Tell("insert", R"("state":"failed","reason":"reasonreasonreasonreasonreasonreasonreasonreasonreason")");
    ASSERT_TRUE(UntilShown("#retry"));
    EXPECT_EQ("320 true", widths());
}

/// The colours of the style sheet by their names: light ones at first, dark ones after them.
std::vector<std::map<std::string, std::string>> ReadColors()
{
    const std::string text = ReadSource("catalogue/page/catalogue.css");
    std::vector<std::map<std::string, std::string>> schemes;
    for (std::size_t place = 0; (place = text.find("\n:root", place)) != std::string::npos; ++place) {
        const std::string block = text.substr(place, text.find('}', place) - place);
        std::map<std::string, std::string> colors = schemes.empty() ? decltype(colors)() : schemes.front();
        const std::regex pattern("--([\\w-]+): #([0-9a-f]{6})");
        for (std::sregex_iterator color(block.begin(), block.end(), pattern), end; color != end; ++color)
            colors[(*color)[1]] = (*color)[2];
        schemes.push_back(colors);
    }
    return schemes;
}

/// As the guidelines for accessible pages define it.
double Luminance(const std::string& color)
{
    double luminance = 0;
    const double weights[] = {0.2126, 0.7152, 0.0722};
    for (std::size_t part = 0; part < 3; ++part) {
        const double value = std::stoi(color.substr(2 * part, 2), nullptr, 16) / 255.0;
        luminance += weights[part] * (value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
    }
    return luminance;
}

TEST(CatalogueColors, HaveContrastInBothSchemes)
{
    const auto schemes = ReadColors();
    ASSERT_EQ(2U, schemes.size());
    const std::pair<const char*, const char*> pairs[] = {
        {"text", "ground"},     {"text", "surface"},     {"text", "raised"},  {"text", "accent-soft"},
        {"quiet", "ground"},    {"quiet", "surface"},    {"quiet", "raised"}, {"accent", "ground"},
        {"good", "surface"},    {"on-accent", "accent"}, {"bad", "bad-soft"}, {"accent", "surface"},
        {"good", "accent-soft"}};
    for (const auto& colors : schemes)
        for (const auto& [text, ground] : pairs) {
            const double one = Luminance(colors.at(text));
            const double other = Luminance(colors.at(ground));
            EXPECT_LE(4.5, (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05)) << text << " on " << ground;
        }
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
    EXPECT_TRUE(UntilShown("#view[data-view]"));
    EXPECT_TRUE(UntilShown(".similar li:nth-child(2)"));
}

} // namespace

} // namespace openhost::testing
