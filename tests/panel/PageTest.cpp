// What the addin asks of the page in the panel.

#include "tests/panel/PanelFixture.h"

#include "utilities/ZALVelmartIntegrationUtilities.h"

namespace openhost::testing {
namespace {

class PanelPageOf : public PanelFixture {
protected:
    void OpenPanel()
    {
        Panel::Open();
        Addin().SetAccessDialog(Panel::Current());
    }
    ~PanelPageOf() override
    {
        Panel::End();
        Loop().RunUntilIdle();
    }
    static RecordedPage& Page() { return *RecordedPage::Current(); }
    HRESULT Search() { return Addin().SearchByUpload("http://x/?a", "q"); }
};

// ---------------------------------------------------------------------------------------------
// SearchByUpload

TEST_F(PanelPageOf, SearchFailsWithoutAPanel)
{
    EXPECT_EQ(E_FAIL, Search());
    Send(Message("velmart_ready"));
    EXPECT_EQ(E_FAIL, Search());
    OpenPanel();
    Panel::End();
    Loop().RunUntilIdle();
    EXPECT_EQ(E_FAIL, Search()) << "once it has gone";
}

TEST_F(PanelPageOf, SearchAsksAReadyPageWithTheQueryAsItStands)
{
    OpenPanel();
    Send(Message("velmart_ready"));
    EXPECT_EQ(S_OK, Addin().SearchByUpload("http://x/?a", u"a b'); alert('\u20AC"));
    EXPECT_EQ(Texts{"OpApi.sendMessage('search', {query: 'a b'); alert('\u20AC'});"}, Page().Scripts());
    EXPECT_TRUE(Page().Urls().empty());
}

TEST_F(PanelPageOf, SearchLoadsTheSearchPageUnlessThePageIsReady)
{
    OpenPanel();
    Addin().SetAccessDialog(nullptr); // leaves the one of before
    EXPECT_EQ(S_OK, Addin().SearchByUpload("http://x/?a", "a b'/"));
    Send(Message("velmart_ready"));
    Send(Message("velmart_over"));
    EXPECT_EQ(S_OK, Addin().SearchByUpload("http://y/", ""));
    EXPECT_EQ((Texts{"http://x/?a&extq=a%20b%27%2F", "http://y/&extq="}), Page().Urls());
    EXPECT_TRUE(Page().Scripts().empty());
}

// ---------------------------------------------------------------------------------------------
// GetJSScript

class ScriptFile : public PanelFixture {
protected:
    ScriptFile() { std::filesystem::create_directories(File().parent_path()); }

    std::filesystem::path File() const { return Folder() / "installation" / "scripts" / "a.js"; }
    void Install(const std::string& bytes) const { std::ofstream(File(), std::ios::binary) << bytes; }
    HRESULT Get() { return ZALVelmartIntegrationUtilities::GetJSScript("scripts\\a.js", Script); }

    ZALUnicodeString Script = "before";
};

TEST_F(ScriptFile, IsReadAsUtf8OrElseInTheNarrowEncodingUpToAZero)
{
    const std::vector<std::pair<std::string, std::string>> files = {{"let a = '\u20AC';\n", "let a = '\u20AC';\n"},
                                                                    {std::string("a\0b", 3), std::string("a\0b", 3)},
                                                                    {"let a = '\xE4';", "let a = '\u00E4';"},
                                                                    {std::string("a\xE4\0b", 4), "a\u00E4"}};
    for (const auto& [bytes, text] : files) {
        Install(bytes);
        EXPECT_EQ(S_OK, Get()) << text;
        EXPECT_EQ(text, ToUtf8(Script));
    }
}

TEST_F(ScriptFile, InTheNarrowEncodingEndsWithTheFile)
{
    Install(std::string(1000, '\xE4'));
    // Whatever the memory held that the file is read into.
    std::string block(1015, 'x');
    EXPECT_EQ(1015U, block.size());
    block = std::string();
    block.shrink_to_fit();
    EXPECT_EQ(S_OK, Get());
    EXPECT_EQ(1000, Script.GetLengthInChar());
}

TEST_F(ScriptFile, ThatCannotBeReadFailsAndLeavesTheText)
{
    EXPECT_EQ(E_FAIL, Get()) << "it is missing";
    EXPECT_EQ("before", ToUtf8(Script));
    Install("x");
    std::filesystem::resize_file(File(), std::uintmax_t{1} << 32);
    EXPECT_EQ(E_FAIL, Get()) << "it has four gigabytes";
    std::filesystem::remove(File());
    std::filesystem::create_directory(File());
    EXPECT_EQ(E_FAIL, Get()) << "it is a folder";
}

TEST_F(ScriptFile, ThatIsEmptyFailsThoughItWasRead)
{
    Install("");
    EXPECT_EQ(E_FAIL, Get());
    EXPECT_EQ(0, Script.GetLengthInChar());
}

TEST_F(ScriptFile, ThatEndsBeforeItsSizeLeavesTheTextOfBeforeAsTheScript)
{
    // The system announces a page for such a file, whatever it holds.
    std::filesystem::create_symlink("/sys/class/net/lo/mtu", File());
    EXPECT_EQ(S_OK, Get());
    EXPECT_EQ("before", ToUtf8(Script));
    Script = "";
    EXPECT_EQ(E_FAIL, Get());
}

} // namespace
} // namespace openhost::testing
