// The body of a form, byte by byte.

#include "tests/support/FailingMemory.h"
#include "tests/support/HostFixture.h"

#include "host/http.h"
#include "openhost/text/Utf.h"
#include "web/FormData.h"

#include <fstream>
#include <functional>
#include <optional>
#include <type_traits>
#include <unistd.h>

namespace openhost::testing {

namespace {

using ZALVliHttpUtils::FormData;

const std::string Delimiter = "------WebKitFormBoundaryA9TZlwqNn7lCilAD\r\n";
const std::string End = "------WebKitFormBoundaryA9TZlwqNn7lCilAD--\r\n";

class Form : public HostFixture {
protected:
    /// The path of a file with `content`.
    ZALUnicodeString File(const std::string& name, const std::string& content)
    {
        std::ofstream(Folder() / name, std::ios::binary) << content;
        return FromUtf8((Folder() / name).string());
    }
    static std::string BodyOf(const FormData& form)
    {
        std::string body = "before";
        EXPECT_EQ(S_OK, form.GenContent(body));
        return body;
    }
    static std::size_t OpenDescriptors()
    {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }
};

TEST_F(Form, WithoutItemsIsTheClosingLine)
{
    EXPECT_EQ(BodyOf(FormData()), End);
}

TEST_F(Form, WritesAParameterWithoutAContentTypeAsItIs)
{
    for (const std::string& value : {std::string("value"), std::string(), "\r\n" + End}) {
        FormData form;
        form.AddParam("key", FromUtf8(value));
        EXPECT_EQ(Delimiter + "Content-Disposition: form-data; name=\"key\"\r\n\r\n" + value + "\r\n" + End,
                  BodyOf(form));
    }
}

TEST_F(Form, WritesABinaryFileAsAnOctetStream)
{
    FormData form;
    form.AddBinaryFile("data", File("a.bin", std::string("\0\r\n\xFF", 4)), "shown.bin");
    EXPECT_EQ(BodyOf(form), Delimiter +
                                "Content-Disposition: form-data; name=\"data\"; filename=\"shown.bin\"\r\n"
                                "Content-Type: application/octet-stream\r\n\r\n" +
                                std::string("\0\r\n\xFF", 4) + "\r\n" + End);
}

TEST_F(Form, WritesAZipFileAsACompressedOne)
{
    FormData form;
    form.AddZipFile("file", File("a.zip", "PK"), "shown.zip");
    EXPECT_EQ(BodyOf(form), Delimiter +
                                "Content-Disposition: form-data; name=\"file\"; filename=\"shown.zip\"\r\n"
                                "Content-Type: application/x-zip-compressed\r\n\r\nPK\r\n" +
                                End);
}

TEST_F(Form, KeepsTheOrderOfItsItemsAndTwoOfOneName)
{
    FormData form;
    form.AddParam("key", "1");
    form.AddZipFile("key", File("a.zip", "Z"), "z");
    form.AddParam("key", "2");
    const std::string body = BodyOf(form);
    EXPECT_LT(body.find("\r\n\r\n1\r\n"), body.find("\r\n\r\nZ\r\n"));
    EXPECT_LT(body.find("\r\n\r\nZ\r\n"), body.find("\r\n\r\n2\r\n"));
    EXPECT_NE(body.find("\r\n\r\n2\r\n"), std::string::npos);
}

TEST_F(Form, WritesTextsAsUtf8WithoutAnyEscape)
{
    FormData form;
    form.AddParam(u"\u00E4\"\r\n", u"\u20AC\U0001F600%\"");
    form.AddBinaryFile(u"\u4E2D", File("a", "x"), u"gr\u00F6\u00DFe\".zip");
    EXPECT_EQ(BodyOf(form),
              Delimiter + "Content-Disposition: form-data; name=\"\u00E4\"\r\n\"\r\n\r\n\u20AC\U0001F600%\"\r\n" +
                  Delimiter +
                  "Content-Disposition: form-data; name=\"\u4E2D\"; filename=\"gr\u00F6\u00DFe\".zip\"\r\n"
                  "Content-Type: application/octet-stream\r\n\r\nx\r\n" +
                  End);
}

TEST_F(Form, GivesTheSameBytesAgain)
{
    FormData form;
    form.AddZipFile("file", File("a.zip", "PK"), "a.zip");
    std::string body;
    ASSERT_EQ(S_OK, form.GenContent(body));
    const std::string first = body;
    ASSERT_EQ(S_OK, form.GenContent(body));
    EXPECT_EQ(body, first);
}

TEST_F(Form, ReadsItsFilesWhenTheBodyIsMade)
{
    FormData form;
    form.AddBinaryFile("file", FromUtf8((Folder() / "later").string()), "later");
    File("later", "1");
    EXPECT_NE(BodyOf(form).find("\r\n\r\n1\r\n"), std::string::npos);
    File("later", "22");
    EXPECT_NE(BodyOf(form).find("\r\n\r\n22\r\n"), std::string::npos);
}

TEST_F(Form, HoldsALargeFileUnchanged)
{
    std::string content(10 << 20, '\0');
    for (std::size_t index = 0; index < content.size(); ++index)
        content[index] = static_cast<char>(index * 31 >> 3);
    FormData form;
    form.AddZipFile("file", File("large", content), "large.zip");
    const std::string body = BodyOf(form);
    const std::size_t start = body.find("\r\n\r\n") + 4;
    EXPECT_EQ(body.substr(start, content.size()), content);
    EXPECT_EQ("\r\n" + End, body.substr(start + content.size()));
}

// ---------------------------------------------------------------------------------------------
// Files that make no part

TEST_F(Form, FailsForAFileThatIsMissing)
{
    FormData form;
    form.AddParam("key", "value");
    form.AddZipFile("file", FromUtf8((Folder() / "missing").string()), "a.zip");
    std::string body = "before";
    EXPECT_EQ(E_FAIL, form.GenContent(body));
    EXPECT_TRUE(body.starts_with(Delimiter + "Content-Disposition: form-data; name=\"key\""));
    EXPECT_TRUE(body.ends_with("Content-Type: application/x-zip-compressed\r\n\r\n"));
}

TEST_F(Form, FailsForAnEmptyFileAndClosesIt)
{
    FormData form;
    form.AddZipFile("file", File("empty", ""), "a.zip");
    std::string body;
    const std::size_t open = OpenDescriptors();
    EXPECT_EQ(E_FAIL, form.GenContent(body));
    EXPECT_TRUE(body.ends_with("\r\n\r\n"));
    EXPECT_EQ(OpenDescriptors(), open);
}

TEST_F(Form, FailsForAFolder)
{
    FormData form;
    form.AddBinaryFile("file", FromUtf8(Folder().string()), "a");
    std::string body;
    EXPECT_EQ(E_FAIL, form.GenContent(body));
}

TEST_F(Form, FailsForAFileOfFourGigabytes)
{
    const ZALUnicodeString path = File("sparse", "x");
    std::filesystem::resize_file(Folder() / "sparse", std::uintmax_t{1} << 32);
    FormData form;
    form.AddBinaryFile("file", path, "a");
    std::string body;
    EXPECT_EQ(E_FAIL, form.GenContent(body));
    EXPECT_LT(body.size(), 1000U);
}

TEST_F(Form, FailsForAFileThatEndsBeforeItsSize)
{
    // The system announces a page for such a file, whatever it holds.
    const std::string path = "/sys/class/net/lo/mtu";
    FormData form;
    form.AddBinaryFile("file", FromUtf8(path), "a");
    std::string body;
    EXPECT_EQ(E_FAIL, form.GenContent(body));
    EXPECT_GE(body.size(), 4096U);
}

TEST_F(Form, CanBeMadeAgainAfterAFailure)
{
    FormData form;
    form.AddZipFile("file", FromUtf8((Folder() / "later").string()), "a.zip");
    std::string body;
    ASSERT_EQ(E_FAIL, form.GenContent(body));
    File("later", "PK");
    EXPECT_EQ(S_OK, form.GenContent(body));
    EXPECT_TRUE(body.starts_with(Delimiter));
    EXPECT_TRUE(body.ends_with("\r\n\r\nPK\r\n" + End));
}

// ---------------------------------------------------------------------------------------------
// Values

TEST_F(Form, CopiesAreTheirOwn)
{
    FormData form;
    form.AddParam("key", "1");
    FormData copy(form);
    FormData assigned;
    assigned.AddParam("other", "x");
    assigned = form;
    form.AddParam("key", "2");
    EXPECT_EQ(BodyOf(copy), BodyOf(assigned));
    EXPECT_EQ(BodyOf(copy).find("2\r\n--"), std::string::npos);
    EXPECT_NE(BodyOf(form).find("2\r\n--"), std::string::npos);
}

TEST_F(Form, MovesTakeTheItemsOver)
{
    FormData form;
    form.AddParam("key", "1");
    const std::string body = BodyOf(form);
    FormData moved(std::move(form));
    EXPECT_EQ(BodyOf(moved), body);
    FormData assigned;
    assigned = std::move(moved);
    EXPECT_EQ(BodyOf(assigned), body);
    static_assert(std::is_nothrow_move_constructible_v<FormData> && std::is_nothrow_move_assignable_v<FormData>);
}

TEST_F(Form, IsItselfAfterBeingAssignedToItself)
{
    FormData form;
    form.AddParam("key", "1");
    const std::string body = BodyOf(form);
    const FormData& same = form;
    form = same;
    EXPECT_EQ(BodyOf(form), body);
}

TEST_F(Form, AssignedAgainLosesWhatItHeld)
{
    FormData form;
    form.AddParam("key", "1");
    form = FormData();
    EXPECT_EQ(BodyOf(form), End);
    form.AddParam("key", "2");
    const FormData empty;
    form = empty;
    EXPECT_EQ(BodyOf(form), End);
}

// ---------------------------------------------------------------------------------------------
// Without memory

/// Too long for the room that a text has in itself.
const ZALUnicodeString LongText = "a text of some length";

const std::function<void(FormData&)> Additions[] = {
    [](FormData& form) { form.AddParam(LongText, LongText); },
    [](FormData& form) { form.AddBinaryFile(LongText, LongText, LongText); },
    [](FormData& form) { form.AddZipFile(LongText, LongText, LongText); },
};

TEST_F(Form, ThatLostAnItemHasNoContentAnyMore)
{
    for (const auto& add : Additions) {
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            FormData form;
            form.AddParam("key", "value");
            memory.During([&] { add(form); });
            if (!memory.HasRunOut())
                return;
            std::string body = "before";
            EXPECT_EQ(E_FAIL, form.GenContent(body));
            EXPECT_EQ("", body);
            form.AddParam("key", "value");
            EXPECT_EQ(E_FAIL, form.GenContent(body));
            EXPECT_EQ(E_FAIL, FormData(form).GenContent(body));
            EXPECT_EQ(E_FAIL, FormData(std::move(form)).GenContent(body));
        });
        EXPECT_GT(failures, 2);
    }
}

TEST_F(Form, ThatLostAnItemIsWholeAgainOnceItIsAssigned)
{
    FormData form;
    FailingMemory memory(1);
    memory.During([&] { form.AddParam(LongText, LongText); });
    std::string body;
    ASSERT_EQ(E_FAIL, form.GenContent(body));
    form = FormData();
    EXPECT_EQ(BodyOf(form), End);
}

TEST_F(Form, CopiesAreWholeOrHaveNoContent)
{
    FormData form;
    form.AddParam("a name of some length", "a value of some length");
    form.AddParam("key", "value");
    const std::string whole = BodyOf(form);
    int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        std::optional<FormData> copy;
        memory.During([&] { copy.emplace(form); });
        std::string body;
        EXPECT_EQ(copy->GenContent(body), memory.HasRunOut() ? E_FAIL : S_OK);
        EXPECT_EQ(body, memory.HasRunOut() ? "" : whole);
    });
    EXPECT_GT(failures, 2);
    failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        FormData assigned;
        assigned.AddParam("other", "x");
        memory.During([&] { EXPECT_EQ(&(assigned = form), &assigned); });
        std::string body;
        EXPECT_EQ(assigned.GenContent(body), memory.HasRunOut() ? E_FAIL : S_OK);
        EXPECT_EQ(body, memory.HasRunOut() ? "" : whole);
    });
    EXPECT_GT(failures, 1);
    EXPECT_EQ(BodyOf(form), whole);
}

TEST_F(Form, IsMadeWholeOrFailsAndClosesItsFile)
{
    FormData form;
    form.AddParam("a name of some length", "a value of some length");
    form.AddZipFile("file", File("a.zip", std::string(1000, 'x')), "shown.zip");
    const std::string whole = BodyOf(form);
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        const std::size_t open = OpenDescriptors();
        std::string body;
        HRESULT result = E_INVALIDARG;
        memory.During([&] { result = form.GenContent(body); });
        EXPECT_EQ(result, memory.HasRunOut() ? E_FAIL : S_OK);
        EXPECT_EQ(OpenDescriptors(), open);
        EXPECT_EQ(BodyOf(form), whole);
    });
    EXPECT_GT(failures, 5);
}

TEST_F(Form, NamesItsContentTypeWhenThereIsMemoryAgain)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        const ZALUnicodeString* value = nullptr;
        memory.During([&] { value = &FormData::GetContentTypeHeaderValue(); });
        ASSERT_TRUE(value);
        EXPECT_EQ(value->GetLengthInChar(), memory.HasRunOut() ? 0 : 68);
    });
    EXPECT_EQ("multipart/form-data; boundary=----WebKitFormBoundaryA9TZlwqNn7lCilAD",
              ToUtf8(FormData::GetContentTypeHeaderValue()));
}

// ---------------------------------------------------------------------------------------------
// The content type

TEST_F(Form, NamesItsBoundaryInTheContentType)
{
    const ZALUnicodeString& value = FormData::GetContentTypeHeaderValue();
    EXPECT_EQ("multipart/form-data; boundary=----WebKitFormBoundaryA9TZlwqNn7lCilAD", ToUtf8(value));
    EXPECT_EQ(&value, &FormData::GetContentTypeHeaderValue());
    EXPECT_EQ("--" + ToUtf8(value).substr(ToUtf8(value).find('=') + 1) + "--\r\n", End);
}

} // namespace

} // namespace openhost::testing
