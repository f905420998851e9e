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

ZALOmxAny Json(const std::string& text)
{
    ZALOmxAny value;
    EXPECT_EQ(ZALOmxJson().parse(ZALOmxUTF8String(text.data(), text.size()), value), S_OK) << text;
    return value;
}

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
    EXPECT_EQ(GetTemplatesURL(Json(urls), part, product, read.method), S_OK);
    return {ToUtf8(part), ToUtf8(product), read.method};
}

using TemplatesURL = HostFixture;

TEST_F(TemplatesURL, IsReadWithTheMethod)
{
    EXPECT_EQ(ReadAnnouncement(R"({"zalpartTemplate": "https://p", "zalproductTemplate": "https://q",
                                   "preferredSaveMethod": "new from"})"),
              (Announcement{"https://p", "https://q", SaveMethodNewFrom}));
}

TEST_F(TemplatesURL, LeavesTheOutputsAloneWithoutAnyKey)
{
    for (const char* urls : {"{}", "null", "[]", R"("zalpartTemplate")"})
        EXPECT_EQ(ReadAnnouncement(urls), (Announcement{"part before", "product before", SaveMethodNone})) << urls;
}

TEST_F(TemplatesURL, TakesNoValueOfAnotherType)
{
    for (const char* value : {"1", "1.5", "true", "null", R"(["https://p"])", R"({"a": "b"})"})
        EXPECT_EQ(ReadAnnouncement(std::string(R"({"zalpartTemplate": )") + value + R"(, "zalproductTemplate": )" +
                                   value + R"(, "preferredSaveMethod": )" + value + "}"),
                  (Announcement{"part before", "product before", SaveMethodNone}))
            << value;
}

TEST_F(TemplatesURL, TakesAnEmptyTextAsOne)
{
    EXPECT_EQ(ReadAnnouncement(R"({"zalpartTemplate": "", "zalproductTemplate": ""})"),
              (Announcement{"", "", SaveMethodNone}));
}

TEST_F(TemplatesURL, TakesTheMethodInAnyLetterCaseAndNoOtherText)
{
    const auto methodOf = [](const std::string& text) {
        return ReadAnnouncement(R"({"preferredSaveMethod": ")" + text + "\"}").method;
    };
    EXPECT_EQ(methodOf("save as"), SaveMethodSaveAs);
    EXPECT_EQ(methodOf("SAVE AS"), SaveMethodSaveAs);
    EXPECT_EQ(methodOf("new from"), SaveMethodNewFrom);
    EXPECT_EQ(methodOf("New From"), SaveMethodNewFrom);
    for (const char* other : {"", "save-as", "new-from", "saveas", " save as", "save as ", "save"})
        EXPECT_EQ(methodOf(other), SaveMethodNone) << other;
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
        EXPECT_EQ(GetStoredTemplatePathes(part, product), S_OK);
        return {ToUtf8(part), ToUtf8(product)};
    }
};

TEST_F(StoredTemplates, AreEmptyAtFirst)
{
    EXPECT_THAT(Stored(), ElementsAre("", ""));
}

TEST_F(StoredTemplates, AreGivenWhileTheirFilesAreThere)
{
    Write(PartTemplate(), "part");
    Write(ProductTemplate(), "product");
    EXPECT_EQ(StoreTemplatePathes(Text(PartTemplate()), Text(ProductTemplate())), S_OK);
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

TEST_F(SanitizedName, HasNoSeparatorsAndColons)
{
    EXPECT_EQ(Sanitized("a/b:c.txt"), "a_b_c.txt");
}

TEST_F(SanitizedName, KeepsSpacesDotsAndBrackets)
{
    EXPECT_EQ(Sanitized("Bolt M6 (DIN 933).stp"), "Bolt M6 (DIN 933).stp");
    EXPECT_EQ(Sanitized("  a . "), "  a . ") << "nothing is trimmed";
    EXPECT_EQ(Sanitized(".."), "..");
}

TEST_F(SanitizedName, HasALineForEachCodeUnitThatIsNotAllowed)
{
    EXPECT_EQ(Sanitized("*?:|<>\"/\\"), "_________");
    EXPECT_EQ(Sanitized("äöü"), "___");
    EXPECT_EQ(Sanitized("\U0001F529"), "__") << "two code units";
    EXPECT_EQ(Sanitized("\t\n\x1F\x7F"), "____");
    EXPECT_EQ(Sanitized(" ~"), " ~") << "the ends of the range";
    EXPECT_EQ(ToUtf8(SanitizeQ7FileName(ZALUnicodeString(u"a\0b", 3))), "a_b");
}

TEST_F(SanitizedName, KeepsEveryOtherVisibleCharacter)
{
    std::string expected;
    std::string all;
    for (char unit = 0x20; unit < 0x7F; ++unit) {
        all += unit;
        expected += std::string("*?:|<>\"/\\").find(unit) == std::string::npos ? unit : '_';
    }
    EXPECT_EQ(Sanitized(all), expected);
}

TEST_F(SanitizedName, OfNothingIsEmpty)
{
    EXPECT_EQ(Sanitized(""), "");
}

TEST_F(SanitizedName, OfATextThatCannotBeReadIsEmpty)
{
    answerToUnits = E_FAIL;
    EXPECT_EQ(Sanitized("bolt"), "");
    answerToUnits = S_FALSE;
    EXPECT_EQ(Sanitized("bolt"), "bolt");
    answerToUnits = S_OK;
    EXPECT_EQ(Sanitized("bolt"), "bolt");
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
        EXPECT_EQ(CheckIfQ7FileExists(Text(Parts()), FromUtf8(name), found, path), S_OK);
        if (found == 0) {
            EXPECT_EQ(ToUtf8(path), "before");
            return "nothing";
        }
        EXPECT_EQ(found, 1);
        return Workspace.Label(ToUtf8(path));
    }
    void There(const std::string& name) { Write(Parts() / name, name); }
};

TEST_F(DocumentThere, IsAPartBeforeAProductOfThatName)
{
    EXPECT_EQ(Find("bolt"), "nothing");
    There("bolt");
    EXPECT_EQ(Find("bolt"), "nothing") << "no document";
    There("bolt.ZALProduct");
    EXPECT_EQ(Find("bolt"), "parts/bolt.ZALProduct");
    There("bolt.ZALPart");
    EXPECT_EQ(Find("bolt"), "parts/bolt.ZALPart");
}

TEST_F(DocumentThere, IsThisVeryFileForTheNameOfADocument)
{
    There("bolt.ZALPart.ZALPart");
    There("bolt.ZALProduct");
    EXPECT_EQ(Find("bolt.ZALPart"), "nothing");
    There("bolt.ZALPart");
    EXPECT_EQ(Find("bolt.ZALPart"), "parts/bolt.ZALPart");
    EXPECT_EQ(Find("bolt.ZALProduct"), "parts/bolt.ZALProduct");
}

TEST_F(DocumentThere, KnowsExtensionsInAnyLetterCase)
{
    There("bolt.zalpart.ZALPart");
    EXPECT_EQ(Find("bolt.zalpart"), "nothing");
    There("bolt.zalpart");
    EXPECT_EQ(Find("bolt.zalpart"), "parts/bolt.zalpart");
}

TEST_F(DocumentThere, KeepsAnotherExtensionInFront)
{
    There("bolt.ZALPart");
    EXPECT_EQ(Find("bolt.stp"), "nothing");
    There("bolt.stp.ZALProduct");
    EXPECT_EQ(Find("bolt.stp"), "parts/bolt.stp.ZALProduct");
    There("bolt.stp.ZALPart");
    EXPECT_EQ(Find("bolt.stp"), "parts/bolt.stp.ZALPart");
}

TEST_F(DocumentThere, MayBeAFolder)
{
    std::filesystem::create_directory(Parts() / "bolt.ZALPart");
    EXPECT_EQ(Find("bolt"), "parts/bolt.ZALPart");
}

TEST_F(DocumentThere, WithoutANameStandsBesideTheFolder)
{
    EXPECT_EQ(Find(""), "nothing");
    Write(Folder() / "parts.ZALPart", "");
    EXPECT_EQ(Find(""), "parts.ZALPart");
}

// ---------------------------------------------------------------------------------------------
// Paths

using FilePath = TemplateFixture;

TEST_F(FilePath, JoinsNamesAndExtensions)
{
    ZALVliFilePath path("/a");
    path.AppendPath("b");
    EXPECT_EQ(ToUtf8(path.GetPath()), "/a/b");
    path.AppendExtension("ZALPart");
    EXPECT_EQ(ToUtf8(path.GetPath()), "/a/b.ZALPart");
    path.AppendExtension(".x");
    EXPECT_EQ(ToUtf8(path.GetPath()), "/a/b.ZALPart..x") << "the extension is taken as it is";
}

TEST_F(FilePath, IsCopiedByValue)
{
    const ZALVliFilePath path("/a");
    ZALVliFilePath copy(path);
    copy.AppendPath("b");
    EXPECT_EQ(ToUtf8(path.GetPath()), "/a");
    copy = path;
    EXPECT_EQ(ToUtf8(copy.GetPath()), "/a");
}

TEST_F(FilePath, GivesNameAndExtension)
{
    EXPECT_EQ(ToUtf8(ZALVliFilePath("/a/b.c.ZALPart").GetFileName()), "b.c.ZALPart");
    EXPECT_EQ(ToUtf8(ZALVliFilePath("a\\b.stp").GetFileName()), "b.stp");
    EXPECT_EQ(ToUtf8(ZALVliFilePath("/a/b.c.ZALPart").GetExtension()), "ZALPart");
    EXPECT_EQ(ToUtf8(ZALVliFilePath("/a.b/c").GetExtension()), "");
}

TEST_F(FilePath, KnowsDocumentsInAnyLetterCase)
{
    for (const char* part : {"a.ZALPart", "a.zalpart", "a.ZALPART"}) {
        EXPECT_TRUE(ZALVliFilePath(part).IsPartFile()) << part;
        EXPECT_FALSE(ZALVliFilePath(part).IsProductFile()) << part;
    }
    for (const char* product : {"a.ZALProduct", "a.zalproduct"}) {
        EXPECT_TRUE(ZALVliFilePath(product).IsProductFile()) << product;
        EXPECT_FALSE(ZALVliFilePath(product).IsPartFile()) << product;
    }
    for (const char* other : {"", "a", "ZALPart", "a.ZALPart.stp", "a.ZALPar", "a.ZALParts"}) {
        EXPECT_FALSE(ZALVliFilePath(other).IsPartFile()) << other;
        EXPECT_FALSE(ZALVliFilePath(other).IsProductFile()) << other;
    }
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
