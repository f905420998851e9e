// What the addin asks of single services of the host. The services are the test's own: what is defined here takes the
// place of the host's operations in this program.

#include "tests/support/HostFixture.h"

#include "host/dialog_engine.h"
#include "host/frame.h"
#include "host/json.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"

#include <gmock/gmock.h>

#include <dlfcn.h>

namespace {

/// What the services do and what they were asked.
struct Services {
    ZALCommandHeader* header = nullptr;
    int bitsOfTheHost = 0; ///< in the kind of each value
    std::vector<std::string> calls;
};

Services services;

/// The host's own operation behind the one that is defined here.
template <class Operation>
Operation* TheHostsOwn(const char* name)
{
    return reinterpret_cast<Operation*>(dlsym(RTLD_NEXT, name));
}

} // namespace

ZALCommandHeader* ZALCommandHeader::GetHeaderFromList(const ZALString& name, int options)
{
    services.calls.push_back(std::string("header ") + name.CastToCharPtr() + " " + std::to_string(options));
    return services.header;
}

void ZALEventSubscriber::RemoveCallback(ZALBaseUnknown* publisher, ZALCallback callback)
{
    services.calls.push_back(publisher == ZALFrmLayout::GetCurrentLayout() ? "remove from the layout" : "remove");
    static auto* const remove = TheHostsOwn<void(ZALEventSubscriber*, ZALBaseUnknown*, ZALCallback)>(
        "_ZN18ZALEventSubscriber14RemoveCallbackEP14ZALBaseUnknownj");
    remove(this, publisher, callback);
}

void ZALOmxJson::ActivateConsistentDoubleUnstream()
{
    services.calls.emplace_back("activate");
}

HRESULT ZALOmxJson::parse(const ZALOmxUTF8String& text, ZALOmxAny& value)
{
    services.calls.emplace_back("parse");
    static auto* const parse = TheHostsOwn<HRESULT(ZALOmxJson*, const ZALOmxUTF8String&, ZALOmxAny&)>(
        "_ZN10ZALOmxJson5parseERK16ZALOmxUTF8StringR9ZALOmxAny");
    return parse(this, text, value);
}

int ZALOmxAny::GetKind() const
{
    static auto* const kind = TheHostsOwn<int(const ZALOmxAny*)>("_ZNK9ZALOmxAny7GetKindEv");
    return kind(this) | services.bitsOfTheHost;
}

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;

/// A header that gives any answer.
class Header : public ZALCommandHeader {
public:
    int IsAvailable() const override
    {
        services.calls.emplace_back("is available");
        return answer;
    }
    void SetAvailability(int mask, int state) override
    {
        services.calls.push_back("set " + std::to_string(mask) + " " + std::to_string(state));
    }
    int answer = 0;
};

class AddinSteps : public HostFixture {
protected:
    AddinSteps() { services = {}; }
    ~AddinSteps() override
    {
        services.header = nullptr;
        addin_->Release();
        services = {};
    }
    ZALVelmartMeridiaAccessAddin& Addin() { return *addin_; }
    void End()
    {
        services.calls.clear();
        addin_->Release();
        addin_ = new ZALVelmartMeridiaAccessAddin;
    }
    HRESULT Send(const char* event)
    {
        services.calls.clear();
        return addin_->OnJSMessage((std::string(R"({"event":")") + event + R"(","content":{}})").c_str());
    }

private:
    ZALVelmartMeridiaAccessAddin* addin_ = new ZALVelmartMeridiaAccessAddin;
};

constexpr const char* HeaderAsked = "header ZALVelmartFindSimilarCmdHeader 0";

// ---------------------------------------------------------------------------------------------
// The header of Find Similar

TEST_F(AddinSteps, AskForTheHeaderAndLeaveItWhenItAnswersSo)
{
    Header header;
    services.header = &header;
    header.answer = 1;
    Send("velmart_ready");
    EXPECT_THAT(services.calls, ElementsAre("activate", "parse", HeaderAsked, "is available"));
    header.answer = 0;
    Send("velmart_over");
    EXPECT_THAT(services.calls, ElementsAre("activate", "parse", HeaderAsked, "is available"));
}

TEST_F(AddinSteps, SetAHeaderThatAnswersNeitherYesNorNo)
{
    Header header;
    services.header = &header;
    for (const int answer : {2, -1, 16}) {
        header.answer = answer;
        Send("velmart_ready");
        EXPECT_THAT(services.calls,
                    ElementsAre("activate", "parse", HeaderAsked, "is available", "set 1 1", "set 8 1", "set 16 1"));
        Send("velmart_over");
        EXPECT_THAT(services.calls,
                    ElementsAre("activate", "parse", HeaderAsked, "is available", "set 1 0", "set 8 0", "set 16 0"));
    }
}

// ---------------------------------------------------------------------------------------------
// Values of the host

TEST_F(AddinSteps, LookAtTheKindOfTheEventUnderTheMask)
{
    services.bitsOfTheHost = 0x8000;
    EXPECT_EQ(Send("velmart_ready"), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
    EXPECT_EQ(Addin().OnJSMessage(R"({"event":4,"content":{}})"), E_FAIL);
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(AddinSteps, RemoveTheSubscriptionToTheLayoutBehindTheHeader)
{
    Addin().SetAccessDialog(nullptr);
    End();
    EXPECT_THAT(services.calls, ElementsAre(HeaderAsked, "remove from the layout"));
}

TEST_F(AddinSteps, RemoveNothingWithoutASubscription)
{
    End();
    EXPECT_THAT(services.calls, ElementsAre(HeaderAsked));
}

TEST_F(AddinSteps, RemoveNothingWithoutALayout)
{
    Addin().SetAccessDialog(nullptr);
    ConfigureFrame({.layout = false});
    End();
    EXPECT_THAT(services.calls, ElementsAre(HeaderAsked));
}

} // namespace
} // namespace openhost::testing
