// What the addin asks of the page in the panel.

#include "tests/panel/PanelFixture.h"

#include "utilities/ZALVelmartIntegrationUtilities.h"

namespace openhost::testing {

namespace {

using Texts = std::vector<std::string>;

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
};

// ---------------------------------------------------------------------------------------------
// SearchByUpload

TEST_F(PanelPageOf, SearchFailsWithoutAPanel)
{
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), E_FAIL);
    Send(Message("velmart_ready"));
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), E_FAIL);
}

TEST_F(PanelPageOf, SearchFailsOnceThePanelHasGone)
{
    OpenPanel();
    Send(Message("velmart_ready"));
    Panel::End();
    Loop().RunUntilIdle();
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), E_FAIL);
}

TEST_F(PanelPageOf, SearchAsksAReadyPageWithTheQueryAsItStands)
{
    OpenPanel();
    Send(Message("velmart_ready"));
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", u"a b'); alert('\u20AC"), S_OK);
    EXPECT_EQ(Page().Scripts(), Texts{"OpApi.sendMessage('search', {query: 'a b'); alert('\u20AC'});"});
    EXPECT_TRUE(Page().Urls().empty());
}

TEST_F(PanelPageOf, SearchGivesTheResultOfTheScript)
{
    OpenPanel();
    Send(Message("velmart_ready"));
    Page().takesScripts = false;
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), E_FAIL);
}

TEST_F(PanelPageOf, SearchLoadsTheSearchPageBeforeThePageIsReadyAndBehindItsEnd)
{
    OpenPanel();
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "a b'/"), S_OK);
    Send(Message("velmart_ready"));
    Send(Message("velmart_over"));
    EXPECT_EQ(Addin().SearchByUpload("http://y/", ""), S_OK);
    EXPECT_EQ(Page().Urls(), (Texts{"http://x/?a&extq=a%20b%27%2F", "http://y/&extq="}));
    EXPECT_TRUE(Page().Scripts().empty());
}

TEST_F(PanelPageOf, SearchDoesNotLookAtWhetherTheAddressWasTaken)
{
    OpenPanel();
    Page().takesUrls = false;
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), S_OK);
}

TEST_F(PanelPageOf, SearchHoldsThePanelDuringTheCallAlone)
{
    OpenPanel();
    const unsigned int before = ReferencesOf(Panel::Current());
    Addin().SearchByUpload("http://x/?a", "q");
    EXPECT_EQ(ReferencesOf(Panel::Current()), before);
}

TEST_F(PanelPageOf, ANullPanelLeavesTheOneOfBefore)
{
    OpenPanel();
    Addin().SetAccessDialog(nullptr);
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), S_OK);
}

// ---------------------------------------------------------------------------------------------
// GetJSScript

class ScriptFile : public PanelFixture {
protected:
    void Install(const std::string& bytes)
    {
        std::filesystem::create_directories(Folder() / "installation" / "scripts");
        std::ofstream(Folder() / "installation" / "scripts" / "a.js", std::ios::binary) << bytes;
    }
    static HRESULT Get(ZALUnicodeString& script)
    {
        return ZALVelmartIntegrationUtilities::GetJSScript("scripts\\a.js", script);
    }
};

TEST_F(ScriptFile, IsReadAsUtf8)
{
    Install("let a = '\u20AC';\n");
    ZALUnicodeString script = "before";
    EXPECT_EQ(Get(script), S_OK);
    EXPECT_EQ(ToUtf8(script), "let a = '\u20AC';\n");
}

TEST_F(ScriptFile, IsReadInTheNarrowEncodingWhenItIsNoUtf8)
{
    Install("let a = '\xE4';");
    ZALUnicodeString script;
    EXPECT_EQ(Get(script), S_OK);
    EXPECT_EQ(ToUtf8(script), "let a = '\u00E4';");
}

TEST_F(ScriptFile, InTheNarrowEncodingEndsAtItsFirstZero)
{
    Install(std::string("a\xE4\0b", 4));
    ZALUnicodeString script;
    EXPECT_EQ(Get(script), S_OK);
    EXPECT_EQ(ToUtf8(script), "a\u00E4");
}

TEST_F(ScriptFile, InTheNarrowEncodingEndsWithTheFile)
{
    Install(std::string(1000, '\xE4'));
    // Whatever the memory held that the file is read into.
    std::string block(1015, 'x');
    EXPECT_EQ(block.size(), 1015U);
    block = std::string();
    block.shrink_to_fit();
    ZALUnicodeString script;
    EXPECT_EQ(Get(script), S_OK);
    EXPECT_EQ(script.GetLengthInChar(), 1000);
}

TEST_F(ScriptFile, InUtf8KeepsAZero)
{
    Install(std::string("a\0b", 3));
    ZALUnicodeString script;
    EXPECT_EQ(Get(script), S_OK);
    EXPECT_EQ(script.GetLengthInChar(), 3);
}

TEST_F(ScriptFile, ThatIsEmptyFailsThoughItWasRead)
{
    Install("");
    ZALUnicodeString script = "before";
    EXPECT_EQ(Get(script), E_FAIL);
    EXPECT_EQ(script.GetLengthInChar(), 0);
}

TEST_F(ScriptFile, ThatIsMissingFailsAndLeavesTheText)
{
    ZALUnicodeString script = "before";
    EXPECT_EQ(Get(script), E_FAIL);
    EXPECT_EQ(ToUtf8(script), "before");
}

TEST_F(ScriptFile, ThatIsAFolderFails)
{
    std::filesystem::create_directories(Folder() / "installation" / "scripts" / "a.js");
    ZALUnicodeString script;
    EXPECT_EQ(Get(script), E_FAIL);
}

TEST_F(ScriptFile, OfFourGigabytesFails)
{
    Install("x");
    std::filesystem::resize_file(Folder() / "installation" / "scripts" / "a.js", std::uintmax_t{1} << 32);
    ZALUnicodeString script;
    EXPECT_EQ(Get(script), E_FAIL);
}

TEST_F(ScriptFile, ThatEndsBeforeItsSizeLeavesTheTextOfBeforeAsTheScript)
{
    // The system announces a page for such a file, whatever it holds.
    std::filesystem::create_directories(Folder() / "installation" / "scripts");
    std::filesystem::create_symlink("/sys/class/net/lo/mtu", Folder() / "installation" / "scripts" / "a.js");
    ZALUnicodeString script = "before";
    EXPECT_EQ(Get(script), S_OK);
    EXPECT_EQ(ToUtf8(script), "before");
    script = "";
    EXPECT_EQ(Get(script), E_FAIL);
}

} // namespace

} // namespace openhost::testing
