// Pages in the real browser.
#include "tests/openhost/desktop/BrowserFixture.h"
#include "tests/openhost/desktop/PageServer.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace openhost::testing {

namespace {

constexpr const char* Plain = "<!DOCTYPE html><title>Plain</title><p id=text>plain</p>";

class QtPanelPageTest : public BrowserFixture {
protected:
    QtPanelPageTest()
    {
        server_.AddPage("/plain", Plain);
        server_.AddPage("/other", "<!DOCTYPE html><title>Other</title><p id=other>other</p>");
    }

    void LoadPath(const std::string& path) { Load(server_.Url(path)); }
    /// The first page.
    void OpenPath(const std::string& path)
    {
        server_.Start();
        LoadPath(path);
    }

    PageServer server_;
};

// ---------------------------------------------------------------------------------------------
// Loading

TEST_F(QtPanelPageTest, TheAddressIsToldOnceThePageHasLoaded)
{
    OpenPath("/plain");
    EXPECT_THAT(reports_.urls, ElementsAre(server_.Url("/plain")));
    EXPECT_TRUE(User().Shows("#text"));
}

TEST_F(QtPanelPageTest, ALoadKeepsTheLoopFromBeingIdle)
{
    server_.Start();
    ASSERT_TRUE(page_->LoadUrl(server_.Url("/plain")));
    EXPECT_THAT(reports_.urls, IsEmpty()) << "reports come from the loop";
    EXPECT_EQ(RunEnd::Idle, EventLoop::Current().RunUntilIdle(90s));
    EXPECT_THAT(reports_.urls, ElementsAre(server_.Url("/plain")));
}

TEST_F(QtPanelPageTest, WhereARedirectionLedIsTold)
{
    server_.Routes().Get("/from",
                         [](const httplib::Request&, httplib::Response& response) { response.set_redirect("/plain"); });
    OpenPath("/from");
    EXPECT_THAT(reports_.urls, ElementsAre(server_.Url("/plain")));
}

TEST_F(QtPanelPageTest, APageThatTheUserWentToByALinkIsTold)
{
    server_.AddPage("/link", "<!DOCTYPE html><a id=go href=/plain>go</a>");
    OpenPath("/link");
    User().Click("#go");
    EXPECT_TRUE(Until([&] { return reports_.urls.size() == 2; }));
    EXPECT_EQ(server_.Url("/plain"), reports_.urls.back());
}

TEST_F(QtPanelPageTest, AServiceThatIsDownIsToldAsNobodysPage)
{
    OpenPath("/plain");
    server_.Stop();
    LoadPath("/plain");
    EXPECT_THAT(reports_.urls, ElementsAre(server_.Url("/plain"), "about:blank"));
    EXPECT_FALSE(page_->ExecuteHandlers("hostPanel.sendMessage('here');"));
}

TEST_F(QtPanelPageTest, AnErrorOfTheServiceIsToldAsNobodysPage)
{
    server_.Routes().Get("/broken", [](const httplib::Request&, httplib::Response& response) {
        response.status = 500;
        response.set_content("broken", "text/html");
    });
    OpenPath("/broken");
    EXPECT_THAT(reports_.urls, ElementsAre("about:blank"));
}

TEST_F(QtPanelPageTest, ASecondLoadTakesThePlaceOfTheFirst)
{
    server_.Start();
    ASSERT_TRUE(page_->LoadUrl(server_.Url("/other")));
    LoadPath("/plain");
    EXPECT_TRUE(Until([&] { return reports_.urls.back() == server_.Url("/plain"); }));
    EXPECT_TRUE(User().Shows("#text"));
}

TEST_F(QtPanelPageTest, OtherSchemesAndPlainHttpBeyondLoopbackAreRefused)
{
    for (const char* url :
         {"file:///etc/passwd", "about:blank", "chrome://version", "data:text/html,x", "ftp://127.0.0.1/",
          "javascript:1", "http://velmart.example/", "http://127.0.0.1.velmart.example/", "http://user@127.0.0.1/",
          "http://", "", "nonsense", "view-source:http://127.0.0.1/", "qrc:///qtwebchannel/qwebchannel.js"})
        EXPECT_FALSE(page_->LoadUrl(url)) << url;
    EXPECT_EQ(RunEnd::Idle, EventLoop::Current().RunUntilIdle(10s));
    EXPECT_THAT(reports_.urls, IsEmpty());
}

TEST_F(QtPanelPageTest, APageCannotLeadToARefusedAddress)
{
    server_.AddPage("/ways", "<!DOCTYPE html><p id=stay>stay</p><script>location.href = 'file:///etc/passwd';"
                             "setTimeout(() => { location.href = 'data:text/html,x'; }, 0);</script>"
                             "<iframe src='file:///etc/passwd'></iframe>");
    OpenPath("/ways");
    ASSERT_EQ("2", Ask("1 + 1"));
    for (const std::string& url : reports_.urls)
        EXPECT_THAT(url, ::testing::AnyOf(server_.Url("/ways"), "about:blank"));
}

TEST_F(QtPanelPageTest, ARedirectionToARefusedAddressEndsInNobodysPage)
{
    server_.Routes().Get("/away", [](const httplib::Request&, httplib::Response& response) {
        response.set_redirect("http://velmart.example/");
    });
    server_.AddPage("/from", "<!DOCTYPE html><script>setTimeout(() => { location.href = '/away'; }, 0);</script>");
    OpenPath("/away");
    EXPECT_THAT(reports_.urls, ElementsAre("about:blank"));
    LoadPath("/from");
    EXPECT_TRUE(Until([&] { return reports_.urls.size() > 2 || reports_.urls.back() == "about:blank"; }));
    EXPECT_EQ("about:blank", reports_.urls.back());
    EXPECT_FALSE(page_->ExecuteScript("1"));
}

// ---------------------------------------------------------------------------------------------
// Scripts

TEST_F(QtPanelPageTest, NoScriptRunsBeforeAPageHasLoaded)
{
    EXPECT_FALSE(page_->ExecuteScript("1"));
}

TEST_F(QtPanelPageTest, TheHandlersSendTheirMessagesInTheirOrder)
{
    OpenPath("/plain");
    ASSERT_TRUE(page_->ExecuteHandlers(
        "hostPanel.sendMessage(document.title); hostPanel.sendMessage('\\u00e4\\ud83d\\ude00');"));
    ASSERT_TRUE(Until([&] { return reports_.messages.size() == 2; }));
    EXPECT_THAT(reports_.messages, ElementsAre("Plain", "\u00e4\U0001F600"));
}

TEST_F(QtPanelPageTest, HandlersThatRunAgainHaveTheSameWorld)
{
    OpenPath("/plain");
    ASSERT_TRUE(page_->ExecuteHandlers("globalThis.kept = 41;"));
    EXPECT_EQ("42", Ask("kept + 1"));
}

TEST_F(QtPanelPageTest, ANavigationEndsTheWorldOfTheHandlers)
{
    OpenPath("/plain");
    ASSERT_TRUE(page_->ExecuteHandlers("globalThis.kept = 41;"));
    LoadPath("/plain");
    EXPECT_EQ("undefined", Ask("typeof kept"));
}

TEST_F(QtPanelPageTest, AScriptDoesNotRunInADocumentThatTheHostDoesNotKnowYet)
{
    Gate gate;
    server_.AddPage("/slow", "<!DOCTYPE html><title>Slow</title><p id=slow>slow</p><img src=/picture>");
    server_.Routes().Get("/picture", [wait = gate.Wait()](const httplib::Request&, httplib::Response&) { wait(); });
    OpenPath("/plain");
    ASSERT_TRUE(page_->LoadUrl(server_.Url("/slow")));
    ASSERT_TRUE(UntilShown("#slow"));
    ASSERT_EQ(1U, reports_.urls.size());
    EXPECT_TRUE(page_->ExecuteHandlers("hostPanel.sendMessage(document.title);"));
    EXPECT_TRUE(page_->ExecuteScript("document.title = 'reached';"));
    gate.Open();
    ASSERT_TRUE(Until([&] { return reports_.urls.size() == 2; }));
    EXPECT_EQ("Slow", Ask("document.title"));
    EXPECT_THAT(reports_.messages, ElementsAre("Slow"));
}

TEST_F(QtPanelPageTest, AScriptWithAMistakeChangesNothing)
{
    OpenPath("/plain");
    EXPECT_TRUE(page_->ExecuteScript("this is no script"));
    EXPECT_TRUE(page_->ExecuteScript("throw new Error('mistake');"));
    EXPECT_EQ("2", Ask("1 + 1"));
}

TEST_F(QtPanelPageTest, AMessageIsATextOfBoundedLength)
{
    OpenPath("/plain");
    ASSERT_TRUE(page_->ExecuteHandlers("try { hostPanel.sendMessage({}); } catch (error) "
                                       "{ hostPanel.sendMessage(error.message); }"
                                       "hostPanel.sendMessage('x'.repeat(4 * 1024 * 1024));"
                                       "hostPanel.sendMessage('x'.repeat(4 * 1024 * 1024 + 1));"
                                       "hostPanel.sendMessage('end');"));
    ASSERT_TRUE(Until([&] { return reports_.messages.size() == 3; }));
    EXPECT_EQ("a message is a text", reports_.messages[0]);
    EXPECT_EQ(std::size_t{4} << 20, reports_.messages[1].size());
    EXPECT_EQ("end", reports_.messages[2]);
}

// ---------------------------------------------------------------------------------------------
// Who can send messages

TEST_F(QtPanelPageTest, AForeignPageHasNoWayToTheHost)
{
    server_.AddPage("/foreign", R"(<!DOCTYPE html><title>Foreign</title><pre id=log></pre>
<script src="/qwebchannel.js"></script>
<script>
const tries = {
    qt: () => typeof qt,
    transport: () => qt.webChannelTransport.send('{"type":6,"object":"hostPanel","method":"sendMessage","args":["","x"]}'),
    hostPanel: () => hostPanel.sendMessage("forged"),
    onWindow: () => Object.getOwnPropertyNames(window).filter((name) => /qt|panel|channel$/i.test(name)).join(),
    channel: () => typeof QWebChannel,
    post: () => { for (const target of [window, top, parent]) target.postMessage("forged", "*"); },
    events: () => {
        for (const name of ["message", "hostPanel", "velmart:request"])
            for (const target of [window, document])
                target.dispatchEvent(new CustomEvent(name, {detail: '{"event":"velmart_ready","content":{}}'}));
    },
    prompt: () => prompt("hostPanel", "forged"),
    console: () => console.log("forged"),
    title: () => { document.title = "forged"; },
    frame: () => {
        const frame = document.createElement("iframe");
        document.documentElement.append(frame);
        return typeof frame.contentWindow.hostPanel + typeof frame.contentWindow.qt;
    },
};
const found = {};
for (const [name, attempt] of Object.entries(tries)) {
    try { found[name] = String(attempt()); } catch (error) { found[name] = "refused"; }
}
document.querySelector("#log").textContent = JSON.stringify(found);
document.documentElement.dataset.done = "";
</script>)");
    OpenPath("/foreign");
    ASSERT_TRUE(UntilShown("[data-done]"));
    const std::string found = Ask("document.querySelector('#log').textContent");
    EXPECT_THAT(found, HasSubstr(R"("qt":"undefined")"));
    EXPECT_THAT(found, HasSubstr(R"("transport":"refused")"));
    EXPECT_THAT(found, HasSubstr(R"("hostPanel":"refused")"));
    EXPECT_THAT(found, HasSubstr(R"("channel":"undefined")"));
    EXPECT_THAT(found, HasSubstr(R"("frame":"undefinedundefined")"));
    EXPECT_THAT(reports_.messages, ElementsAre(found)) << "the page's own attempts have brought nothing";
}

TEST_F(QtPanelPageTest, APageCannotChangeWhatInjectedScriptsSee)
{
    server_.AddPage("/hostile", R"(<!DOCTYPE html><script>
String = JSON.stringify = () => "forged";
Object.prototype.toString = () => "forged";
globalThis.hostPanel = {sendMessage: () => {}};
globalThis.QWebChannel = globalThis.qt = null;
</script>)");
    OpenPath("/hostile");
    EXPECT_EQ(R"({"a":1})", Ask("JSON.stringify({a: 1})"));
}

TEST_F(QtPanelPageTest, AnInjectedScriptHasNoWayToTheHost)
{
    OpenPath("/plain");
    ASSERT_EQ("connected", Ask("'connected'"));
    ASSERT_TRUE(page_->ExecuteScript(R"(
const tries = {
    hostPanel: () => hostPanel.sendMessage("forged"),
    qt: () => qt.webChannelTransport.send('{"type":6,"object":"hostPanel","method":"sendMessage","args":["","forged"]}'),
    channel: () => typeof QWebChannel,
    names: () => Object.getOwnPropertyNames(globalThis).filter((name) => /qt|hostPanel|^qweb/i.test(name)).join(),
    frame: () => {
        const frame = document.createElement("iframe");
        document.documentElement.append(frame);
        return typeof frame.contentWindow.hostPanel + typeof frame.contentWindow.qt;
    },
};
const found = {};
for (const [name, attempt] of Object.entries(tries)) {
    try { found[name] = String(attempt()); } catch (error) { found[name] = error.name; }
}
document.documentElement.dataset.found = JSON.stringify(found);
)"));
    ASSERT_TRUE(UntilShown("[data-found]"));
    const std::string found = Ask("document.documentElement.dataset.found");
    EXPECT_EQ(R"({"hostPanel":"ReferenceError","qt":"ReferenceError","channel":"undefined","names":"",)"
              R"("frame":"undefinedundefined"})",
              found);
    EXPECT_THAT(reports_.messages, ElementsAre("connected", found)) << "the script's own attempts have brought nothing";
}

TEST_F(QtPanelPageTest, AnInjectedScriptCannotChangeWhatTheHandlersSee)
{
    OpenPath("/plain");
    ASSERT_TRUE(page_->ExecuteScript("String = JSON.stringify = () => 'forged'; Map.prototype.has = () => true;"
                                     "Object.prototype.toString = () => 'forged'; hostDocument = 'forged';"
                                     "globalThis.hostPanel = globalThis.qt = {sendMessage: () => {}};"));
    EXPECT_EQ(R"({"a":1})", Ask("JSON.stringify({a: 1})"));
    EXPECT_EQ("false", Ask("new Map().has(1)"));
    ASSERT_TRUE(page_->ExecuteScript("document.title = 'still in its document';"));
    EXPECT_EQ("still in its document", Ask("document.title"));
}

TEST_F(QtPanelPageTest, InjectedScriptsOfOnePageShareTheirWorld)
{
    OpenPath("/plain");
    ASSERT_TRUE(page_->ExecuteScript("globalThis.kept = 41;"));
    ASSERT_TRUE(page_->ExecuteScript("document.title = String(kept + 1);"));
    EXPECT_EQ("42", Ask("document.title"));
    EXPECT_EQ("undefined", Ask("typeof kept"));
}

TEST_F(QtPanelPageTest, AFrameInThePageHasNoWayToTheHost)
{
    server_.AddPage("/frame",
                    "<!DOCTYPE html><title>inner</title><script>document.title = typeof qt + typeof hostPanel;"
                    "parent.document.documentElement.dataset.done = document.title;</script>");
    server_.AddPage("/outer", "<!DOCTYPE html><p>outer</p><iframe src=/frame></iframe>");
    OpenPath("/outer");
    ASSERT_TRUE(UntilShown("[data-done]"));
    EXPECT_EQ("undefinedundefined", Ask("document.documentElement.dataset.done"));
}

TEST_F(QtPanelPageTest, WhatAPageSaysWhileItGoesIsHeard)
{
    OpenPath("/plain");
    ASSERT_TRUE(page_->ExecuteHandlers("addEventListener('pagehide', () => hostPanel.sendMessage('over'));"
                                       "hostPanel.sendMessage('begin');"));
    LoadPath("/other");
    EXPECT_EQ("here", Ask("'here'"));
    EXPECT_THAT(reports_.messages, ElementsAre("begin", "over", "here"));
}

// ---------------------------------------------------------------------------------------------
// What pages may not

TEST_F(QtPanelPageTest, WindowsDialogsAndPermissionsAreRefused)
{
    std::atomic<bool> opened = false;
    server_.Routes().Get("/opened", [&](const httplib::Request&, httplib::Response&) { opened = true; });
    server_.AddPage("/asks", R"(<!DOCTYPE html><button id=open>open</button><script>
document.querySelector("#open").onclick = async () => {
    const opened = window.open("/opened");
    while (opened && !opened.closed)
        await new Promise((resolve) => setTimeout(resolve, 1));
    const answers = [String(alert("x")), String(prompt("x", "y"))];
    answers.push(await navigator.permissions.query({name: "geolocation"}).then((answer) => answer.state));
    answers.push(await new Promise((resolve) => navigator.geolocation.getCurrentPosition(
        () => resolve("position"), () => resolve("denied"))));
    document.documentElement.dataset.answers = answers.join();
};
</script>)");
    OpenPath("/asks");
    User().Click("#open");
    ASSERT_TRUE(UntilShown("[data-answers]"));
    EXPECT_THAT(Ask("document.documentElement.dataset.answers"), ::testing::MatchesRegex("undefined,null,.*,denied"));
    EXPECT_FALSE(opened);
}

TEST_F(QtPanelPageTest, NothingIsKeptForALaterRun)
{
    OpenPath("/plain");
    EXPECT_EQ("set", Ask("(document.cookie = 'kept=1', localStorage.setItem('kept', '1'), 'set')"));
    page_.reset();
    pages_ = TestDesktop().MakePages();
    Open();
    LoadPath("/plain");
    EXPECT_EQ("null", Ask("document.cookie + localStorage.getItem('kept')"));
}

// ---------------------------------------------------------------------------------------------
// The end of a page

TEST_F(QtPanelPageTest, APageThatIsClosedByTheHostReportsNothingMore)
{
    OpenPath("/plain");
    ASSERT_TRUE(page_->ExecuteHandlers("addEventListener('pagehide', () => hostPanel.sendMessage('over'));"
                                       "setInterval(() => hostPanel.sendMessage('again'), 1);"));
    ASSERT_TRUE(Until([&] { return !reports_.messages.empty(); }));
    page_.reset();
    EXPECT_EQ(nullptr, pages_->User());
    const std::size_t before = reports_.messages.size();
    EXPECT_EQ(RunEnd::Idle, EventLoop::Current().RunUntilIdle(10s));
    EXPECT_EQ(before, reports_.messages.size());
    EXPECT_EQ(0, reports_.closed);
}

TEST_F(QtPanelPageTest, APageMayBeClosedWhileItLoads)
{
    server_.Start();
    ASSERT_TRUE(page_->LoadUrl(server_.Url("/plain")));
    page_.reset();
    EXPECT_EQ(RunEnd::Idle, EventLoop::Current().RunUntilIdle(10s));
    EXPECT_THAT(reports_.urls, IsEmpty());
}

TEST_F(QtPanelPageTest, AListenerMayCloseThePage)
{
    server_.Start();
    page_.reset();
    page_ = pages_->Open({.urlChanged = [this](const std::string&) { page_.reset(); },
                          .messageSent = [](const std::string&, const std::string&) {},
                          .closed = [] {}});
    ASSERT_TRUE(page_->LoadUrl(server_.Url("/plain")));
    EXPECT_TRUE(Until([this] { return !page_; }));
}

// ---------------------------------------------------------------------------------------------
// Events for a document

TEST_F(QtPanelPageTest, AnEventReachesTheScriptsOfItsDocumentAlone)
{
    server_.AddPage("/inner", R"(<!DOCTYPE html><script>
document.addEventListener("told", () => parent.document.body.append("in the frame"));
</script>)");
    server_.AddPage("/hears", R"(<!DOCTYPE html><body><iframe src=/inner></iframe><script>
document.addEventListener("told", (event) => { document.body.dataset.told = event.detail; });
</script></body>)");
    OpenPath("/hears");
    EXPECT_EQ("asked", Ask("'asked'"));
    const std::string first = reports_.documents.back();
    page_->DispatchEvent(first, "told", "\"a\u2028\nb\\\"");
    EXPECT_EQ("\"a\u2028\nb\\\"", Ask("document.body.dataset.told"));
    EXPECT_EQ("", Ask("document.body.innerText"));

    Load(server_.Url("/hears"));
    EXPECT_EQ("asked", Ask("'asked'"));
    EXPECT_NE(first, reports_.documents.back());
    page_->DispatchEvent(first, "told", "too late");
    page_->DispatchEvent("", "told", "to nobody");
    EXPECT_EQ("undefined", Ask("document.body.dataset.told"));
    page_->DispatchEvent(reports_.documents.back(), "told", "again");
    EXPECT_EQ("again", Ask("document.body.dataset.told"));
}

// ---------------------------------------------------------------------------------------------
// The user

TEST_F(QtPanelPageTest, TheUserClicksTypesAndPressesKeys)
{
    server_.AddPage("/form", R"(<!DOCTYPE html><input id=field value=old><button id=button>b</button>
<div style="height:3000px"></div><button id=below>far below</button><script>
for (const id of ["button", "below"])
    document.querySelector("#" + id).onclick = (event) => { event.target.dataset.clicked = event.isTrusted; };
</script>)");
    OpenPath("/form");
    User().Enter("#field", "M8x40 \u00e4?");
    EXPECT_EQ("M8x40 \u00e4?", Ask("document.querySelector('#field').value"));
    User().Press("Tab");
    EXPECT_EQ("button", Ask("document.activeElement.id"));
    User().Press("Shift+Tab");
    EXPECT_EQ("field", Ask("document.activeElement.id"));
    User().Click("#button");
    User().Click("#below");
    EXPECT_TRUE(User().Shows("#button[data-clicked=true]"));
    EXPECT_TRUE(User().Shows("#below[data-clicked=true]"));
    User().Enter("#field", "");
    EXPECT_EQ("", Ask("document.querySelector('#field').value"));
}

TEST_F(QtPanelPageTest, TheUserIsToldWhatCannotBeDone)
{
    server_.AddPage("/form", "<!DOCTYPE html><button id=off disabled>b</button><p id=hidden hidden>h</p>"
                             "<button id=under>u</button><div style='position:fixed;inset:0'></div>");
    OpenPath("/form");
    const auto reason = [this](const std::function<void(PageUser&)>& act) -> std::string {
        try {
            act(User());
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "done";
    };
    EXPECT_EQ("\"#none\" finds nothing", reason([](PageUser& user) { user.Click("#none"); }));
    EXPECT_EQ("\"#hidden\" finds nothing that is visible", reason([](PageUser& user) { user.Click("#hidden"); }));
    EXPECT_EQ("\"#off\" finds an element that is disabled", reason([](PageUser& user) { user.Click("#off"); }));
    EXPECT_EQ("\"#under\" finds an element that is covered", reason([](PageUser& user) { user.Click("#under"); }));
    EXPECT_EQ("\"[\" is not a selector", reason([](PageUser& user) { user.Click("["); }));
    EXPECT_EQ("\"#off\" finds nothing that takes text", reason([](PageUser& user) { user.Enter("#off", "x"); }));
    EXPECT_EQ("\"Nokey\" names no key", reason([](PageUser& user) { user.Press("Nokey"); }));
    EXPECT_FALSE(User().Shows("#none"));
    EXPECT_FALSE(User().Shows("["));
}

} // namespace

} // namespace openhost::testing
