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

// ---------------------------------------------------------------------------------------------
// Counts

TEST(Object, StartsWithOneReferenceAndEndsWithTheLast)
{
    bool ended = false;
    auto* object = new ObjectTestBase;
    object->inDestructor = [&] { ended = true; };
    EXPECT_EQ(object->AddRef(), 2U);
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_FALSE(ended);
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_TRUE(ended);
}

TEST(Object, IsFreedThroughItsBaseWithTheSizeOfItsClass)
{
    ZALBaseUnknown* object = new ObjectTestDerived;
    EXPECT_EQ(object->Release(), 0U); // the sanitizers check the size
    ZALBaseUnknown* deleted = new ObjectTestDerived;
    delete deleted;
}

TEST(Object, KnowsItsClass)
{
    ObjectTestDerived object;
    EXPECT_STREQ(object.IsA(), "ObjectTestDerived");
    EXPECT_EQ(object.IsAKindOf("ObjectTestDerived"), 1);
    EXPECT_EQ(object.IsAKindOf("ObjectTestBase"), 1);
    EXPECT_EQ(object.IsAKindOf("ZALBaseUnknown"), 1);
    EXPECT_EQ(object.IsAKindOf("objecttestbase"), 0);
    EXPECT_EQ(object.IsAKindOf(""), 0);
    EXPECT_EQ(object.IsAKindOf(nullptr), 0);
    EXPECT_EQ(ObjectTestBase().IsAKindOf("ObjectTestDerived"), 0);
}

TEST(Object, IsCastByItsRecord)
{
    ObjectTestDerived derived;
    ObjectTestBase base;
    EXPECT_EQ(ZALSysDynamicCast<ObjectTestBase>(&derived), &derived);
    EXPECT_EQ(ZALSysDynamicCast<ObjectTestDerived>(&base), nullptr);
    EXPECT_EQ(ZALSysDynamicCast<ObjectTestDerived>(nullptr), nullptr);
    EXPECT_EQ(ReferencesOf(&derived), 1U);
}

TEST(ClassRecord, IsMadeOnceAndCopiesItsTexts)
{
    std::string name = "ObjectTestRecord";
    std::string module = "somewhere";
    ZALMetaClass* record = fct_RetrieveMetaObject(name.c_str(), ZALMetaImplementation, ObjectTestBase::MetaObject(),
                                                  "ZALNull", module.c_str());
    name.assign(name.size(), 'x');
    module.assign(module.size(), 'x');
    EXPECT_STREQ(record->GetName(), "ObjectTestRecord");
    EXPECT_STREQ(record->GetModule(), "somewhere");
    EXPECT_EQ(record->GetBase(), ObjectTestBase::MetaObject());
    EXPECT_EQ(fct_RetrieveMetaObject("ObjectTestRecord", ZALMetaImplementation, nullptr, "ZALNull", "elsewhere"),
              record);
    EXPECT_STREQ(record->GetModule(), "somewhere");
}

TEST(ClassRecord, OfAnAdapterIsAnotherOneThanOfItsInterface)
{
    ZALMetaClass* adapter = fct_RetrieveMetaObject(ObjectTestInterface::ClassId(), ZALMetaAdapter,
                                                   ObjectTestInterface::MetaObject(), "ZALNull", "somewhere");
    EXPECT_NE(adapter, ObjectTestInterface::MetaObject());
    EXPECT_EQ(adapter->GetKind(), ZALMetaAdapter);
    EXPECT_STREQ(adapter->GetClassId(), ObjectTestInterface::ClassId());
}

TEST(ClassRecord, OfTheRootHasNoBase)
{
    EXPECT_EQ(ZALBaseUnknown::MetaObject()->GetBase(), nullptr);
    EXPECT_STREQ(ZALBaseUnknown::ClassId(), "ZALBaseUnknown");
    EXPECT_EQ(ZALBaseUnknown::MetaObject()->IsAKindOf(nullptr), 0);
}

// ---------------------------------------------------------------------------------------------
// Weak references

TEST(WeakReference, GivesTheObjectWithAReferenceWhileItLives)
{
    auto* object = new ObjectTestBase;
    const ZALBaseUnknown_WR weak(object);
    EXPECT_EQ(ReferencesOf(object), 1U);
    EXPECT_EQ(weak.GetComponent(), object);
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_EQ(weak.GetComponent(), nullptr);
}

TEST(WeakReference, OfNothingIsEmpty)
{
    EXPECT_EQ(ZALBaseUnknown_WR().GetComponent(), nullptr);
    EXPECT_EQ(ZALBaseUnknown_WR(nullptr).GetComponent(), nullptr);
}

TEST(WeakReference, CopiesSpeakOfTheSameObject)
{
    auto* object = new ObjectTestBase;
    ZALBaseUnknown_WR copy;
    {
        const ZALBaseUnknown_WR weak(object);
        copy = weak;
        const ZALBaseUnknown_WR further(copy);
        EXPECT_EQ(further.GetComponent(), object);
        object->Release();
    }
    EXPECT_EQ(copy.GetComponent(), object);
    object->Release();
    object->Release();
    EXPECT_EQ(copy.GetComponent(), nullptr);
}

TEST(WeakReference, MayBeSetAnew)
{
    ObjectTestBase first;
    ObjectTestBase second;
    ZALBaseUnknown_WR weak(&first);
    weak = &second;
    EXPECT_EQ(weak.GetComponent(), &second);
    second.Release();
    ZALBaseUnknown_WR& same = weak;
    weak = same;
    EXPECT_EQ(weak.GetComponent(), &second);
    second.Release();
    weak = nullptr;
    EXPECT_EQ(weak.GetComponent(), nullptr);
}

TEST(WeakReference, IsEmptyOnceTheLastReferenceHasGone)
{
    ZALBaseUnknown_WR weak;
    ZALBaseUnknown* seen = nullptr;
    auto* object = new ObjectTestBase;
    weak = object;
    object->inDestructor = [&] { seen = weak.GetComponent(); };
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_EQ(seen, nullptr);
}

TEST(WeakReference, OutlivesAnObjectThatWasDeleted)
{
    auto object = std::make_unique<ObjectTestBase>();
    const ZALBaseUnknown_WR weak(object.get());
    object.reset();
    EXPECT_EQ(weak.GetComponent(), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Queries

TEST(Query, FindsTheOwnClassAndItsBases)
{
    ObjectTestDerived object;
    for (const char* name : {"ObjectTestDerived", "ObjectTestBase", "ZALBaseUnknown"}) {
        ZALBaseUnknown* found = nullptr;
        EXPECT_EQ(object.QueryInterface(name, &found), S_OK);
        EXPECT_EQ(found, &object);
        EXPECT_EQ(object.Release(), 1U);
    }
}

TEST(Query, FailsForWhatTheObjectDoesNotOffer)
{
    ObjectTestDerived object;
    ZALBaseUnknown* found = &object;
    EXPECT_EQ(object.QueryInterface("ObjectTestInterface", &found), E_FAIL);
    EXPECT_EQ(found, nullptr);
    found = &object;
    EXPECT_EQ(object.QueryInterface(nullptr, &found), E_INVALIDARG);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(object.QueryInterface("ObjectTestBase", nullptr), E_INVALIDARG);
    EXPECT_EQ(ReferencesOf(&object), 1U);
}

TEST(Query, FindsAnAdapterOfTheClassAndOfItsBase)
{
    const ZALFillDictionary entry("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
    ObjectTestBase base;
    ObjectTestDerived derived;
    for (ObjectTestBase* object : {&base, static_cast<ObjectTestBase*>(&derived)}) {
        ZALBaseUnknown* found = nullptr;
        EXPECT_EQ(object->QueryInterface("ObjectTestInterface", &found), S_OK);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->GetImpl(0), object);
        EXPECT_EQ(ReferencesOf(object), 2U);
        EXPECT_EQ(found->Release(), 0U);
        EXPECT_EQ(ReferencesOf(object), 1U);
    }
}

TEST(Query, PrefersTheAdapterOfTheNearestClass)
{
    const ZALFillDictionary ofBase("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
    const ZALFillDictionary ofDerived("ObjectTestDerived", "ObjectTestInterface", AdaptToNothing, 1);
    ObjectTestDerived object;
    ZALBaseUnknown* found = &object;
    EXPECT_EQ(object.QueryInterface("ObjectTestInterface", &found), E_FAIL);
    EXPECT_EQ(found, nullptr);
}

TEST(Query, GoesThroughAnAdapterToItsImplementation)
{
    const ZALFillDictionary entry("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
    ObjectTestDerived object;
    ZALBaseUnknown* adapter = nullptr;
    object.QueryInterface("ObjectTestInterface", &adapter);
    ZALBaseUnknown* found = nullptr;
    EXPECT_EQ(adapter->QueryInterface("ObjectTestDerived", &found), S_OK);
    EXPECT_EQ(found, &object);
    found->Release();
    EXPECT_EQ(adapter->QueryInterface("ObjectTestInterface", &found), S_OK);
    EXPECT_EQ(found, adapter);
    found->Release();
    EXPECT_EQ(adapter->QueryInterface("ZALNotification", &found), E_FAIL);
    adapter->Release();
}

TEST(Query, EndsWithTheEntry)
{
    ObjectTestBase object;
    {
        const ZALFillDictionary entry("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
        EXPECT_TRUE(Handle(&object));
    }
    EXPECT_FALSE(Handle(&object));
}

// ---------------------------------------------------------------------------------------------
// Handles

TEST(InterfaceHandle, HoldsItsInterfaceAndReleasesIt)
{
    const ZALFillDictionary entry("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
    ObjectTestBase object;
    {
        const Handle handle(&object);
        ASSERT_TRUE(handle);
        EXPECT_EQ(handle->GetImpl(0), &object);
        EXPECT_EQ(ReferencesOf(&object), 2U);
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
        EXPECT_EQ(ReferencesOf(&object), 2U);
    }
    EXPECT_EQ(ReferencesOf(&object), 1U);
}

TEST(InterfaceHandle, IsNullForNothingAndForAnObjectWithoutTheInterface)
{
    ObjectTestBase object;
    EXPECT_FALSE(Handle());
    EXPECT_FALSE(Handle(nullptr));
    EXPECT_FALSE(Handle(&object));
}

TEST(InterfaceHandle, TakesAReferenceOver)
{
    bool ended = false;
    auto* object = new ObjectTestBase;
    object->inDestructor = [&] { ended = true; };
    {
        const auto handle = ZALBaseUnknown_var::Take(object);
        EXPECT_EQ(handle.Get(), object);
        EXPECT_EQ(ReferencesOf(object), 1U);
    }
    EXPECT_TRUE(ended);
    EXPECT_FALSE(ZALBaseUnknown_var::Take(nullptr));
}

TEST(InterfaceHandle, EqualsEachOneOfTheSameObject)
{
    const ZALFillDictionary entry("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
    ObjectTestBase object;
    ObjectTestBase other;
    const Handle handle(&object);
    EXPECT_TRUE(ZALBaseUnknown_var(handle) == ZALBaseUnknown_var(&object)) << "an adapter and its object";
    EXPECT_FALSE(ZALBaseUnknown_var(&object) == ZALBaseUnknown_var(&other));
    EXPECT_FALSE(ZALBaseUnknown_var(&object) == ZALBaseUnknown_var());
    EXPECT_TRUE(ZALBaseUnknown_var() == ZALBaseUnknown_var());
}

TEST(HandleList, TakesAwayEachHandleOfAnObject)
{
    const ZALFillDictionary entry("ObjectTestBase", "ObjectTestInterface", Adapt, 1);
    ObjectTestBase first;
    ObjectTestBase second;
    {
        ZALListValZALBaseUnknown_var list;
        for (ObjectTestBase* object : {&first, &second, &first})
            list.Append(ZALBaseUnknown_var(object));
        list.Append(ZALBaseUnknown_var());
        EXPECT_EQ(ReferencesOf(&first), 3U);
        list.RemoveValue(ZALBaseUnknown_var(Handle(&first)));
        ASSERT_EQ(list.Size(), 2);
        EXPECT_EQ(list[1].Get(), &second);
        EXPECT_FALSE(list[2]);
        list.RemoveValue(ZALBaseUnknown_var());
        EXPECT_EQ(list.Size(), 1);
    }
    EXPECT_EQ(ReferencesOf(&second), 1U);
}

// ---------------------------------------------------------------------------------------------
// The link table

TEST(LinkTable, GivesTheLinkedAdapterWithAReference)
{
    auto* object = new ObjectTestBase;
    EXPECT_EQ(ZALSysGetLinkedAdapter(object, "ObjectTestInterface"), nullptr);
    ZALBaseUnknown* adapter = Adapt(object);
    EXPECT_EQ(ReferencesOf(adapter), 1U);
    EXPECT_EQ(ZALSysGetLinkedAdapter(object, "ObjectTestInterface"), adapter);
    EXPECT_EQ(adapter->Release(), 1U);
    EXPECT_EQ(ZALSysGetLinkedAdapter(object, "Other"), nullptr);
    EXPECT_EQ(ZALSysGetLinkedAdapter(object, nullptr), nullptr);
    EXPECT_EQ(ZALSysGetLinkedAdapter(nullptr, "ObjectTestInterface"), nullptr);
    EXPECT_EQ(adapter->Release(), 0U);
    EXPECT_EQ(ZALSysGetLinkedAdapter(object, "ObjectTestInterface"), nullptr);
    object->Release();
}

TEST(LinkTable, ForgetsAnObjectThatEndsBeforeItsAdapter)
{
    ObjectTestBase adapter;
    {
        ObjectTestBase object;
        ZALSysLinkAdapter(&object, "Weak", &adapter);
        ZALBaseUnknown* linked = ZALSysGetLinkedAdapter(&object, "Weak");
        EXPECT_EQ(linked, &adapter);
        linked->Release();
    }
    ObjectTestBase other;
    EXPECT_EQ(ZALSysGetLinkedAdapter(&other, "Weak"), nullptr);
}

TEST(LinkTable, KeepsOneAdapterAnInterface)
{
    ObjectTestBase object;
    ObjectTestBase one;
    ObjectTestBase two;
    ZALSysLinkAdapter(&object, "One", &one);
    ZALSysLinkAdapter(&object, "Two", &two);
    ZALSysLinkAdapter(&object, nullptr, &two);
    ZALSysLinkAdapter(nullptr, "One", &two);
    ZALSysLinkAdapter(&object, "Three", nullptr);
    EXPECT_EQ(ZALSysGetLinkedAdapter(&object, "One"), &one);
    one.Release();
    EXPECT_EQ(ZALSysGetLinkedAdapter(&object, "Two"), &two);
    two.Release();
    EXPECT_EQ(ZALSysGetLinkedAdapter(&object, "Three"), nullptr);
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
    EXPECT_FALSE(dictionary.Knows("ObjectTestMade"));
    EXPECT_EQ(dictionary.Create("ObjectTestMade"), nullptr);
    {
        const ZALFillDictionary entry("ObjectTestMade", MakeDerived);
        EXPECT_TRUE(dictionary.Knows("ObjectTestMade"));
        ZALBaseUnknown* made = dictionary.Create("ObjectTestMade");
        ASSERT_TRUE(made);
        EXPECT_STREQ(made->IsA(), "ObjectTestDerived");
        EXPECT_EQ(made->Release(), 0U);
    }
    EXPECT_FALSE(dictionary.Knows("ObjectTestMade"));
}

TEST(Dictionary, ANameIsTakenOnce)
{
    EXPECT_EQ(ZALFillDictionary::RegisterFunctionCreation("ObjectTestTaken", MakeBase), 1);
    EXPECT_EQ(ZALFillDictionary::RegisterFunctionCreation("ObjectTestTaken", MakeDerived), 0);
    EXPECT_EQ(ZALFillDictionary::RegisterFunctionCreation(nullptr, MakeBase), 0);
    EXPECT_EQ(ZALFillDictionary::RegisterFunctionCreation("ObjectTestFree", nullptr), 0);
    ZALBaseUnknown* made = ClassDictionary::Instance().Create("ObjectTestTaken");
    EXPECT_STREQ(made->IsA(), "ObjectTestBase");
    made->Release();
    ClassDictionary::Instance().RemoveCreation("ObjectTestTaken");
    EXPECT_FALSE(ClassDictionary::Instance().Knows("ObjectTestTaken"));
}

TEST(Dictionary, ACreationMayGiveNothing)
{
    const ZALFillDictionary entry("ObjectTestNothing", []() -> ZALBaseUnknown* { return nullptr; });
    EXPECT_EQ(ClassDictionary::Instance().Create("ObjectTestNothing"), nullptr);
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
    EXPECT_EQ(noted,
              "interface ObjectTestBase; class ObjectTestMade; creation ObjectTestCreated; trace ObjectTestTrace; ");
    dictionary.RemoveCreation("ObjectTestCreated");
}

} // namespace

} // namespace openhost::testing
