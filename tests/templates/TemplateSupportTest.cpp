// The page's announcement, the templates that are at hand, names of documents.

#include "tests/templates/TemplateFixture.h"

#include "templates/ZALVliFilePath.h"

#include <algorithm>

namespace {

/// What the host answers when it is asked for the units of 16 bits of a text.
HRESULT answerToUnits = S_OK;

} // namespace

// Takes the place of the host's own operation in this program.
HRESULT ZALUnicodeString::ConvertToUCChar(char16_t* units, int& count) const
{
    count = GetLengthInChar();
    std::copy_n(CastToUTF16Ptr(), count, units);
    return answerToUnits;
}

namespace openhost::testing {
namespace {

using namespace ZALVliTemplateSupportUtilities;
using ::testing::ElementsAre;

// ---------------------------------------------------------------------------------------------
// Announcement

struct Announcement {
    std::string part = "part before";
    std::string product = "product before";
    PreferredSaveMethod method = static_cast<PreferredSaveMethod>(9);

    friend bool operator==(const Announcement&, const Announcement&) = default;
};

Announcement ReadAnnouncement(const std::string& urls)
{
    Announcement read;
    ZALUnicodeString part = FromUtf8(read.part);
    ZALUnicodeString product = FromUtf8(read.product);
    ZALOmxAny announced;
    EXPECT_EQ(S_OK, ZALOmxJson().parse(ZALOmxUTF8String(urls.data(), urls.size()), announced)) << urls;
    EXPECT_EQ(S_OK, GetTemplatesURL(announced, part, product, read.method));
    return {ToUtf8(part), ToUtf8(product), read.method};
}

using TemplatesURL = HostFixture;

TEST_F(TemplatesURL, IsReadWithTheMethod)
{
    EXPECT_EQ((Announcement{"https://p", "https://q", SaveMethodNewFrom}),
              ReadAnnouncement(R"({"zalpartTemplate": "https://p", "zalproductTemplate": "https://q",
                                   "preferredSaveMethod": "new from"})"));
    EXPECT_EQ((Announcement{"", "", SaveMethodNone}),
              ReadAnnouncement(R"({"zalpartTemplate": "", "zalproductTemplate": ""})"));
}

TEST_F(TemplatesURL, LeavesTheOutputsAloneWithoutAnyKey)
{
    for (const char* urls : {"{}", "null", "[]", R"("zalpartTemplate")"})
        EXPECT_EQ((Announcement{"part before", "product before", SaveMethodNone}), ReadAnnouncement(urls)) << urls;
}

TEST_F(TemplatesURL, TakesNoValueOfAnotherType)
{
    for (const char* value : {"1", "1.5", "true", "null", R"(["https://p"])", R"({"a": "b"})"})
        EXPECT_EQ((Announcement{"part before", "product before", SaveMethodNone}),
                  ReadAnnouncement(std::string(R"({"zalpartTemplate": )") + value + R"(, "zalproductTemplate": )" +
                                   value + R"(, "preferredSaveMethod": )" + value + "}"))
            << value;
}

TEST_F(TemplatesURL, TakesTheMethodInAnyLetterCaseAndNoOtherText)
{
    const auto methodOf = [](const std::string& text) {
        return ReadAnnouncement(R"({"preferredSaveMethod": ")" + text + "\"}").method;
    };
    EXPECT_EQ(SaveMethodSaveAs, methodOf("save as"));
    EXPECT_EQ(SaveMethodSaveAs, methodOf("SAVE AS"));
    EXPECT_EQ(SaveMethodNewFrom, methodOf("new from"));
    EXPECT_EQ(SaveMethodNewFrom, methodOf("New From"));
    for (const char* other : {"", "save-as", "new-from", "saveas", " save as", "save as ", "save"})
        EXPECT_EQ(SaveMethodNone, methodOf(other)) << other;
}

TEST(SaveMethods, HaveTheNumbersOfThePage)
{
    EXPECT_EQ(SaveMethodNone, 0);
    EXPECT_EQ(SaveMethodNewFrom, 1);
    EXPECT_EQ(SaveMethodSaveAs, 2);
}

// ---------------------------------------------------------------------------------------------
// Store

class StoredTemplates : public TemplateFixture {
protected:
    ~StoredTemplates() override { StoreTemplatePathes({}, {}); }

    static Texts Stored()
    {
        ZALUnicodeString part = "part before";
        ZALUnicodeString product = "product before";
        EXPECT_EQ(S_OK, GetStoredTemplatePathes(part, product));
        return {ToUtf8(part), ToUtf8(product)};
    }
};

TEST_F(StoredTemplates, AreGivenWhileTheirFilesAreThere)
{
    EXPECT_THAT(Stored(), ElementsAre("", "")) << "at first";
    Write(PartTemplate(), "part");
    Write(ProductTemplate(), "product");
    EXPECT_EQ(S_OK, StoreTemplatePathes(Text(PartTemplate()), Text(ProductTemplate())));
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
    std::filesystem::remove(PartTemplate());
    EXPECT_THAT(Stored(), ElementsAre("", ProductTemplate().string()));
    Write(PartTemplate(), "again");
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string())) << "it stays stored";
}

TEST_F(StoredTemplates, AreForgottenByEmptyPaths)
{
    Write(PartTemplate(), "part");
    Write(ProductTemplate(), "product");
    StoreTemplatePathes(Text(PartTemplate()), Text(ProductTemplate()));
    StoreTemplatePathes({}, Text(ProductTemplate()));
    EXPECT_THAT(Stored(), ElementsAre("", ProductTemplate().string()));
    StoreTemplatePathes({}, {});
    EXPECT_THAT(Stored(), ElementsAre("", ""));
}

// ---------------------------------------------------------------------------------------------
// Names

std::string Sanitized(const std::string& name)
{
    return ToUtf8(SanitizeQ7FileName(FromUtf8(name)));
}

using SanitizedName = HostFixture;

TEST_F(SanitizedName, HasALineForEachCodeUnitThatIsNotAllowed)
{
    for (const auto& [name, sanitized] :
         {std::pair("", ""), std::pair("a/b:c.txt", "a_b_c.txt"), std::pair("Bolt (DIN 933).stp", "Bolt (DIN 933).stp"),
          std::pair("  a . ", "  a . "), std::pair("..", ".."), std::pair("*?:|<>\"/\\", "_________"),
          std::pair("äöü", "___"), std::pair("\U0001F529", "__"), std::pair("\t\n\x1F\x7F", "____"),
          std::pair(" ~", " ~")})
        EXPECT_EQ(sanitized, Sanitized(name));
    EXPECT_EQ("a_b", ToUtf8(SanitizeQ7FileName(ZALUnicodeString(u"a\0b", 3))));
}

TEST_F(SanitizedName, KeepsEveryOtherVisibleCharacter)
{
    std::string expected;
    std::string all;
    for (char unit = 0x20; unit < 0x7F; ++unit) {
        all += unit;
        expected += std::string("*?:|<>\"/\\").find(unit) == std::string::npos ? unit : '_';
    }
    EXPECT_EQ(expected, Sanitized(all));
}

TEST_F(SanitizedName, OfATextThatCannotBeReadIsEmpty)
{
    answerToUnits = E_FAIL;
    EXPECT_EQ("", Sanitized("bolt"));
    answerToUnits = S_FALSE;
    EXPECT_EQ("bolt", Sanitized("bolt"));
    answerToUnits = S_OK;
    EXPECT_EQ("bolt", Sanitized("bolt"));
}

// ---------------------------------------------------------------------------------------------
// Documents that are there

class DocumentThere : public TemplateFixture {
protected:
    /// What is found for `name` in Parts(), relative to it; "nothing" for nothing.
    std::string Find(const std::string& name)
    {
        unsigned char found = 7;
        ZALUnicodeString path = "before";
        EXPECT_EQ(S_OK, CheckIfQ7FileExists(Text(Parts()), FromUtf8(name), found, path));
        if (found == 0) {
            EXPECT_EQ("before", ToUtf8(path));
            return "nothing";
        }
        EXPECT_EQ(1, found);
        return Workspace.Label(ToUtf8(path));
    }
    void There(const std::string& name) { Write(Parts() / name, name); }
};

TEST_F(DocumentThere, IsAPartBeforeAProductOfThatName)
{
    EXPECT_EQ("nothing", Find("bolt"));
    There("bolt");
    EXPECT_EQ("nothing", Find("bolt")) << "no document";
    There("bolt.ZALProduct");
    EXPECT_EQ("parts/bolt.ZALProduct", Find("bolt"));
    There("bolt.ZALPart");
    EXPECT_EQ("parts/bolt.ZALPart", Find("bolt"));
}

TEST_F(DocumentThere, IsThisVeryFileForTheNameOfADocument)
{
    There("bolt.ZALPart.ZALPart");
    There("bolt.ZALProduct");
    EXPECT_EQ("nothing", Find("bolt.ZALPart"));
    There("bolt.ZALPart");
    EXPECT_EQ("parts/bolt.ZALPart", Find("bolt.ZALPart"));
    EXPECT_EQ("parts/bolt.ZALProduct", Find("bolt.ZALProduct"));
}

TEST_F(DocumentThere, KnowsExtensionsInAnyLetterCase)
{
    There("bolt.zalpart.ZALPart");
    EXPECT_EQ("nothing", Find("bolt.zalpart"));
    There("bolt.zalpart");
    EXPECT_EQ("parts/bolt.zalpart", Find("bolt.zalpart"));
}

TEST_F(DocumentThere, KeepsAnotherExtensionInFront)
{
    There("bolt.ZALPart");
    EXPECT_EQ("nothing", Find("bolt.stp"));
    There("bolt.stp.ZALProduct");
    EXPECT_EQ("parts/bolt.stp.ZALProduct", Find("bolt.stp"));
    There("bolt.stp.ZALPart");
    EXPECT_EQ("parts/bolt.stp.ZALPart", Find("bolt.stp"));
}

TEST_F(DocumentThere, MayBeAFolder)
{
    std::filesystem::create_directory(Parts() / "bolt.ZALPart");
    EXPECT_EQ("parts/bolt.ZALPart", Find("bolt"));
}

TEST_F(DocumentThere, WithoutANameStandsBesideTheFolder)
{
    EXPECT_EQ("nothing", Find(""));
    Write(Folder() / "parts.ZALPart", "");
    EXPECT_EQ("parts.ZALPart", Find(""));
}

// ---------------------------------------------------------------------------------------------
// Paths

using FilePath = TemplateFixture;

TEST_F(FilePath, JoinsNamesAndExtensions)
{
    ZALVliFilePath path("/a");
    path.AppendPath("b");
    EXPECT_EQ("/a/b", ToUtf8(path.GetPath()));
    path.AppendExtension("ZALPart");
    EXPECT_EQ("/a/b.ZALPart", ToUtf8(path.GetPath()));
    path.AppendExtension(".x");
    EXPECT_EQ("/a/b.ZALPart..x", ToUtf8(path.GetPath())) << "the extension is taken as it is";
}

TEST_F(FilePath, IsCopiedByValue)
{
    const ZALVliFilePath path("/a");
    ZALVliFilePath copy(path);
    copy.AppendPath("b");
    EXPECT_EQ("/a", ToUtf8(path.GetPath()));
    copy = path;
    EXPECT_EQ("/a", ToUtf8(copy.GetPath()));
}

TEST_F(FilePath, GivesNameAndExtension)
{
    EXPECT_EQ("b.c.ZALPart", ToUtf8(ZALVliFilePath("/a/b.c.ZALPart").GetFileName()));
    EXPECT_EQ("b.stp", ToUtf8(ZALVliFilePath("a\\b.stp").GetFileName()));
    EXPECT_EQ("ZALPart", ToUtf8(ZALVliFilePath("/a/b.c.ZALPart").GetExtension()));
    EXPECT_EQ("", ToUtf8(ZALVliFilePath("/a.b/c").GetExtension()));
}

TEST_F(FilePath, KnowsDocumentsInAnyLetterCase)
{
    const auto expect = [](bool isPart, bool isProduct, const std::vector<const char*>& paths) {
        for (const char* path : paths) {
            EXPECT_EQ(isPart, ZALVliFilePath(path).IsPartFile()) << path;
            EXPECT_EQ(isProduct, ZALVliFilePath(path).IsProductFile()) << path;
        }
    };
    expect(true, false, {"a.ZALPart", "a.zalpart", "a.ZALPART"});
    expect(false, true, {"a.ZALProduct", "a.zalproduct"});
    expect(false, false, {"", "a", "ZALPart", "a.ZALPart.stp", "a.ZALPar", "a.ZALParts"});
}

TEST_F(FilePath, ExistsAsAFileOrAFolder)
{
    EXPECT_FALSE(ZALVliFilePath("").Exists());
    EXPECT_FALSE(ZALVliFilePath(Text(Parts() / "a")).Exists());
    Write(Parts() / "a", "");
    EXPECT_TRUE(ZALVliFilePath(Text(Parts() / "a")).Exists());
    EXPECT_TRUE(ZALVliFilePath(Text(Parts())).Exists());
}

} // namespace
} // namespace openhost::testing
