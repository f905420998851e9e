// The addin as the host reaches it: by its class name and through its interface.

#include "tests/panel/PanelFixture.h"

#include "host/frame.h"
#include "openhost/objects/ClassDictionary.h"
#include "panel/TIEZALIMeridiaAccessDialogAddin.h"

namespace openhost::testing {

namespace {

constexpr const char* AddinClass = "ZALVelmartMeridiaAccessAddin";
constexpr const char* AddinInterface = "ZALIMeridiaAccessDialogAddin";

class PanelAdapter : public HostFixture {
protected:
    PanelAdapter() : object_(ClassDictionary::Instance().Create(AddinClass)) {}
    ~PanelAdapter() override
    {
        if (object_)
            object_->Release();
    }
    ZALBaseUnknown* Object() { return object_; }
    /// The interface of the addin; the caller releases it.
    ZALIMeridiaAccessDialogAddin* Query()
    {
        ZALBaseUnknown* found = nullptr;
        EXPECT_EQ(object_->QueryInterface(AddinInterface, &found), S_OK);
        return static_cast<ZALIMeridiaAccessDialogAddin*>(found);
    }
    void ReleaseObject() { std::exchange(object_, nullptr)->Release(); }

private:
    ZALBaseUnknown* object_;
};

TEST_F(PanelAdapter, EachCreationGivesAnAddinOfItsOwn)
{
    ASSERT_TRUE(Object());
    ZALBaseUnknown* other = ClassDictionary::Instance().Create(AddinClass);
    ASSERT_TRUE(other);
    EXPECT_NE(other, Object());
    EXPECT_EQ(ReferencesOf(Object()), 1U);
    EXPECT_TRUE(ZALSysDynamicCast<ZALVelmartMeridiaAccessAddin>(Object()));
    other->Release();
}

TEST_F(PanelAdapter, ForwardsTheThreeOperations)
{
    ZALIMeridiaAccessDialogAddin* adapter = Query();
    const auto* addin = ZALSysDynamicCast<ZALVelmartMeridiaAccessAddin>(Object());
    EXPECT_EQ(adapter->SetAccessDialog(nullptr), S_OK);
    EXPECT_EQ(SubscribersOf(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName()).size(), 1U);
    EXPECT_EQ(adapter->OnJSMessage(Message("velmart_ready").c_str()), S_OK);
    EXPECT_EQ(addin->GetOpApiStatus(), OpApiReady);
    EXPECT_EQ(adapter->OnPageUrl(PageElsewhere), S_OK);
    EXPECT_EQ(addin->GetOpApiStatus(), OpApiOver);
    EXPECT_EQ(adapter->OnJSMessage("no message"), E_FAIL);
    adapter->Release();
}

TEST_F(PanelAdapter, IsTheSameOneWhileItIsHeld)
{
    ZALIMeridiaAccessDialogAddin* first = Query();
    ZALIMeridiaAccessDialogAddin* second = Query();
    EXPECT_EQ(first, second);
    EXPECT_EQ(ReferencesOf(first), 2U);
    EXPECT_EQ(ReferencesOf(Object()), 2U); // one of its own, one of the adapter
    second->Release();
    first->Release();
    EXPECT_EQ(ReferencesOf(Object()), 1U);
}

TEST_F(PanelAdapter, LeavesTheLinkTableWithItsLastReference)
{
    Query()->Release();
    EXPECT_EQ(ZALSysGetLinkedAdapter(Object(), AddinInterface), nullptr);
    ZALIMeridiaAccessDialogAddin* again = Query();
    EXPECT_EQ(again->OnPageUrl(CataloguePage.c_str()), S_OK);
    again->Release();
}

TEST_F(PanelAdapter, KeepsTheAddinAlive)
{
    ZALIMeridiaAccessDialogAddin* adapter = Query();
    const ZALBaseUnknown_WR addin(Object());
    ReleaseObject();
    EXPECT_EQ(adapter->OnJSMessage(Message("velmart_ready").c_str()), S_OK);
    EXPECT_EQ(adapter->Release(), 0U);
    EXPECT_EQ(addin.GetComponent(), nullptr);
}

TEST_F(PanelAdapter, LeadsBackToTheAddin)
{
    ZALIMeridiaAccessDialogAddin* adapter = Query();
    EXPECT_EQ(adapter->GetImpl(0), Object());
    ZALBaseUnknown* addin = nullptr;
    EXPECT_EQ(adapter->QueryInterface(AddinClass, &addin), S_OK);
    EXPECT_EQ(addin, Object());
    addin->Release();
    ZALBaseUnknown* itself = nullptr;
    EXPECT_EQ(adapter->QueryInterface(AddinInterface, &itself), S_OK);
    EXPECT_EQ(itself, adapter);
    itself->Release();
    adapter->Release();
}

TEST_F(PanelAdapter, HasARecordOfItsOwnKind)
{
    ZALIMeridiaAccessDialogAddin* adapter = Query();
    const ZALMetaClass* record = adapter->GetMetaObject();
    EXPECT_STREQ(record->GetName(), AddinInterface);
    EXPECT_STREQ(record->GetClassId(), AddinInterface);
    EXPECT_EQ(record->GetKind(), 7);
    EXPECT_STREQ(record->GetModule(), "ZALVelmartIntegration");
    EXPECT_NE(record, ZALIMeridiaAccessDialogAddin::MetaObject());
    EXPECT_STREQ(adapter->IsA(), AddinInterface);
    EXPECT_EQ(adapter->IsAKindOf("ZALBaseUnknown"), 1);
    adapter->Release();
}

TEST_F(PanelAdapter, IsMadeForAddinsOnly)
{
    Listener other;
    EXPECT_EQ(CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(&other), nullptr);
    EXPECT_EQ(CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(nullptr), nullptr);
    ZALBaseUnknown* found = &other;
    EXPECT_EQ(other.QueryInterface(AddinInterface, &found), E_FAIL);
    EXPECT_EQ(found, nullptr);
}

TEST_F(PanelAdapter, TheAddinOffersNoOtherInterface)
{
    ZALBaseUnknown* found = Object();
    EXPECT_EQ(Object()->QueryInterface("ZALIMeridiaAccessDialog", &found), E_FAIL);
    EXPECT_EQ(found, nullptr);
}

} // namespace

} // namespace openhost::testing
