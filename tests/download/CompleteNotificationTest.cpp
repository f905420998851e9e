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
    return Notification(ListOf({}), Notification::DownloadSucceeded, ListOf(warnings));
}

Completion Fields(const Notification& notification)
{
    return {notification.GetStatus(), TextsOf(notification.GetDownloadedFilesPathes()),
            ToUtf8(notification.GetDocEnvId()), ToUtf8(notification.GetErrorMessageNLS()),
            TextsOf(notification.GetWarningsMessageNLS())};
}

// ---------------------------------------------------------------------------------------------
// Warnings in one text

TEST(CompleteNotification, TwoWarningsAreJoinedByOneLineFeed)
{
    EXPECT_EQ(ToUtf8(WithWarnings({"first", "second"}).GetConcatenedWarningsMessageNLS()), "first\nsecond");
}

TEST(CompleteNotification, OneWarningStandsWithoutLineFeed)
{
    EXPECT_EQ(ToUtf8(WithWarnings({"only"}).GetConcatenedWarningsMessageNLS()), "only");
}

TEST(CompleteNotification, NoWarningsGiveAnEmptyText)
{
    EXPECT_EQ(ToUtf8(WithWarnings({}).GetConcatenedWarningsMessageNLS()), "");
}

TEST(CompleteNotification, EmptyWarningsKeepTheirLineFeeds)
{
    EXPECT_EQ(ToUtf8(WithWarnings({"", "b", ""}).GetConcatenedWarningsMessageNLS()), "\nb\n");
}

// ---------------------------------------------------------------------------------------------
// Copies

TEST(CompleteNotification, CopyHoldsAllFiveFields)
{
    const Notification withFiles(ListOf(TwoFiles), Notification::DownloadFailed, ListOf({"w1", "w2"}));
    const Notification withError(Notification::DownloadCanceled, "an error");

    EXPECT_EQ(Fields(Notification(withFiles)),
              (Completion{Notification::DownloadFailed, TwoFiles, "File", "", {"w1", "w2"}}));
    EXPECT_EQ(Fields(Notification(withError)), (Completion{Notification::DownloadCanceled, {}, "", "an error", {}}));
}

TEST(CompleteNotification, AssignmentReplacesAllFiveFields)
{
    Notification target(ListOf({"/old"}), Notification::DownloadSucceeded, ListOf({"old"}));
    const Notification source(Notification::DownloadFailed, "an error");

    target = source;

    EXPECT_EQ(Fields(target), (Completion{Notification::DownloadFailed, {}, "", "an error", {}}));
}

TEST(CompleteNotification, AssignmentToItselfChangesNothing)
{
    Notification target(ListOf(TwoFiles), Notification::DownloadFailed, ListOf({"w"}));
    const Notification& same = target;

    target = same;

    EXPECT_EQ(Fields(target), (Completion{Notification::DownloadFailed, TwoFiles, "File", "", {"w"}}));
}

// ---------------------------------------------------------------------------------------------
// Constructors

TEST(CompleteNotification, FilesWithEnvironmentKeepIt)
{
    EXPECT_EQ(Fields(Notification(ListOf(TwoFiles), "UT5", Notification::DownloadSucceeded)),
              (Completion{Notification::DownloadSucceeded, TwoFiles, "UT5", "", {}}));
}

TEST(CompleteNotification, FilesWithWarningsStandInTheFileEnvironment)
{
    EXPECT_EQ(Fields(Notification(ListOf(TwoFiles), Notification::DownloadSucceeded, ListOf({"w"}))),
              (Completion{Notification::DownloadSucceeded, TwoFiles, "File", "", {"w"}}));
}

TEST(CompleteNotification, FilesAloneStandInTheFileEnvironment)
{
    EXPECT_EQ(Fields(Notification(ListOf(TwoFiles), Notification::DownloadFailed)),
              (Completion{Notification::DownloadFailed, TwoFiles, "File", "", {}}));
}

TEST(CompleteNotification, StatusAloneLeavesTheEnvironmentEmpty)
{
    EXPECT_EQ(Fields(Notification(Notification::DownloadCanceled)), Bare(Notification::DownloadCanceled));
}

TEST(CompleteNotification, StatusWithErrorLeavesTheEnvironmentEmpty)
{
    EXPECT_EQ(Fields(Notification(Notification::DownloadFailed, "an error")),
              (Completion{Notification::DownloadFailed, {}, "", "an error", {}}));
}

TEST(CompleteNotification, BelongsToItsSender)
{
    const Notification original(ListOf({}), "UT5", Notification::DownloadSucceeded);

    EXPECT_EQ(original.GetAutomaticDelete(), 0);
    EXPECT_EQ(Notification(original).GetAutomaticDelete(), 0);
    EXPECT_EQ(WithWarnings({}).GetAutomaticDelete(), 0);
    EXPECT_EQ(Notification(ListOf({}), Notification::DownloadFailed).GetAutomaticDelete(), 0);
    EXPECT_EQ(Notification(Notification::DownloadFailed).GetAutomaticDelete(), 0);
    EXPECT_EQ(Notification(Notification::DownloadFailed, "an error").GetAutomaticDelete(), 0);
}

TEST(CompleteNotification, StatusesHaveTheirNumbers)
{
    EXPECT_EQ(Notification::DownloadSucceeded, 1);
    EXPECT_EQ(Notification::DownloadFailed, 2);
    EXPECT_EQ(Notification::DownloadCanceled, 3);
    EXPECT_EQ(sizeof(Notification::Status), 4U);
}

// ---------------------------------------------------------------------------------------------
// Class record

TEST(CompleteNotification, IsRecordedUnderItsNameAndModule)
{
    const Notification notification(Notification::DownloadFailed);
    ZALMetaClass* record = Notification::MetaObject();

    EXPECT_STREQ(Notification::ClassName(), "ZALVelmartFileDownloadCompleteNotification");
    EXPECT_STREQ(record->GetName(), "ZALVelmartFileDownloadCompleteNotification");
    EXPECT_STREQ(record->GetModule(), "ZALVelmartIntegration");
    EXPECT_EQ(record->GetBase(), ZALNotification::MetaObject());
    EXPECT_EQ(notification.GetMetaObject(), record);
    EXPECT_THAT(notification.IsA(), StrEq(Notification::ClassName()));
    EXPECT_EQ(notification.IsAKindOf("ZALNotification"), 1);
    EXPECT_EQ(notification.IsAKindOf("ZALCommand"), 0);
    EXPECT_EQ(Notification::CreateItself(), nullptr);
}

TEST(CompleteNotification, ReachesSubscribersOfItsPublisherOnly)
{
    ZALEventSubscriber publisher;
    ZALEventSubscriber other;
    CompletionReceiver receiver(&publisher);
    CompletionReceiver stranger(&other);
    Notification notification(ListOf({"/a"}), "UT5", Notification::DownloadSucceeded);

    DispatchCallbacks(&publisher, &notification);

    EXPECT_THAT(receiver.Received, ElementsAre(Completion{Notification::DownloadSucceeded, {"/a"}, "UT5", "", {}}));
    EXPECT_THAT(stranger.Received, IsEmpty());
}

} // namespace
} // namespace openhost::testing
