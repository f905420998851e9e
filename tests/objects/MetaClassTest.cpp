// The class records of the module, as the host and other modules see them.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"
#include "tests/support/WholeOrLost.h"

#include "dialogs/ZALVelmartDownloadLocationDlg.h"
#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "dialogs/ZALVelmartFindSimilarUploadProgressDlg.h"
#include "dialogs/ZALVelmartMeridiaAccessSettingsUIAddin.h"
#include "download/ZALVLIFullDownload.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "openhost/objects/ClassDictionary.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace openhost::testing {

/// Classes that nobody has used before, one for each operation that is their first use.
class FirstOfMetaObject : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class FirstOfIsA : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class FirstOfIsAKindOf : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class FirstOfClassId : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
VL_DEFINE_META_CLASS(FirstOfMetaObject, ZALBaseUnknown)
VL_DEFINE_META_CLASS(FirstOfIsA, ZALBaseUnknown)
VL_DEFINE_META_CLASS(FirstOfIsAKindOf, ZALBaseUnknown)
VL_DEFINE_META_CLASS(FirstOfClassId, ZALBaseUnknown)

namespace {

struct ModuleClass {
    const char* name;
    const char* base;
    bool madeByName;
    ZALMetaClass* (*record)();
    ZALClassId (*identity)();
    const char* (*className)();
    ZALBaseUnknown* (*create)();
    ZALBaseUnknown* (*make)(); ///< an object, with a reference

    friend std::ostream& operator<<(std::ostream& stream, const ModuleClass& described)
    {
        return stream << described.name;
    }
};

template <class T>
ZALBaseUnknown* New()
{
    return new T;
}

/// With a reference of the test's.
ZALBaseUnknown* Keep(ZALBaseUnknown* object)
{
    object->AddRef();
    return object;
}

template <class T>
ModuleClass Describe(const char* name, const char* base, ZALBaseUnknown* (*make)(), bool madeByName = false)
{
    return {name, base, madeByName, &T::MetaObject, &T::ClassId, &T::ClassName, &T::CreateItself, make};
}

class ModuleClassRecord : public HostFixture, public ::testing::WithParamInterface<ModuleClass> {};

TEST_P(ModuleClassRecord, HasItsNameItsBaseAndTheModule)
{
    const ModuleClass& expected = GetParam();
    ZALMetaClass* record = expected.record();
    EXPECT_STREQ(expected.name, record->GetName());
    EXPECT_STREQ(expected.name, record->GetClassId());
    EXPECT_STREQ("ZALVelmartIntegration", record->GetModule());
    EXPECT_EQ(1, record->GetKind());
    ASSERT_TRUE(record->GetBase());
    EXPECT_STREQ(expected.base, record->GetBase()->GetName());
    EXPECT_EQ(1, record->IsAKindOf(expected.name));
    EXPECT_EQ(1, record->IsAKindOf(expected.base));
    EXPECT_EQ(1, record->IsAKindOf("ZALBaseUnknown"));
    EXPECT_EQ(0, record->IsAKindOf("ZALVelmartNothing"));
}

TEST_P(ModuleClassRecord, IsTheSameForAllWhoAsk)
{
    const ModuleClass& expected = GetParam();
    EXPECT_EQ(expected.record(), expected.record());
    EXPECT_EQ(expected.record(), fct_RetrieveMetaObject(expected.name, 1, nullptr, "ZALNull", "other"));
    EXPECT_EQ(expected.identity(), expected.record()->GetClassId());
    EXPECT_STREQ(expected.className(), expected.name);
}

TEST_P(ModuleClassRecord, CannotMakeTheClass)
{
    EXPECT_EQ(nullptr, GetParam().create());
}

TEST_P(ModuleClassRecord, IsCreatedByNameOnlyWhereThatIsMeant)
{
    EXPECT_EQ(ClassDictionary::Instance().Knows(GetParam().name), GetParam().madeByName);
}

TEST_P(ModuleClassRecord, IsThatOfItsObjects)
{
    const ModuleClass& expected = GetParam();
    const Owned<ZALBaseUnknown> object(expected.make());
    ASSERT_TRUE(object);
    EXPECT_EQ(expected.record(), object->GetMetaObject());
    EXPECT_STREQ(expected.name, object->IsA());
    EXPECT_EQ(1, object->IsAKindOf(expected.name));
    EXPECT_EQ(1, object->IsAKindOf(expected.base));
    EXPECT_EQ(0, object->IsAKindOf("ZALVelmartNothing"));
}

INSTANTIATE_TEST_SUITE_P(
    Classes, ModuleClassRecord,
    ::testing::Values(
        Describe<ZALVelmartMeridiaAccessAddin>("ZALVelmartMeridiaAccessAddin", "ZALEventSubscriber",
                                               New<ZALVelmartMeridiaAccessAddin>, true),
        Describe<ZALVelmartMeridiaAccessSettingsUIAddin>("ZALVelmartMeridiaAccessSettingsUIAddin",
                                                         "ZALIMeridiaAccessSettingsUIAddin",
                                                         New<ZALVelmartMeridiaAccessSettingsUIAddin>, true),
        Describe<ZALVelmartIntegrationEventPublisher>(
            "ZALVelmartIntegrationEventPublisher", "ZALEventSubscriber",
            [] { return Keep(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance()); }, true),
        Describe<ZALVelmartIntegrationEventSubscriber>(
            "ZALVelmartIntegrationEventSubscriber", "ZALEventSubscriber",
            [] { return Keep(ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber()); }, true),
        Describe<ZALVelmartFileDownloader>("ZALVelmartFileDownloader", "ZALCommand",
                                           [] { return Keep(ZALVelmartFileDownloader::GetInstance()); }),
        Describe<ZALVelmartFileDownloadCompleteNotification>(
            "ZALVelmartFileDownloadCompleteNotification", "ZALNotification",
            []() -> ZALBaseUnknown* {
                return new ZALVelmartFileDownloadCompleteNotification(
                    ZALVelmartFileDownloadCompleteNotification::DownloadFailed);
            }),
        Describe<ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif>(
            "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif", "ZALNotification",
            New<ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif>),
        Describe<ZALVelmartDownloadProgressDlg::CANCELNotif>("ZALVelmartDownloadProgressDlg::CANCELNotif",
                                                             "ZALNotification",
                                                             New<ZALVelmartDownloadProgressDlg::CANCELNotif>),
        Describe<ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif>(
            "ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif", "ZALNotification",
            New<ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif>),
        Describe<ZALVelmartDownloadLocationDlg::OKNotif>("ZALVelmartDownloadLocationDlg::OKNotif", "ZALNotification",
                                                         New<ZALVelmartDownloadLocationDlg::OKNotif>),
        Describe<ZALVelmartDownloadLocationDlg::CANCELNotif>("ZALVelmartDownloadLocationDlg::CANCELNotif",
                                                             "ZALNotification",
                                                             New<ZALVelmartDownloadLocationDlg::CANCELNotif>),
        Describe<ZALVelmartDownloadProgressDlg>("ZALVelmartDownloadProgressDlg", "ZALDlgDialog",
                                                [] { return Keep(ZALVelmartDownloadProgressDlg::Create()); }),
        Describe<ZALVelmartFindSimilarUploadProgressDlg>("ZALVelmartFindSimilarUploadProgressDlg", "ZALDlgDialog",
                                                         [] {
                                                             return Keep(
                                                                 ZALVelmartFindSimilarUploadProgressDlg::Create());
                                                         }),
        Describe<ZALVelmartDownloadLocationDlg>("ZALVelmartDownloadLocationDlg", "ZALDlgDialog",
                                                [] { return Keep(ZALVelmartDownloadLocationDlg::Create()); }),
        Describe<ZALVLIFullDownload>("ZALVLIFullDownload", "ZALBaseUnknown", []() -> ZALBaseUnknown* {
            return new ZALVLIFullDownload(std::vector<ZALVLIFullDownload::DownloadItem>());
        })));

TEST(ModuleObject, OfTheDownloaderIsACommandOfItsName)
{
    ZALVelmartFileDownloader* downloader = ZALVelmartFileDownloader::GetInstance();
    EXPECT_EQ(3, downloader->GetMode());
    EXPECT_EQ(downloader->GetName(), ZALString("ZALVelmartFileDownloader"));
}

// ---------------------------------------------------------------------------------------------
// Without memory

TEST(ModuleClass, HasNoRecordWithoutMemoryAndMakesItAtTheNextUse)
{
    const FirstOfMetaObject object;
    EXPECT_GT(ExpectWholeOrLost(true, false, [&] { return object.GetMetaObject() != nullptr; }), 0);
}

TEST(ModuleClass, TellsItsNameWithoutMemory)
{
    const FirstOfIsA object;
    const std::string_view name = "FirstOfIsA";
    EXPECT_GT(ExpectWholeOrLost(name, name, [&] { return object.IsA(); }), 0);
}

TEST(ModuleClass, IsOfNoKindWithoutMemory)
{
    const FirstOfIsAKindOf object;
    EXPECT_GT(ExpectWholeOrLost(1, 0, [&] { return object.IsAKindOf("FirstOfIsAKindOf"); }), 0);
}

TEST(ModuleClass, HasItsIdentityWithoutMemory)
{
    const std::string_view identity = "FirstOfClassId";
    EXPECT_GT(ExpectWholeOrLost(identity, identity, [] { return FirstOfClassId::ClassId(); }), 0);
}

TEST(ModuleClass, OfTheAddinIsMadeByNameOnceThereIsMemory)
{
    Owned<ZALBaseUnknown> addin;
    const std::string name = "ZALVelmartMeridiaAccessAddin";
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        memory.During([&] { addin.reset(ClassDictionary::Instance().Create(name)); });
        EXPECT_EQ(addin != nullptr, !memory.HasRunOut());
    });
    EXPECT_GT(failures, 0);
    ASSERT_TRUE(addin);
    EXPECT_STREQ("ZALVelmartMeridiaAccessAddin", addin->IsA());
}

} // namespace

} // namespace openhost::testing
