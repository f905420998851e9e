// Reference counts, weak references, queries, handles and the link table.

#include "tests/support/Listener.h"

#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/MetaClassOperations.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

/// A class, a class derived from it, and an interface that adapters of the first offer.
class ObjectTestBase : public ZALBaseUnknown {
public:
    ~ObjectTestBase() override
    {
        if (inDestructor)
            inDestructor();
    }
    std::function<void()> inDestructor;

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;
};

class ObjectTestDerived : public ObjectTestBase {
public:
    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;
};

class ObjectTestInterface : public ZALBaseUnknown {
public:
    explicit ObjectTestInterface(ZALBaseUnknown* implementation) : implementation_(implementation)
    {
        implementation_->AddRef();
    }
    ~ObjectTestInterface() override { implementation_->Release(); }
    ZALBaseUnknown* GetImpl(int) override { return implementation_; }

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    ZALBaseUnknown* implementation_;
};

OPENHOST_META_CLASS(ObjectTestBase, ZALBaseUnknown)
OPENHOST_META_CLASS(ObjectTestDerived, ObjectTestBase)
OPENHOST_META_CLASS(ObjectTestInterface, ZALBaseUnknown)

namespace openhost::testing {

namespace {

ZALBaseUnknown* Adapt(ZALBaseUnknown* implementation)
{
    if (ZALBaseUnknown* linked = ZALSysGetLinkedAdapter(implementation, ObjectTestInterface::ClassId()))
        return linked;
    auto* adapter = new ObjectTestInterface(implementation);
    ZALSysLinkAdapter(implementation, ObjectTestInterface::ClassId(), adapter);
    return adapter;
}

ZALBaseUnknown* AdaptToNothing(ZALBaseUnknown*)
{
    return nullptr;
}

using Handle = ZALInterfaceHandle<ObjectTestInterface>;

/// The class "ObjectTestBase" offers the interface.
class WithAdapter : public ::testing::Test {
protected:
    const ZALFillDictionary entry_{"ObjectTestBase", "ObjectTestInterface", Adapt, 1};
};
using Query = WithAdapter;
using InterfaceHandle = WithAdapter;

/// What a query gives; the reference is counted.
ZALBaseUnknown* Found(ZALBaseUnknown& object, const char* name, HRESULT result = S_OK)
{
    ZALBaseUnknown* found = &object;
    EXPECT_EQ(result, object.QueryInterface(name, &found)) << name;
    return found;
}

// ---------------------------------------------------------------------------------------------
// Counts

TEST(Object, StartsWithOneReferenceAndEndsWithTheLast)
{
    bool ended = false;
    auto* object = new ObjectTestBase;
    object->inDestructor = [&] { ended = true; };
    EXPECT_EQ(2U, object->AddRef());
    EXPECT_EQ(1U, object->Release());
    EXPECT_FALSE(ended);
    EXPECT_EQ(0U, object->Release());
    EXPECT_TRUE(ended);
}

TEST(Object, IsFreedThroughItsBaseWithTheSizeOfItsClass)
{
    ZALBaseUnknown* object = new ObjectTestDerived;
    EXPECT_EQ(0U, object->Release()); // the sanitizers check the size
    ZALBaseUnknown* deleted = new ObjectTestDerived;
    delete deleted;
}

TEST(Object, KnowsItsClass)
{
    ObjectTestDerived object;
    EXPECT_STREQ("ObjectTestDerived", object.IsA());
    for (const char* name : {"ObjectTestDerived", "ObjectTestBase", "ZALBaseUnknown"})
        EXPECT_EQ(1, object.IsAKindOf(name)) << name;
    EXPECT_EQ(0, object.IsAKindOf("objecttestbase"));
    EXPECT_EQ(0, object.IsAKindOf(""));
    EXPECT_EQ(0, object.IsAKindOf(nullptr));
    EXPECT_EQ(0, ObjectTestBase().IsAKindOf("ObjectTestDerived"));
}

TEST(Object, IsCastByItsRecord)
{
    ObjectTestDerived derived;
    ObjectTestBase base;
    EXPECT_EQ(&derived, ZALSysDynamicCast<ObjectTestBase>(&derived));
    EXPECT_EQ(nullptr, ZALSysDynamicCast<ObjectTestDerived>(&base));
    EXPECT_EQ(nullptr, ZALSysDynamicCast<ObjectTestDerived>(nullptr));
    EXPECT_EQ(1U, ReferencesOf(&derived));
}

TEST(ClassRecord, IsMadeOnceAndCopiesItsTexts)
{
    std::string name = "ObjectTestRecord";
    std::string module = "somewhere";
    ZALMetaClass* record = fct_RetrieveMetaObject(name.c_str(), ZALMetaImplementation, ObjectTestBase::MetaObject(),
                                                  "ZALNull", module.c_str());
    name.assign(name.size(), 'x');
    module.assign(module.size(), 'x');
    EXPECT_STREQ("ObjectTestRecord", record->GetName());
    EXPECT_STREQ("somewhere", record->GetModule());
    EXPECT_EQ(record->GetBase(), ObjectTestBase::MetaObject());
    EXPECT_EQ(fct_RetrieveMetaObject("ObjectTestRecord", ZALMetaImplementation, nullptr, "ZALNull", "elsewhere"),
              record);
    EXPECT_STREQ("somewhere", record->GetModule());
}

TEST(ClassRecord, OfAnAdapterIsAnotherOneThanOfItsInterface)
{
    ZALMetaClass* adapter = fct_RetrieveMetaObject(ObjectTestInterface::ClassId(), ZALMetaAdapter,
                                                   ObjectTestInterface::MetaObject(), "ZALNull", "somewhere");
    EXPECT_NE(ObjectTestInterface::MetaObject(), adapter);
    EXPECT_EQ(ZALMetaAdapter, adapter->GetKind());
    EXPECT_STREQ(ObjectTestInterface::ClassId(), adapter->GetClassId());
}

TEST(ClassRecord, OfTheRootHasNoBase)
{
    EXPECT_EQ(nullptr, ZALBaseUnknown::MetaObject()->GetBase());
    EXPECT_STREQ("ZALBaseUnknown", ZALBaseUnknown::ClassId());
    EXPECT_EQ(0, ZALBaseUnknown::MetaObject()->IsAKindOf(nullptr));
}

// ---------------------------------------------------------------------------------------------
// Weak references

TEST(WeakReference, GivesTheObjectWithAReferenceWhileItLives)
{
    auto* object = new ObjectTestBase;
    const ZALBaseUnknown_WR weak(object);
    ZALBaseUnknown* seen = object;
    object->inDestructor = [&] { seen = weak.GetComponent(); };
    EXPECT_EQ(1U, ReferencesOf(object));
    EXPECT_EQ(object, weak.GetComponent());
    EXPECT_EQ(1U, object->Release());
    EXPECT_EQ(0U, object->Release());
    EXPECT_EQ(nullptr, seen) << "in the destructor";
    EXPECT_EQ(nullptr, weak.GetComponent());
}

TEST(WeakReference, OfNothingOrADeletedObjectIsEmpty)
{
    EXPECT_EQ(nullptr, ZALBaseUnknown_WR().GetComponent());
    EXPECT_EQ(nullptr, ZALBaseUnknown_WR(nullptr).GetComponent());
    auto object = std::make_unique<ObjectTestBase>();
    const ZALBaseUnknown_WR weak(object.get());
    object.reset();
    EXPECT_EQ(nullptr, weak.GetComponent());
}

TEST(WeakReference, MayBeCopiedAndSetAnew)
{
    auto* object = new ObjectTestBase;
    ZALBaseUnknown_WR copy;
    {
        const ZALBaseUnknown_WR weak(object);
        copy = weak;
        const ZALBaseUnknown_WR further(copy);
        EXPECT_EQ(object, further.GetComponent());
        object->Release();
    }
    EXPECT_EQ(object, copy.GetComponent());
    object->Release();
    ZALBaseUnknown_WR& same = copy;
    copy = same;
    EXPECT_EQ(object, copy.GetComponent());
    object->Release();
    object->Release();
    EXPECT_EQ(nullptr, copy.GetComponent());

    ObjectTestBase second;
    copy = &second;
    EXPECT_EQ(&second, copy.GetComponent());
    second.Release();
    copy = nullptr;
    EXPECT_EQ(nullptr, copy.GetComponent());
}

// ---------------------------------------------------------------------------------------------
// Queries

TEST_F(Query, FindsTheOwnClassAndItsBases)
{
    ObjectTestDerived object;
    for (const char* name : {"ObjectTestDerived", "ObjectTestBase", "ZALBaseUnknown"}) {
        EXPECT_EQ(&object, Found(object, name));
        EXPECT_EQ(1U, object.Release());
    }
}

TEST(QueryWithoutAdapter, FailsForWhatTheObjectDoesNotOffer)
{
    ObjectTestDerived object;
    EXPECT_EQ(nullptr, Found(object, "ObjectTestInterface", E_FAIL));
    ZALBaseUnknown* found = &object;
    EXPECT_EQ(E_INVALIDARG, object.QueryInterface(nullptr, &found));
    EXPECT_EQ(nullptr, found);
    EXPECT_EQ(E_INVALIDARG, object.QueryInterface("ObjectTestBase", nullptr));
    EXPECT_EQ(1U, ReferencesOf(&object));
}

TEST_F(Query, FindsAnAdapterOfTheClassAndOfItsBase)
{
    ObjectTestBase base;
    ObjectTestDerived derived;
    for (ObjectTestBase* object : {&base, static_cast<ObjectTestBase*>(&derived)}) {
        ZALBaseUnknown* found = Found(*object, "ObjectTestInterface");
        ASSERT_NE(object, found);
        EXPECT_EQ(object, found->GetImpl(0));
        EXPECT_EQ(2U, ReferencesOf(object));
        EXPECT_EQ(0U, found->Release());
        EXPECT_EQ(1U, ReferencesOf(object));
    }
}

TEST_F(Query, PrefersTheAdapterOfTheNearestClass)
{
    const ZALFillDictionary ofDerived("ObjectTestDerived", "ObjectTestInterface", AdaptToNothing, 1);
    ObjectTestDerived object;
    EXPECT_EQ(nullptr, Found(object, "ObjectTestInterface", E_FAIL));
}

TEST_F(Query, GoesThroughAnAdapterToItsImplementation)
{
    ObjectTestDerived object;
    ZALBaseUnknown* adapter = Found(object, "ObjectTestInterface");
    EXPECT_EQ(&object, Found(*adapter, "ObjectTestDerived"));
    object.Release();
    EXPECT_EQ(adapter, Found(*adapter, "ObjectTestInterface"));
    adapter->Release();
    EXPECT_EQ(nullptr, Found(*adapter, "ZALNotification", E_FAIL));
    adapter->Release();
}

TEST(QueryWithoutAdapter, BeginsAndEndsWithTheEntry)
{
    ObjectTestBase object;
    {
        const ZALFillDictionary entry("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
        EXPECT_TRUE(Handle(&object));
    }
    EXPECT_FALSE(Handle(&object));
    EXPECT_FALSE(Handle());
    EXPECT_FALSE(Handle(nullptr));
}

// ---------------------------------------------------------------------------------------------
// Handles

TEST_F(InterfaceHandle, HoldsItsInterfaceAndReleasesIt)
{
    ObjectTestBase object;
    {
        const Handle handle(&object);
        ASSERT_TRUE(handle);
        EXPECT_EQ(&object, handle->GetImpl(0));
        EXPECT_EQ(2U, ReferencesOf(&object));
        const Handle copy(handle);
        EXPECT_EQ(copy.operator->(), handle.operator->());
        Handle moved(Handle{&object});
        Handle assigned;
        EXPECT_FALSE(assigned);
        assigned = moved;
        EXPECT_EQ(assigned.operator->(), handle.operator->());
        Handle& same = assigned;
        assigned = same;
        EXPECT_TRUE(assigned);
        assigned = Handle();
        EXPECT_FALSE(assigned);
        EXPECT_EQ(2U, ReferencesOf(&object));
    }
    EXPECT_EQ(1U, ReferencesOf(&object));
}

TEST_F(InterfaceHandle, TakesAReferenceOver)
{
    bool ended = false;
    auto* object = new ObjectTestBase;
    object->inDestructor = [&] { ended = true; };
    {
        const auto handle = ZALBaseUnknown_var::Take(object);
        EXPECT_EQ(object, handle.Get());
        EXPECT_EQ(1U, ReferencesOf(object));
    }
    EXPECT_TRUE(ended);
    EXPECT_FALSE(ZALBaseUnknown_var::Take(nullptr));
}

TEST_F(InterfaceHandle, EqualsEachOneOfTheSameObject)
{
    ObjectTestBase object;
    ObjectTestBase other;
    const Handle handle(&object);
    EXPECT_TRUE(ZALBaseUnknown_var(handle) == ZALBaseUnknown_var(&object)) << "an adapter and its object";
    EXPECT_FALSE(ZALBaseUnknown_var(&object) == ZALBaseUnknown_var(&other));
    EXPECT_FALSE(ZALBaseUnknown_var(&object) == ZALBaseUnknown_var());
    EXPECT_TRUE(ZALBaseUnknown_var() == ZALBaseUnknown_var());
}

TEST_F(InterfaceHandle, IsTakenFromAListForEachOneOfAnObject)
{
    ObjectTestBase first;
    ObjectTestBase second;
    {
        ZALListValZALBaseUnknown_var list;
        for (ObjectTestBase* object : {&first, &second, &first})
            list.Append(ZALBaseUnknown_var(object));
        list.Append(ZALBaseUnknown_var());
        EXPECT_EQ(3U, ReferencesOf(&first));
        list.RemoveValue(ZALBaseUnknown_var(Handle(&first)));
        ASSERT_EQ(2, list.Size());
        EXPECT_EQ(&second, list[1].Get());
        EXPECT_FALSE(list[2]);
        list.RemoveValue(ZALBaseUnknown_var());
        EXPECT_EQ(1, list.Size());
    }
    EXPECT_EQ(1U, ReferencesOf(&second));
}

// ---------------------------------------------------------------------------------------------
// The link table

TEST(LinkTable, GivesTheLinkedAdapterWithAReference)
{
    ObjectTestBase object;
    EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(&object, "ObjectTestInterface"));
    ZALBaseUnknown* adapter = Adapt(&object);
    EXPECT_EQ(1U, ReferencesOf(adapter));
    EXPECT_EQ(adapter, ZALSysGetLinkedAdapter(&object, "ObjectTestInterface"));
    EXPECT_EQ(1U, adapter->Release());
    EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(&object, "Other"));
    EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(&object, nullptr));
    EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(nullptr, "ObjectTestInterface"));
    EXPECT_EQ(0U, adapter->Release());
    EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(&object, "ObjectTestInterface"));
}

TEST(LinkTable, KeepsOneAdapterAnInterfaceUntilTheObjectEnds)
{
    ObjectTestBase one;
    ObjectTestBase two;
    {
        ObjectTestBase object;
        ZALSysLinkAdapter(&object, "One", &one);
        ZALSysLinkAdapter(&object, "Two", &two);
        ZALSysLinkAdapter(&object, nullptr, &two);
        ZALSysLinkAdapter(nullptr, "One", &two);
        ZALSysLinkAdapter(&object, "Three", nullptr);
        EXPECT_EQ(&one, ZALSysGetLinkedAdapter(&object, "One"));
        EXPECT_EQ(1U, one.Release());
        EXPECT_EQ(&two, ZALSysGetLinkedAdapter(&object, "Two"));
        EXPECT_EQ(1U, two.Release());
        EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(&object, "Three"));
    }
    ObjectTestBase other;
    EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(&other, "One"));
}

// ---------------------------------------------------------------------------------------------
// The dictionary

ZALBaseUnknown* MakeBase()
{
    return new ObjectTestBase;
}

ZALBaseUnknown* MakeDerived()
{
    return new ObjectTestDerived;
}

TEST(Dictionary, MakesObjectsByName)
{
    ClassDictionary& dictionary = ClassDictionary::Instance();
    const ZALFillDictionary nothing("ObjectTestNothing", []() -> ZALBaseUnknown* { return nullptr; });
    EXPECT_EQ(nullptr, dictionary.Create("ObjectTestNothing"));
    EXPECT_FALSE(dictionary.Knows("ObjectTestMade"));
    EXPECT_EQ(nullptr, dictionary.Create("ObjectTestMade"));
    {
        const ZALFillDictionary entry("ObjectTestMade", MakeDerived);
        EXPECT_TRUE(dictionary.Knows("ObjectTestMade"));
        ZALBaseUnknown* made = dictionary.Create("ObjectTestMade");
        ASSERT_TRUE(made);
        EXPECT_STREQ("ObjectTestDerived", made->IsA());
        EXPECT_EQ(0U, made->Release());
    }
    EXPECT_FALSE(dictionary.Knows("ObjectTestMade"));
}

TEST(Dictionary, ANameIsTakenOnce)
{
    EXPECT_EQ(1, ZALFillDictionary::RegisterFunctionCreation("ObjectTestTaken", MakeBase));
    EXPECT_EQ(0, ZALFillDictionary::RegisterFunctionCreation("ObjectTestTaken", MakeDerived));
    EXPECT_EQ(0, ZALFillDictionary::RegisterFunctionCreation(nullptr, MakeBase));
    EXPECT_EQ(0, ZALFillDictionary::RegisterFunctionCreation("ObjectTestFree", nullptr));
    ZALBaseUnknown* made = ClassDictionary::Instance().Create("ObjectTestTaken");
    EXPECT_STREQ("ObjectTestBase", made->IsA());
    made->Release();
    ClassDictionary::Instance().RemoveCreation("ObjectTestTaken");
    EXPECT_FALSE(ClassDictionary::Instance().Knows("ObjectTestTaken"));
}

TEST(Dictionary, NotesRegistrationsInTheirOrder)
{
    ClassDictionary& dictionary = ClassDictionary::Instance();
    const std::size_t before = dictionary.Registrations().size();
    const ZALFillDictionary adapter("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
    const ZALFillDictionary made("ObjectTestMade", MakeBase);
    ZALFillDictionary::RegisterFunctionCreation("ObjectTestCreated", MakeBase);
    const ZALTrace trace("ObjectTestTrace", "", 0, "STDERR", 16);
    std::string noted;
    for (std::size_t index = before; index < dictionary.Registrations().size(); ++index)
        noted += dictionary.Registrations()[index].kind + " " + dictionary.Registrations()[index].name + "; ";
    EXPECT_EQ("interface ObjectTestBase; class ObjectTestMade; creation ObjectTestCreated; trace ObjectTestTrace; ",
              noted);
    dictionary.RemoveCreation("ObjectTestCreated");
}

} // namespace

} // namespace openhost::testing
