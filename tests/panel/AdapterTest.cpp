// The addin as the host reaches it: by its class name and through its interface.

#include "tests/panel/PanelFixture.h"

#include "openhost/objects/ClassDictionary.h"
#include "panel/TIEZALIMeridiaAccessDialogAddin.h"

namespace openhost::testing {
namespace {

constexpr const char* AddinClass = "ZALVelmartMeridiaAccessAddin";
constexpr const char* AddinInterface = "ZALIMeridiaAccessDialogAddin";

class PanelAdapter : public HostFixture {
protected:
    using Adapter = Owned<ZALIMeridiaAccessDialogAddin>;

    Adapter Query()
    {
        ZALBaseUnknown* found = nullptr;
        EXPECT_EQ(S_OK, Object->QueryInterface(AddinInterface, &found));
        return Adapter(static_cast<ZALIMeridiaAccessDialogAddin*>(found));
    }

    Owned<ZALBaseUnknown> Object{ClassDictionary::Instance().Create(AddinClass)};
};

TEST_F(PanelAdapter, EachCreationGivesAnAddinOfItsOwn)
{
    ASSERT_TRUE(Object.get());
    const Owned<ZALBaseUnknown> other(ClassDictionary::Instance().Create(AddinClass));
    ASSERT_TRUE(other);
    EXPECT_NE(Object, other);
    EXPECT_EQ(1U, ReferencesOf(Object.get()));
    EXPECT_TRUE(ZALSysDynamicCast<ZALVelmartMeridiaAccessAddin>(Object.get()));
}

TEST_F(PanelAdapter, ForwardsTheThreeOperations)
{
    const Adapter adapter = Query();
    const auto* addin = ZALSysDynamicCast<ZALVelmartMeridiaAccessAddin>(Object.get());
    EXPECT_EQ(S_OK, adapter->SetAccessDialog(nullptr));
    EXPECT_EQ(1U, LayoutSubscriptions());
    EXPECT_EQ(S_OK, adapter->OnJSMessage(Message("velmart_ready").c_str()));
    EXPECT_EQ(OpApiReady, addin->GetOpApiStatus());
    EXPECT_EQ(S_OK, adapter->OnPageUrl(PageElsewhere));
    EXPECT_EQ(OpApiOver, addin->GetOpApiStatus());
    EXPECT_EQ(E_FAIL, adapter->OnJSMessage("no message"));
}

TEST_F(PanelAdapter, IsTheSameOneWhileItIsHeld)
{
    Adapter first = Query();
    Adapter second = Query();
    EXPECT_EQ(first, second);
    EXPECT_EQ(2U, ReferencesOf(first.get()));
    EXPECT_EQ(2U, ReferencesOf(Object.get())); // one of its own, one of the adapter
    second.reset();
    first.reset();
    EXPECT_EQ(1U, ReferencesOf(Object.get()));
}

TEST_F(PanelAdapter, LeavesTheLinkTableWithItsLastReference)
{
    Query().reset();
    EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(Object.get(), AddinInterface));
    EXPECT_EQ(S_OK, Query()->OnPageUrl(CataloguePage.c_str()));
}

TEST_F(PanelAdapter, KeepsTheAddinAlive)
{
    Adapter adapter = Query();
    const ZALBaseUnknown_WR addin(Object.get());
    Object.reset();
    EXPECT_EQ(S_OK, adapter->OnJSMessage(Message("velmart_ready").c_str()));
    EXPECT_EQ(0U, adapter.release()->Release());
    EXPECT_EQ(nullptr, addin.GetComponent());
}

TEST_F(PanelAdapter, LeadsBackToTheAddin)
{
    const Adapter adapter = Query();
    EXPECT_EQ(Object.get(), adapter->GetImpl(0));
    ZALBaseUnknown* addin = nullptr;
    EXPECT_EQ(S_OK, adapter->QueryInterface(AddinClass, &addin));
    EXPECT_EQ(Object.get(), addin);
    addin->Release();
    ZALBaseUnknown* itself = nullptr;
    EXPECT_EQ(S_OK, adapter->QueryInterface(AddinInterface, &itself));
    EXPECT_EQ(adapter.get(), itself);
    itself->Release();
}

TEST_F(PanelAdapter, HasARecordOfItsOwnKind)
{
    const Adapter adapter = Query();
    const ZALMetaClass* record = adapter->GetMetaObject();
    EXPECT_STREQ(record->GetName(), AddinInterface);
    EXPECT_STREQ(record->GetClassId(), AddinInterface);
    EXPECT_EQ(7, record->GetKind());
    EXPECT_STREQ("ZALVelmartIntegration", record->GetModule());
    EXPECT_NE(record, ZALIMeridiaAccessDialogAddin::MetaObject());
    EXPECT_STREQ(adapter->IsA(), AddinInterface);
    EXPECT_EQ(1, adapter->IsAKindOf("ZALBaseUnknown"));
}

TEST_F(PanelAdapter, IsMadeForAddinsOnly)
{
    Listener other;
    EXPECT_EQ(nullptr, CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(&other));
    EXPECT_EQ(nullptr, CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(nullptr));
    ZALBaseUnknown* found = &other;
    EXPECT_EQ(E_FAIL, other.QueryInterface(AddinInterface, &found));
    EXPECT_EQ(nullptr, found);
    found = Object.get();
    EXPECT_EQ(E_FAIL, Object->QueryInterface("ZALIMeridiaAccessDialog", &found)) << "the addin has no other interface";
    EXPECT_EQ(nullptr, found);
}

} // namespace
} // namespace openhost::testing
