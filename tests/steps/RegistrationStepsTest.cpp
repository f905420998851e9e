// What the module registers when it is loaded, word by word.

#include "tests/steps/Services.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

/// Taken before any test, which may ask for further records.
const Texts& AtLoad()
{
    static const Texts atLoad = Registered();
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

} // namespace openhost::testing
