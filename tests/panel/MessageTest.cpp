// What counts as a message of the page, and what a hostile page can do with one.

#include "tests/panel/PanelFixture.h"

namespace openhost::testing {
namespace {

class PanelMessage : public PanelFixture {
protected:
    static std::string EventTrace(const std::string& event)
    {
        return "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: " + event + "\n";
    }
    /// Nothing that a message can change has changed.
    void ExpectUntouched()
    {
        EXPECT_EQ(OpApiUnset, Addin().GetOpApiStatus());
        EXPECT_EQ("", UploadUrl());
        EXPECT_EQ(0U, Waiting());
        EXPECT_TRUE(Surface().Questions().empty());
        EXPECT_TRUE(Notifications().empty());
        EXPECT_TRUE(HeaderCalls().empty());
        EXPECT_EQ(0U, Transport().Requests().size());
    }
};

TEST_F(PanelMessage, TextThatIsNoMessageFailsWithoutATraceOrAChange)
{
    for (const char* text :
         {"", " ", "velmart_ready", "{", "{}}", "null", "3", "\"velmart_ready\"", "[]",
          R"([{"event":"velmart_ready","content":{}}])", R"({"event":"velmart_ready","content":{}} x)",
          R"({"event":"velmart_ready","content":{},})", R"({'event':'velmart_ready','content':{}})",
          R"({"event":"velmart_ready","content":1e999})", R"({"event":"velmart_ready","content":NaN})",
          // The event is not text.
          R"({"content":{}})", R"({"event":1,"content":{}})", R"({"event":1.5,"content":{}})",
          R"({"event":null,"content":{}})", R"({"event":true,"content":{}})",
          R"({"event":["velmart_ready"],"content":{}})", R"({"event":{"velmart_ready":1},"content":{}})",
          R"({"Event":"velmart_ready","content":{}})"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(E_FAIL, Send(text));
        EXPECT_TRUE(Traces().empty());
        ExpectUntouched();
    }
}

TEST_F(PanelMessage, UnknownEventIsTracedAndFailsAndChangesNothing)
{
    for (const char* event : {"", "VELMART_READY", "Velmart_open", "velmart_ready ", " velmart_over", "velmart_read",
                              "velmart_openn", "velmart_", "ready", "velmart_open\\u0000"}) {
        SCOPED_TRACE(event);
        EXPECT_EQ(E_FAIL, Send(Message(event)));
        ExpectUntouched();
    }
    EXPECT_EQ(EventTrace("VELMART_READY"), Traces().at(1));
}

TEST_F(PanelMessage, EventWithoutContentIsTracedAndFailsAndChangesNothing)
{
    for (const std::string event : {"velmart_ready", "velmart_over", "velmart_open", "velmart_download",
                                    "velmart_insert", "velmart_replace", "unknown"}) {
        SCOPED_TRACE(event);
        EXPECT_EQ(E_FAIL, Send(R"({"event":")" + event + R"("})"));
        EXPECT_EQ(EventTrace(event), Traces().back());
        ExpectUntouched();
    }
    EXPECT_EQ(7U, Traces().size());
}

TEST_F(PanelMessage, ContentOfAnyKindIsEnoughForReadyAndOverAndNoRequest)
{
    for (const char* content : {"null", "0", "-1.5", "true", "\"\"", "\"text\"", "[]", "[[{}]]", "{}"}) {
        SCOPED_TRACE(content);
        const std::size_t asked = Surface().Questions().size();
        EXPECT_EQ(S_OK, Send(Message("velmart_ready", content)));
        EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
        EXPECT_EQ(S_OK, Send(Message("velmart_over", content)));
        EXPECT_EQ(OpApiOver, Addin().GetOpApiStatus());
        EXPECT_EQ(E_FAIL, Send(Message("velmart_open", content)));
        EXPECT_EQ(0U, Waiting());
        EXPECT_EQ(asked + 1, Surface().Questions().size());
    }
}

// ---------------------------------------------------------------------------------------------
// Hostile texts

TEST_F(PanelMessage, TakesTheLastOfSeveralEvents)
{
    EXPECT_EQ(S_OK, Send(R"({"event":"velmart_over","event":"velmart_ready","content":{}})"));
    EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
}

TEST_F(PanelMessage, RefusesNestingWithoutEnd)
{
    const std::string depth(200000, '[');
    EXPECT_EQ(E_FAIL, Send(Message("velmart_ready", depth + std::string(200000, ']'))));
    EXPECT_EQ(E_FAIL, Send(Message("velmart_ready", depth)));
    ExpectUntouched();
}

TEST_F(PanelMessage, TakesATextOfAMegabyte)
{
    const std::string filling(1 << 20, 'x');
    EXPECT_EQ(S_OK, Send(Message("velmart_ready", R"({"searchByUploadUrl":")" + filling + "\"}")));
    EXPECT_EQ(filling.size(), UploadUrl().size());
}

TEST_F(PanelMessage, TracesAnEventNameOfAMegabyte)
{
    const std::string name(1 << 20, 'e');
    EXPECT_EQ(E_FAIL, Send(Message(name)));
    EXPECT_TRUE(Traced("ZALVelmartMeridiaAccessAddin::OnJSMessage Event: " + name));
}

TEST_F(PanelMessage, KeepsTextAsItIsButForASurrogateWithoutItsPartner)
{
    EXPECT_EQ(S_OK, Send(Message("velmart_ready", "{\"searchByUploadUrl\":\"https://\xC3\xA4\xF0\x9F\x94\xA9/\"}")));
    EXPECT_EQ("https://\xC3\xA4\xF0\x9F\x94\xA9/", UploadUrl());
    const std::u16string text = std::u16string(u"{\"event\":\"velmart_ready\",\"content\":{\"searchByUploadUrl\":\"a") +
                                char16_t(0xD800) + u"b\"}}";
    EXPECT_EQ(S_OK, Addin().OnJSMessage(ZALUnicodeString(text.c_str())));
    EXPECT_EQ("a\uFFFDb", UploadUrl());
}

TEST_F(PanelMessage, RefusesAZeroUnitAndAnEscapedSurrogateWithoutItsPartner)
{
    const std::u16string text = std::u16string(u"{\"event\":\"velmart_ready\"") + u'\0' + u",\"content\":{}}";
    EXPECT_EQ(E_FAIL, Addin().OnJSMessage(ZALUnicodeString(text.c_str(), text.size())));
    EXPECT_EQ(E_FAIL, Send(Message("velmart_ready", R"({"searchByUploadUrl":"a\ud800b"})")));
    ExpectUntouched();
}

TEST_F(PanelMessage, EndingTheAddinInsideItsOwnStatusNotificationIsSurvived)
{
    Listener listener([this](ZALBaseUnknown*, ZALNotification*, void*) { ReleaseAddin(); });
    listener.Subscribe(&Addin(), StatusClass);
    ZALVelmartMeridiaAccessAddin& addin = Addin();
    addin.AddRef(); // as the adapter does while a message runs
    EXPECT_EQ(S_OK, addin.OnJSMessage(Message("velmart_ready").c_str()));
    EXPECT_EQ(0U, addin.Release());
    EXPECT_EQ(1, listener.Calls());
}

} // namespace
} // namespace openhost::testing
