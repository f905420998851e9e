#include "openhost/play/SessionReport.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/play/Html.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <stdexcept>

namespace openhost {

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

void DrawNothing(const std::filesystem::path&, const std::filesystem::path& picture)
{
    std::ofstream(picture) << "PNG";
}

/// The page on `events`, which come 20 ms after each other, and on an end.
std::string PageOf(const std::vector<nlohmann::ordered_json>& events, const std::string& name = "session.json",
                   const nlohmann::ordered_json& end = {{"event", "end"}, {"status", 0}},
                   const SessionReport::DrawPicture& draw = DrawNothing)
{
    SessionReport report(name, 0);
    Narration::Time time;
    for (const nlohmann::ordered_json& event : events)
        report.Receive(event, time += std::chrono::milliseconds(20));
    report.Receive(end, time += std::chrono::milliseconds(20));
    return report.Page(draw);
}

/// The tags that `page` leaves open or closes without need; empty for a page in order. Looks into neither style nor
/// script.
std::string TagsInDisorder(const std::string& page)
{
    const std::string body = std::regex_replace(page, std::regex("<(style|script)>[^<]*</(style|script)>"), "");
    const std::regex tag(R"re(<(/?)([a-z1-6]+)((?: [a-z-]+(?:="[^"<>]*")?)*)>|<!DOCTYPE html>|[<>])re");
    std::vector<std::string> open;
    for (std::sregex_iterator found(body.begin(), body.end(), tag), end; found != end; ++found) {
        const std::string name = (*found)[2];
        if (name.empty() && found->str() != "<!DOCTYPE html>")
            return "stray " + found->str() + " before " + found->suffix().str().substr(0, 40);
        if (name.empty() || name == "meta" || name == "img" || name == "input")
            continue;
        if ((*found)[1].length() == 0)
            open.push_back(name);
        else if (open.empty() || open.back() != name)
            return "</" + name + ">";
        else
            open.pop_back();
    }
    return open.empty() ? "" : "<" + open.back() + ">";
}

nlohmann::ordered_json Step(int number, const std::string& key)
{
    return {{"event", "step"}, {"number", number}, {"key", key}};
}

/// Texts that would leave their place in a page if they were not escaped.
const std::string Hostile = "</title></script><script>alert(1)</script>\"'&lt;]]><img src=x onerror=alert(1)>\x1B[31m";

} // namespace

TEST(SessionReport, NamesTheSessionAndHowItHasEnded)
{
    EXPECT_THAT(PageOf({}), HasSubstr("<title>session.json: every step is done</title>"));
    const std::string failed = PageOf(
        {}, "bolt.json",
        {{"event", "end"}, {"status", 1}, {"step", 2}, {"reason", "no bolt"}, {"unsavedDocuments", {"/a/b.ZALPart"}}});
    EXPECT_THAT(failed, HasSubstr("<h1>bolt.json</h1>\n<p class=\"outcome failed\">step 2 has failed: no bolt</p>"));
    EXPECT_THAT(failed, HasSubstr("Left undone: documents that are not saved: /a/b.ZALPart"));
    EXPECT_THAT(failed, HasSubstr("0 steps in 0.0 ms, played 1970-01-01 00:00 UTC"));
}

TEST(SessionReport, ShowsStepsWithTheirTimesAndWhatHappensInThem)
{
    const std::string page = PageOf({{{"event", "panel"}, {"action", "opened"}},
                                     Step(1, "select"),
                                     {{"event", "selection"}, {"element", "top"}, {"accepted", true}},
                                     {{"event", "error"}, {"text", "no"}},
                                     Step(2, "wait")});
    EXPECT_THAT(page, HasSubstr("<span>select</span><div class=\"track\"><i style=\"left: 20.00%; width: 60.00%\"></i>"
                                "</div><time>60.0 ms</time></div>\n"
                                "<ul>\n<li class=\"detail\">Picked: top</li>\n<li class=\"failure\">no</li>\n</ul>"));
    EXPECT_THAT(page, HasSubstr("<b class=\"number\">2</b><span>wait</span>"));
}

TEST(SessionReport, ShowsRequestsWithWhatBecameOfThem)
{
    const auto request = [](const std::string& method, const std::string& url) {
        return nlohmann::ordered_json{
            {"event", "request"}, {"method", method}, {"url", url}, {"headers", nlohmann::json::object()}};
    };
    const std::string page =
        PageOf({request("GET", "http://a/b"),
                request("POST", "http://a/c"),
                request("GET", "http://a/d"),
                {{"event", "transfer"}, {"url", "http://a/b"}, {"end", "finished"}, {"code", 404}, {"bytes", 12345}},
                {{"event", "transfer"},
                 {"url", "http://a/c"},
                 {"end", "failed"},
                 {"code", 0},
                 {"bytes", 0},
                 {"error", "no"}}});
    EXPECT_THAT(page, HasSubstr("<tr><td>GET</td><td class=\"address\">http://a/b</td><td class=\"failed\">404 finished"
                                "</td><td class=\"number\">12.3 KB</td><td class=\"number\">60.0 ms</td></tr>"));
    EXPECT_THAT(page,
                HasSubstr("<td>POST</td><td class=\"address\">http://a/c</td><td class=\"failed\">failed: no</td>"));
    EXPECT_THAT(page, HasSubstr("http://a/d</td><td class=\"failed\">not ended</td>"));
}

TEST(SessionReport, ShowsQuestionsWithTheirAnswers)
{
    EXPECT_THAT(PageOf({{{"event", "dialog"}, {"name", "N"}, {"title", "T"}, {"text", "a\nb"}, {"answer", 4}}}),
                HasSubstr("<tr><td>T</td><td class=\"text\">a\nb</td><td>No</td></tr>"));
}

TEST(SessionReport, HasEachLineOfTheJournal)
{
    EXPECT_THAT(
        PageOf({{{"event", "trace"}, {"name", "N"}, {"text", "first"}}}),
        HasSubstr("<li><time>0.000</time><code>{&quot;event&quot;:&quot;trace&quot;,&quot;name&quot;:&quot;N&quot;,"
                  "&quot;text&quot;:&quot;first&quot;}</code></li>\n<li><time>0.020</time>"));
}

TEST(SessionReport, NoTextFromOutsideLeavesItsPlace)
{
    const std::string page =
        PageOf({Step(1, Hostile),
                {{"event", "message"}, {"text", nlohmann::json{{"event", Hostile}, {"content", Hostile}}.dump()}},
                {{"event", "dialog"}, {"name", Hostile}, {"title", Hostile}, {"text", Hostile}, {"answer", 1}},
                {{"event", "request"}, {"method", Hostile}, {"url", Hostile}, {"headers", {{Hostile, Hostile}}}},
                {{"event", "transfer"}, {"url", Hostile}, {"end", "failed"}, {"code", 0}, {"error", Hostile}},
                {{"event", "document"}, {"path", "/none/" + Hostile}, {"action", "opened"}},
                {{"event", "tree"}, {"path", Hostile}, {"root", {{"name", Hostile}, {"file", Hostile}}}}},
               Hostile, {{"event", "end"}, {"status", 1}, {"step", 1}, {"reason", Hostile + "\xFF"}});
    EXPECT_EQ("", TagsInDisorder(page));
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, Not(HasSubstr("<img")));
    EXPECT_THAT(page, Not(HasSubstr("]]>")));
    EXPECT_THAT(page, Not(HasSubstr("\x1B")));
    EXPECT_THAT(page,
                HasSubstr("<h1>&lt;/title&gt;&lt;/script&gt;&lt;script&gt;alert(1)&lt;/script&gt;&quot;&#39;&amp;lt;"));
}

TEST(SessionReport, LoadsNothing)
{
    const std::string page = PageOf({{{"event", "url"}, {"url", "https://velmart.example/"}}});
    EXPECT_THAT(page, HasSubstr("<meta charset=\"utf-8\">\n<meta http-equiv=\"Content-Security-Policy\" "
                                "content=\"default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; "
                                "img-src data:; base-uri 'none'; form-action 'none'\">"));
    for (const char* reference :
         {"src=\"(?!data:)", "href=\"(?!#)", "<link", "<iframe", "<object", "@import", "url\\("})
        EXPECT_FALSE(std::regex_search(page, std::regex(reference))) << reference;
}

TEST(SessionReport, FiltersOnlyWithItsScript)
{
    const std::string page = PageOf({});
    EXPECT_TRUE(std::regex_search(page, std::regex("<input id=\"filter\"[^>]* hidden>"))) << "shown by the script";
    EXPECT_THAT(page, HasSubstr("filter.hidden = false;"));
    EXPECT_THAT(page, HasSubstr("prefers-color-scheme: dark"));
    EXPECT_THAT(page, HasSubstr("@media print"));
}

TEST(Html, WritesBase64)
{
    EXPECT_EQ("", Base64(""));
    EXPECT_EQ("Zg==", Base64("f"));
    EXPECT_EQ("Zm8=", Base64("fo"));
    EXPECT_EQ("Zm9v", Base64("foo"));
    EXPECT_EQ("AP/+", Base64(std::string("\x00\xFF\xFE", 3)));
}

// ---------------------------------------------------------------------------------------------
// Files

namespace {

class SessionReportOfFiles : public ::testing::Test {
protected:
    std::filesystem::path PutProduct(const std::string& name, const std::string& nomenclature = "") const
    {
        CadDocument product;
        product.kind = DocumentKind::Product;
        product.partNumber = "P";
        product.nomenclature = nomenclature;
        WriteDocument(product, folder_ / name);
        return folder_ / name;
    }
    static nlohmann::ordered_json Document(const std::filesystem::path& path, const std::string& action)
    {
        return {{"event", "document"}, {"path", path.string()}, {"action", action}};
    }

    TemporaryFolder temporary_;
    std::filesystem::path folder_ = std::filesystem::canonical(temporary_.Path());
};

} // namespace

TEST_F(SessionReportOfFiles, ShowsADocumentAsItWasAndAsItIs)
{
    SessionReport report("s", 0);
    const std::filesystem::path path = PutProduct("a.ZALProduct", "before");
    report.Receive(Document(path, "opened"), {});
    PutProduct("a.ZALProduct", "after");
    report.Receive({{"event", "end"}, {"status", 0}}, {});
    const std::string page = report.Page(DrawNothing);
    EXPECT_TRUE(std::regex_search(page, std::regex("When it was opened</p><pre>[^<]*before[^<]*</pre>")));
    EXPECT_TRUE(std::regex_search(page, std::regex("At the end</p><pre>[^<]*after[^<]*</pre>")));
}

TEST_F(SessionReportOfFiles, ShowsADocumentThatStaysOnce)
{
    const std::string page = PageOf({Document(PutProduct("a.ZALProduct"), "opened")});
    EXPECT_THAT(page, HasSubstr("Its file is as it was when the document was opened"));
    EXPECT_THAT(page, Not(HasSubstr("At the end")));
}

TEST_F(SessionReportOfFiles, ListsFilesWithAPictureOfEachRoot)
{
    const std::string page = PageOf({Document(PutProduct("a&b.ZALProduct"), "saved")});
    EXPECT_THAT(page, HasSubstr("<figure><img alt=\"a&amp;b.ZALProduct\" src=\"data:image/png;base64,UE5H\">"
                                "<figcaption>a&amp;b.ZALProduct</figcaption></figure>"));
    EXPECT_THAT(page, HasSubstr("<h3>Files in " + folder_.string() + "</h3>"));
    EXPECT_TRUE(std::regex_search(page, std::regex("a&amp;b.ZALProduct</td><td class=\"number\">[0-9.]+ KB</td>")));
    EXPECT_EQ("", TagsInDisorder(page));
}

TEST_F(SessionReportOfFiles, SaysWhyThereIsNoPicture)
{
    const std::string page = PageOf(
        {Document(PutProduct("a.ZALProduct"), "saved")}, "s", {{"event", "end"}, {"status", 0}},
        [](const std::filesystem::path&, const std::filesystem::path&) { throw std::runtime_error("no <solid>"); });
    EXPECT_THAT(page, HasSubstr("<figcaption class=\"failed\">a.ZALProduct could not be drawn: no &lt;solid&gt;"));
}

} // namespace openhost
