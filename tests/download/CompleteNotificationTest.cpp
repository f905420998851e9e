#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StrEq;

const std::vector<std::string> TwoFiles{"/parts/a.ZALProduct", "/parts/b.ZALPart"};

Notification WithWarnings(const std::vector<std::string>& warnings)
{
    return Notification(List({}), Notification::DownloadSucceeded, List(warnings));
}

TEST(CompleteNotification, WarningsAreJoinedByLineFeeds)
{
    const auto joined = [](const std::vector<std::string>& warnings) {
        return ToUtf8(WithWarnings(warnings).GetConcatenedWarningsMessageNLS());
    };
    EXPECT_EQ("first\nsecond", joined({"first", "second"}));
    EXPECT_EQ("only", joined({"only"}));
    EXPECT_EQ("", joined({}));
    EXPECT_EQ("\nb\n", joined({"", "b", ""}));
}

TEST(CompleteNotification, CopyHoldsAllFiveFields)
{
    const Notification withFiles(List(TwoFiles), Notification::DownloadFailed, List({"w1", "w2"}));
    const Notification withError(Notification::DownloadCanceled, "an error");
    EXPECT_EQ((Completion{Notification::DownloadFailed, TwoFiles, "File", "", {"w1", "w2"}}),
              Fields(Notification(withFiles)));
    EXPECT_EQ((Completion{Notification::DownloadCanceled, {}, "", "an error", {}}), Fields(Notification(withError)));
}

TEST(CompleteNotification, AssignmentReplacesAllFiveFields)
{
    Notification target(List({"/old"}), Notification::DownloadSucceeded, List({"old"}));
    const Notification source(Notification::DownloadFailed, "an error");
    target = source;
    EXPECT_EQ((Completion{Notification::DownloadFailed, {}, "", "an error", {}}), Fields(target));
}

TEST(CompleteNotification, AssignmentToItselfChangesNothing)
{
    Notification target(List(TwoFiles), Notification::DownloadFailed, List({"w"}));
    const Notification& same = target;
    target = same;
    EXPECT_EQ((Completion{Notification::DownloadFailed, TwoFiles, "File", "", {"w"}}), Fields(target));
}

TEST(CompleteNotification, HoldsWhatItIsMadeOfInTheFileEnvironmentForFiles)
{
    constexpr auto succeeded = Notification::DownloadSucceeded;
    EXPECT_EQ((Completion{succeeded, TwoFiles, "UT5", "", {}}), Fields({List(TwoFiles), "UT5", succeeded}));
    EXPECT_EQ((Completion{succeeded, TwoFiles, "File", "", {"w"}}), Fields({List(TwoFiles), succeeded, List({"w"})}));
    EXPECT_EQ((Completion{Notification::DownloadFailed, TwoFiles, "File", "", {}}),
              Fields({List(TwoFiles), Notification::DownloadFailed}));
    EXPECT_EQ(Cancelled(), Fields(Notification(Notification::DownloadCanceled)));
    EXPECT_EQ((Completion{Notification::DownloadFailed, {}, "", "an error", {}}),
              Fields({Notification::DownloadFailed, "an error"}));
}

TEST(CompleteNotification, BelongsToItsSender)
{
    const Notification original(List({}), "UT5", Notification::DownloadSucceeded);
    EXPECT_EQ(0, original.GetAutomaticDelete());
    EXPECT_EQ(0, Notification(original).GetAutomaticDelete());
    EXPECT_EQ(0, WithWarnings({}).GetAutomaticDelete());
    EXPECT_EQ(0, Notification(List({}), Notification::DownloadFailed).GetAutomaticDelete());
    EXPECT_EQ(0, Notification(Notification::DownloadFailed).GetAutomaticDelete());
    EXPECT_EQ(0, Notification(Notification::DownloadFailed, "an error").GetAutomaticDelete());
}

TEST(CompleteNotification, StatusesHaveTheirNumbers)
{
    EXPECT_EQ(Notification::DownloadSucceeded, 1);
    EXPECT_EQ(Notification::DownloadFailed, 2);
    EXPECT_EQ(Notification::DownloadCanceled, 3);
    EXPECT_EQ(4U, sizeof(Notification::Status));
}

TEST(CompleteNotification, IsRecordedUnderItsNameAndModule)
{
    const Notification notification(Notification::DownloadFailed);
    ZALMetaClass* record = Notification::MetaObject();
    EXPECT_STREQ("ZALVelmartFileDownloadCompleteNotification", Notification::ClassName());
    EXPECT_STREQ("ZALVelmartFileDownloadCompleteNotification", record->GetName());
    EXPECT_STREQ("ZALVelmartIntegration", record->GetModule());
    EXPECT_EQ(ZALNotification::MetaObject(), record->GetBase());
    EXPECT_EQ(record, notification.GetMetaObject());
    EXPECT_THAT(notification.IsA(), StrEq(Notification::ClassName()));
    EXPECT_EQ(1, notification.IsAKindOf("ZALNotification"));
    EXPECT_EQ(0, notification.IsAKindOf("ZALCommand"));
    EXPECT_EQ(nullptr, Notification::CreateItself());
}

TEST(CompleteNotification, ReachesSubscribersOfItsPublisherOnly)
{
    ZALEventSubscriber publisher;
    ZALEventSubscriber other;
    CompletionReceiver receiver(&publisher);
    CompletionReceiver stranger(&other);
    Notification notification(List({"/a"}), "UT5", Notification::DownloadSucceeded);
    DispatchCallbacks(&publisher, &notification);
    EXPECT_THAT(receiver.Received, ElementsAre(Completion{Notification::DownloadSucceeded, {"/a"}, "UT5", "", {}}));
    EXPECT_THAT(stranger.Received, IsEmpty());
}

} // namespace
} // namespace openhost::testing
