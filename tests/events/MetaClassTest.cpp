// The class records of the module, as the host and other modules see them.

#include "tests/support/Listener.h"

#include "dialogs/ZALVelmartDownloadLocationDlg.h"
#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "dialogs/ZALVelmartFindSimilarUploadProgressDlg.h"
#include "download/ZALVLIFullDownload.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "openhost/objects/ClassDictionary.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"

#include <gtest/gtest.h>

#include <ostream>

namespace openhost::testing {

namespace {

struct ModuleClass {
    const char* name;
    const char* base;
    bool madeByName;
    ZALMetaClass* (*record)();
    ZALClassId (*identity)();
    const char* (*className)();
    ZALBaseUnknown* (*create)();

    friend std::ostream& operator<<(std::ostream& stream, const ModuleClass& described)
    {
        return stream << described.name;
    }
};

template <class T>
ModuleClass Describe(const char* name, const char* base, bool madeByName = false)
{
    return {name, base, madeByName, &T::MetaObject, &T::ClassId, &T::ClassName, &T::CreateItself};
}

class ModuleClassRecord : public ::testing::TestWithParam<ModuleClass> {};

TEST_P(ModuleClassRecord, HasItsNameItsBaseAndTheModule)
{
    const ModuleClass& expected = GetParam();
    ZALMetaClass* record = expected.record();
    EXPECT_STREQ(record->GetName(), expected.name);
    EXPECT_STREQ(record->GetClassId(), expected.name);
    EXPECT_STREQ(record->GetModule(), "ZALVelmartIntegration");
    EXPECT_EQ(record->GetKind(), 1);
    ASSERT_TRUE(record->GetBase());
    EXPECT_STREQ(record->GetBase()->GetName(), expected.base);
    EXPECT_EQ(record->IsAKindOf(expected.name), 1);
    EXPECT_EQ(record->IsAKindOf(expected.base), 1);
    EXPECT_EQ(record->IsAKindOf("ZALBaseUnknown"), 1);
    EXPECT_EQ(record->IsAKindOf("ZALVelmartNothing"), 0);
}

TEST_P(ModuleClassRecord, IsTheSameForAllWhoAsk)
{
    const ModuleClass& expected = GetParam();
    EXPECT_EQ(expected.record(), expected.record());
    EXPECT_EQ(fct_RetrieveMetaObject(expected.name, 1, nullptr, "ZALNull", "other"), expected.record());
    EXPECT_EQ(expected.identity(), expected.record()->GetClassId());
    EXPECT_STREQ(expected.className(), expected.name);
}

TEST_P(ModuleClassRecord, CannotMakeTheClass)
{
    EXPECT_EQ(GetParam().create(), nullptr);
}

TEST_P(ModuleClassRecord, IsCreatedByNameOnlyWhereThatIsMeant)
{
    EXPECT_EQ(ClassDictionary::Instance().Knows(GetParam().name), GetParam().madeByName);
}

INSTANTIATE_TEST_SUITE_P(
    Classes, ModuleClassRecord,
    ::testing::Values(
        Describe<ZALVelmartMeridiaAccessAddin>("ZALVelmartMeridiaAccessAddin", "ZALEventSubscriber", true),
        Describe<ZALVelmartIntegrationEventPublisher>("ZALVelmartIntegrationEventPublisher", "ZALEventSubscriber",
                                                      true),
        Describe<ZALVelmartIntegrationEventSubscriber>("ZALVelmartIntegrationEventSubscriber", "ZALEventSubscriber",
                                                       true),
        Describe<ZALVelmartFileDownloader>("ZALVelmartFileDownloader", "ZALCommand"),
        Describe<ZALVelmartFileDownloadCompleteNotification>("ZALVelmartFileDownloadCompleteNotification",
                                                             "ZALNotification"),
        Describe<ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif>(
            "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif", "ZALNotification"),
        Describe<ZALVelmartDownloadProgressDlg::CANCELNotif>("ZALVelmartDownloadProgressDlg::CANCELNotif",
                                                             "ZALNotification"),
        Describe<ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif>(
            "ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif", "ZALNotification"),
        Describe<ZALVelmartDownloadLocationDlg::OKNotif>("ZALVelmartDownloadLocationDlg::OKNotif", "ZALNotification"),
        Describe<ZALVelmartDownloadLocationDlg::CANCELNotif>("ZALVelmartDownloadLocationDlg::CANCELNotif",
                                                             "ZALNotification"),
        Describe<ZALVelmartDownloadProgressDlg>("ZALVelmartDownloadProgressDlg", "ZALDlgDialog"),
        Describe<ZALVelmartFindSimilarUploadProgressDlg>("ZALVelmartFindSimilarUploadProgressDlg", "ZALDlgDialog"),
        Describe<ZALVelmartDownloadLocationDlg>("ZALVelmartDownloadLocationDlg", "ZALDlgDialog"),
        Describe<ZALVLIFullDownload>("ZALVLIFullDownload", "ZALBaseUnknown")));

TEST(ModuleObject, TellsItsClass)
{
    ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif notification;
    EXPECT_STREQ(notification.IsA(), "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif");
    EXPECT_EQ(notification.IsAKindOf("ZALNotification"), 1);
    EXPECT_EQ(notification.IsAKindOf("ZALVelmartMeridiaAccessAddin"), 0);
    EXPECT_EQ(notification.GetMetaObject(), ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif::MetaObject());

    ZALVelmartFileDownloader* downloader = ZALVelmartFileDownloader::GetInstance();
    EXPECT_STREQ(downloader->IsA(), "ZALVelmartFileDownloader");
    EXPECT_EQ(downloader->IsAKindOf("ZALEventSubscriber"), 1);
    EXPECT_EQ(downloader->GetMetaObject()->GetBase(), ZALCommand::MetaObject());
    EXPECT_EQ(downloader->GetMode(), 3);
    EXPECT_EQ(downloader->GetName(), ZALString("ZALVelmartFileDownloader"));
}

} // namespace

} // namespace openhost::testing
