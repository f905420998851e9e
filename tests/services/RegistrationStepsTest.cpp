// What the module registers when it is loaded, word by word. The operations that take it are the test's own: what is
// defined here takes the place of the host's operations in this program.

#include "host/object_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <string>
#include <vector>

namespace {

constexpr const char* Module = "ZALVelmartIntegration";

/// What has been registered, in its order. There from the first use on, which comes before the tests.
std::vector<std::string>& Registered()
{
    static std::vector<std::string> registered;
    return registered;
}

} // namespace

ZALFillDictionary::ZALFillDictionary(const char* className, const char* interfaceName, ZALAdapterFunction, int flag)
    : className_(className), interfaceName_(interfaceName)
{
    // The host has entries for classes of its own.
    if (std::string(className_).starts_with("ZALVelmart"))
        Registered().push_back(std::string("interface ") + interfaceName_ + " of " + className_ + ", " +
                               std::to_string(flag));
}

ZALFillDictionary::ZALFillDictionary(const char* className, ZALCreationFunction)
    : className_(className), interfaceName_(nullptr)
{
    Registered().push_back(std::string("class ") + className_);
}

ZALFillDictionary::~ZALFillDictionary() = default;

int ZALFillDictionary::RegisterFunctionCreation(const char* className, ZALCreationFunction)
{
    Registered().push_back(std::string("creation of ") + className);
    return 1;
}

ZALMetaClass* fct_RetrieveMetaObject(const char* className, int kind, ZALMetaClass* base, const char* extended,
                                     const char* module)
{
    if (std::string(module) == Module)
        Registered().push_back(std::string("record of ") + className + ", " + std::to_string(kind) + ", " +
                               base->GetName() + ", " + extended);
    static auto* const retrieve = reinterpret_cast<decltype(&fct_RetrieveMetaObject)>(
        dlsym(RTLD_NEXT, "_Z22fct_RetrieveMetaObjectPKciP12ZALMetaClassS0_S0_"));
    return retrieve(className, kind, base, extended, module);
}

ZALTrace::ZALTrace(const char* name, const char* description, int mode, const char* output, int size) : name_(name)
{
    Registered().push_back(std::string("trace ") + name_ + ", " + description + ", " + std::to_string(mode) + ", " +
                           output + ", " + std::to_string(size));
}

ZALTrace::~ZALTrace() = default;

void ZALTrace::TraPut(const char*) {}

namespace {

/// Taken before any test, which may ask for further records.
const std::vector<std::string>& AtLoad()
{
    static const std::vector<std::string> atLoad = Registered();
    return atLoad;
}

class Load : public ::testing::Environment {
public:
    void SetUp() override { AtLoad(); }
};

::testing::Environment* const load = ::testing::AddGlobalTestEnvironment(new Load);

TEST(RegistrationSteps, ComeInTheirOrderWithAllTheirValues)
{
    ASSERT_TRUE(load);
    EXPECT_THAT(AtLoad(),
                ::testing::ElementsAre(
                    "interface ZALIMeridiaAccessDialogAddin of ZALVelmartMeridiaAccessAddin, 1",
                    "creation of ZALVelmartMeridiaAccessAddin",
                    "record of ZALVelmartMeridiaAccessAddin, 1, ZALEventSubscriber, ZALNull",
                    "interface ZALIMeridiaAccessSettingsUIAddin of ZALVelmartMeridiaAccessSettingsUIAddin, 1",
                    "creation of ZALVelmartMeridiaAccessSettingsUIAddin",
                    "record of ZALVelmartMeridiaAccessSettingsUIAddin, 1, ZALIMeridiaAccessSettingsUIAddin, ZALNull",
                    "class ZALVelmartFindSimilarCmd",
                    "trace ZALVelmartIntegration, ZALVelmartIntegration traces, 0, STDERR, 1024",
                    "creation of ZALVelmartIntegrationEventPublisher",
                    "creation of ZALVelmartIntegrationEventSubscriber"));
}

} // namespace
