// What counts as a message of the page, and what a hostile page can do with one.

#include "tests/panel/PanelFixture.h"

namespace openhost::testing {

namespace {

class PanelMessage : public PanelFixture {
protected:
    /// Nothing that a message can change has changed.
    void ExpectUntouched()
    {
        EXPECT_EQ(Addin().GetOpApiStatus(), OpApiUnset);
        EXPECT_EQ(UploadUrl(), "");
        EXPECT_EQ(Waiting(), 0U);
        EXPECT_TRUE(Surface().Questions().empty());
        EXPECT_TRUE(Notifications().empty());
        EXPECT_TRUE(HeaderCalls().empty());
        EXPECT_EQ(Transport().Requests().size(), 0U);
    }
};

class NoMessage : public PanelMessage, public ::testing::WithParamInterface<const char*> {};

TEST_P(NoMessage, FailsWithoutATraceOrAChange)
{
    EXPECT_EQ(Send(GetParam()), E_FAIL);
    EXPECT_TRUE(Traces().empty());
    ExpectUntouched();
}

INSTANTIATE_TEST_SUITE_P(
    Texts, NoMessage,
    ::testing::Values("", " ", "velmart_ready", "{", "{}}", "null", "3", "\"velmart_ready\"", "[]",
                      R"([{"event":"velmart_ready","content":{}}])", R"({"event":"velmart_ready","content":{}} x)",
                      R"({"event":"velmart_ready","content":{},})", R"({'event':'velmart_ready','content':{}})",
                      R"({"event":"velmart_ready","content":1e999})", R"({"event":"velmart_ready","content":NaN})"));

INSTANTIATE_TEST_SUITE_P(EventIsNoText, NoMessage,
                         ::testing::Values(R"({"content":{}})", R"({"event":1,"content":{}})",
                                           R"({"event":1.5,"content":{}})", R"({"event":null,"content":{}})",
                                           R"({"event":true,"content":{}})",
                                           R"({"event":["velmart_ready"],"content":{}})",
                                           R"({"event":{"velmart_ready":1},"content":{}})",
                                           R"({"Event":"velmart_ready","content":{}})"));

class UnknownEvent : public PanelMessage, public ::testing::WithParamInterface<const char*> {};

TEST_P(UnknownEvent, FailsAndChangesNothing)
{
    EXPECT_EQ(Send(Message(GetParam())), E_FAIL);
    ExpectUntouched();
}

INSTANTIATE_TEST_SUITE_P(Names, UnknownEvent,
                         ::testing::Values("", "VELMART_READY", "Velmart_open", "velmart_ready ", " velmart_over",
                                           "velmart_read", "velmart_openn", "velmart_", "ready",
                                           "velmart_open\\u0000"));

TEST_F(PanelMessage, TracesTheNameOfAnUnknownEvent)
{
    Send(Message("VELMART_READY"));
    EXPECT_EQ(Traces(), std::vector<std::string>{"ZALVelmartMeridiaAccessAddin::OnJSMessage Event: VELMART_READY\n"});
}

class EventWithoutContent : public PanelMessage, public ::testing::WithParamInterface<const char*> {};

TEST_P(EventWithoutContent, IsTracedAndFailsAndChangesNothing)
{
    const std::string event = GetParam();
    EXPECT_EQ(Send(R"({"event":")" + event + R"("})"), E_FAIL);
    EXPECT_EQ(Traces(), std::vector<std::string>{"ZALVelmartMeridiaAccessAddin::OnJSMessage Event: " + event + "\n"});
    ExpectUntouched();
}

INSTANTIATE_TEST_SUITE_P(Events, EventWithoutContent,
                         ::testing::Values("velmart_ready", "velmart_over", "velmart_open", "velmart_download",
                                           "velmart_insert", "velmart_replace", "unknown"));

class ContentOfAnyKind : public PanelMessage, public ::testing::WithParamInterface<const char*> {};

TEST_P(ContentOfAnyKind, IsEnoughForReadyAndOver)
{
    EXPECT_EQ(Send(Message("velmart_ready", GetParam())), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
    EXPECT_EQ(Send(Message("velmart_over", GetParam())), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiOver);
}

TEST_P(ContentOfAnyKind, IsNoRequestForADownload)
{
    EXPECT_EQ(Send(Message("velmart_open", GetParam())), E_FAIL);
    EXPECT_EQ(Waiting(), 0U);
    EXPECT_EQ(Surface().Questions().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Values, ContentOfAnyKind,
                         ::testing::Values("null", "0", "-1.5", "true", "\"\"", "\"text\"", "[]", "[[{}]]", "{}"));

// ---------------------------------------------------------------------------------------------
// Hostile texts

TEST_F(PanelMessage, TakesTheLastOfSeveralEvents)
{
    EXPECT_EQ(Send(R"({"event":"velmart_over","event":"velmart_ready","content":{}})"), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
}

TEST_F(PanelMessage, RefusesNestingWithoutEnd)
{
    const std::string depth(200000, '[');
    EXPECT_EQ(Send(Message("velmart_ready", depth + std::string(200000, ']'))), E_FAIL);
    EXPECT_EQ(Send(Message("velmart_ready", depth)), E_FAIL);
    ExpectUntouched();
}

TEST_F(PanelMessage, TakesATextOfAMegabyte)
{
    const std::string filling(1 << 20, 'x');
    EXPECT_EQ(Send(Message("velmart_ready", R"({"searchByUploadUrl":")" + filling + "\"}")), S_OK);
    EXPECT_EQ(UploadUrl().size(), filling.size());
}

TEST_F(PanelMessage, TracesAnEventNameOfAMegabyte)
{
    const std::string name(1 << 20, 'e');
    EXPECT_EQ(Send(Message(name)), E_FAIL);
    EXPECT_TRUE(Traced("ZALVelmartMeridiaAccessAddin::OnJSMessage Event: " + name));
}

TEST_F(PanelMessage, ReadsASurrogateWithoutItsPartnerAsAReplacementCharacter)
{
    const std::u16string text = std::u16string(u"{\"event\":\"velmart_ready\",\"content\":{\"searchByUploadUrl\":\"a") +
                                char16_t(0xD800) + u"b\"}}";
    EXPECT_EQ(Addin().OnJSMessage(ZALUnicodeString(text.c_str())), S_OK);
    EXPECT_EQ(UploadUrl(), "a\xEF\xBF\xBD"
                           "b");
}

TEST_F(PanelMessage, RefusesAnEscapedSurrogateWithoutItsPartner)
{
    EXPECT_EQ(Send(Message("velmart_ready", R"({"searchByUploadUrl":"a\ud800b"})")), E_FAIL);
    ExpectUntouched();
}

TEST_F(PanelMessage, RefusesATextWithAZeroUnitInside)
{
    const std::u16string text = std::u16string(u"{\"event\":\"velmart_ready\"") + u'\0' + u",\"content\":{}}";
    EXPECT_EQ(Addin().OnJSMessage(ZALUnicodeString(text.c_str(), text.size())), E_FAIL);
    ExpectUntouched();
}

TEST_F(PanelMessage, KeepsNonAsciiTextAsItIs)
{
    EXPECT_EQ(Send(Message("velmart_ready", "{\"searchByUploadUrl\":\"https://\xC3\xA4\xF0\x9F\x94\xA9/\"}")), S_OK);
    EXPECT_EQ(UploadUrl(), "https://\xC3\xA4\xF0\x9F\x94\xA9/");
}

TEST_F(PanelMessage, EndingTheAddinInsideItsOwnStatusNotificationIsSurvived)
{
    Listener listener([this](ZALBaseUnknown*, ZALNotification*, void*) { ReleaseAddin(); });
    listener.Subscribe(&Addin(), StatusClass);
    ZALVelmartMeridiaAccessAddin& addin = Addin();
    addin.AddRef(); // as the adapter does while a message runs
    EXPECT_EQ(addin.OnJSMessage(Message("velmart_ready").c_str()), S_OK);
    EXPECT_EQ(addin.Release(), 0U);
    EXPECT_EQ(listener.Calls(), 1);
}

} // namespace

} // namespace openhost::testing
