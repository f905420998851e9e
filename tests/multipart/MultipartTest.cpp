// Bodies of forms as a parser of other people reads them: the judge is a program of its own.

#include "tests/support/HostFixture.h"
#include "tests/support/Places.h"

#include "openhost/text/Utf.h"
#include "web/FormData.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <openssl/sha.h>

namespace openhost::testing {

namespace {

using ZALVliHttpUtils::FormData;
using Json = nlohmann::json;

class MultipartBody : public HostFixture {
protected:
    ZALUnicodeString File(const std::string& name, const std::string& content)
    {
        std::ofstream(Folder() / name, std::ios::binary) << content;
        return FromUtf8((Folder() / name).string());
    }

    /// The parts that the judge finds in `body`, or why it refuses it.
    Json Judge(const std::string& body)
    {
        File("body", body);
        const std::string command = "'" VELMART_NODE "' '" + SourceDir() + "/tests/multipart/judge.mjs' '" +
                                    (Folder() / "body").string() + "' '" +
                                    ToUtf8(FormData::GetContentTypeHeaderValue()) + "'";
        std::FILE* pipe = popen(command.c_str(), "r");
        std::string answer;
        char buffer[4096];
        for (std::size_t count; pipe && (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            answer.append(buffer, count);
        if (!pipe || pclose(pipe) != 0)
            return "refused: " + answer;
        return Json::parse(answer, nullptr, false);
    }
    Json Judge(const FormData& form)
    {
        std::string body;
        EXPECT_EQ(S_OK, form.GenContent(body));
        return Judge(body);
    }

    static Json Value(const std::string& name, const std::string& value)
    {
        return {{"name", name}, {"value", value}, {"truncated", false}};
    }
    static Json FilePart(const std::string& name, const std::string& fileName, const std::string& type,
                         const std::string& content)
    {
        unsigned char digest[SHA256_DIGEST_LENGTH];
        SHA256(reinterpret_cast<const unsigned char*>(content.data()), content.size(), digest);
        std::string text;
        for (const unsigned char byte : digest) {
            char hex[3];
            std::snprintf(hex, sizeof hex, "%02x", byte);
            text += hex;
        }
        return {{"name", name}, {"filename", fileName}, {"type", type}, {"size", content.size()}, {"sha256", text}};
    }
};

TEST_F(MultipartBody, OfAnEmptyFormHasNoParts)
{
    EXPECT_EQ(Judge(FormData()), Json::array());
}

TEST_F(MultipartBody, HoldsValuesInTheirOrder)
{
    FormData form;
    form.AddParam("a", "1");
    form.AddParam("b", "");
    form.AddParam("a", u"line\r\n--line \u20AC \U0001F529");
    EXPECT_EQ(Judge(form),
              Json::array({Value("a", "1"), Value("b", ""), Value("a", "line\r\n--line \u20AC \U0001F529")}));
}

TEST_F(MultipartBody, HoldsFilesUnchanged)
{
    std::string large(10 << 20, '\0');
    for (std::size_t index = 0; index < large.size(); ++index)
        large[index] = static_cast<char>(index * 31 >> 3);
    const std::string lines = std::string("\r\n--\r\n------WebKitFormBoundary\r\n") + '\0' + '\xFF';
    FormData form;
    form.AddZipFile("file", File("large", large), u"B\u00FCgel \u4E2D.zip");
    form.AddParam("between", "x");
    form.AddBinaryFile("data", File("lines", lines), "lines.bin");
    EXPECT_EQ(Judge(form),
              Json::array({FilePart("file", "B\u00FCgel \u4E2D.zip", "application/x-zip-compressed", large),
                           Value("between", "x"), FilePart("data", "lines.bin", "application/octet-stream", lines)}));
}

TEST_F(MultipartBody, IsRefusedByTheJudgeWhenItIsCutOff)
{
    FormData form;
    form.AddZipFile("file", File("a", "content"), "a.zip");
    std::string body;
    ASSERT_EQ(S_OK, form.GenContent(body));
    EXPECT_EQ("refused: Unexpected end of form\n", Judge(body.substr(0, body.size() - 6)));
}

} // namespace

} // namespace openhost::testing
