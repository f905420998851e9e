// How a form reads its files, and what is left of a body that fails.

#include "tests/steps/Services.h"

#include "web/FormData.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ZALVliHttpUtils::FormData;

const std::string Head = "------WebKitFormBoundaryA9TZlwqNn7lCilAD\r\n"
                         "Content-Disposition: form-data; name=\"file\"; filename=\"shown\"\r\n"
                         "Content-Type: application/octet-stream\r\n\r\n";
const std::string End = "------WebKitFormBoundaryA9TZlwqNn7lCilAD--\r\n";

class FormSteps : public StepsFixture {
protected:
    FormSteps()
    {
        Asked().size = 3;
        Asked().content = "abc";
        form_.AddBinaryFile("file", "/a", "shown");
        form_.AddBinaryFile("file", "/b", "shown");
    }
    HRESULT Generate() { return form_.GenContent(body); }

    std::string body = "before";

private:
    FormData form_;
};

TEST_F(FormSteps, ReadEachFileInOnePiece)
{
    EXPECT_EQ(Generate(), S_OK);
    EXPECT_THAT(Calls(), ElementsAre("open /a rb", "size 5", "read 5 3", "close 5", "open /b rb", "size 5", "read 5 3",
                                     "close 5"));
    EXPECT_EQ(body, Head + "abc\r\n" + Head + "abc\r\n" + End);
}

TEST_F(FormSteps, OpenAPathUpToItsFirstZero)
{
    FormData form;
    form.AddZipFile("file", ZALUnicodeString(u"/a\0b", 4), "shown");
    EXPECT_EQ(form.GenContent(body), S_OK);
    EXPECT_EQ(Calls().front(), "open /a rb");
}

TEST_F(FormSteps, EndAtAFileThatCannotBeOpenedAndCloseItsHandleAllTheSame)
{
    Asked().openResult = E_INVALIDARG;
    EXPECT_EQ(Generate(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre("open /a rb", "close 0"));
    EXPECT_EQ(body, Head);
}

TEST_F(FormSteps, EndAtAFileWhoseSizeIsNotKnown)
{
    Asked().sizeResult = E_INVALIDARG;
    EXPECT_EQ(Generate(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre("open /a rb", "size 5", "close 5"));
    EXPECT_EQ(body, Head);
}

TEST_F(FormSteps, EndAtAnEmptyFile)
{
    Asked().size = 0;
    EXPECT_EQ(Generate(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre("open /a rb", "size 5", "close 5"));
    EXPECT_EQ(body, Head);
}

TEST_F(FormSteps, EndAtAReadThatFailsThoughAllHasCome)
{
    Asked().readResult = E_INVALIDARG;
    EXPECT_EQ(Generate(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre("open /a rb", "size 5", "read 5 3", "close 5"));
    EXPECT_EQ(body, Head + "abc");
}

TEST_F(FormSteps, EndAtAShortReadAndLeaveTheBodyGrown)
{
    Asked().content = "ab";
    EXPECT_EQ(Generate(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre("open /a rb", "size 5", "read 5 3", "close 5"));
    EXPECT_EQ(body, Head + "ab" + '\0');
}

TEST_F(FormSteps, GoOnAfterEveryResultThatIsNotNegative)
{
    Asked().openResult = Asked().sizeResult = Asked().readResult = S_FALSE;
    EXPECT_EQ(Generate(), S_OK);
    EXPECT_EQ(body, Head + "abc\r\n" + Head + "abc\r\n" + End);
}

TEST_F(FormSteps, DoNotLookAtTheResultOfTheClosing)
{
    Asked().closeResult = E_FAIL;
    EXPECT_EQ(Generate(), S_OK);
}

} // namespace

} // namespace openhost::testing
