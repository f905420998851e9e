// The record of a class, which its first use makes.

#include "objects/MetaClassOperations.h"
#include "tests/steps/Services.h"

#include <gmock/gmock.h>

#include <latch>
#include <thread>

namespace openhost::testing {

// Classes that nobody has used before, one for each first use.

class FirstByMetaObject : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class FirstByGetMetaObject : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class FirstByIsA : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class FirstByIsAKindOf : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class FirstByClassId : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class FirstByThreads : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class NeverUsed : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
VL_DEFINE_META_CLASS(FirstByMetaObject, ZALBaseUnknown)
VL_DEFINE_META_CLASS(FirstByGetMetaObject, ZALBaseUnknown)
VL_DEFINE_META_CLASS(FirstByIsA, ZALBaseUnknown)
VL_DEFINE_META_CLASS(FirstByIsAKindOf, ZALBaseUnknown)
VL_DEFINE_META_CLASS(FirstByClassId, ZALBaseUnknown)
VL_DEFINE_META_CLASS(FirstByThreads, ZALBaseUnknown)
VL_DEFINE_META_CLASS(NeverUsed, ZALBaseUnknown)

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The records of `className` that were asked of the host so far.
Texts RecordsOf(const std::string& className)
{
    Texts records;
    for (const std::string& call : Registered())
        if (call.starts_with("record of " + className + ","))
            records.push_back(call);
    return records;
}

/// Uses `Class` first by `use`, then by each other operation: there is one record.
template <class Class, class Use>
void ExpectRecordBy(Use use)
{
    const std::string name = Class::ClassName();
    EXPECT_THAT(RecordsOf(name), IsEmpty()) << "not by its name alone";
    const Class object;
    use(object);
    EXPECT_THAT(RecordsOf(name), ElementsAre("record of " + name + ", 1, ZALBaseUnknown, ZALNull"));

    const ZALMetaClass* record = Class::MetaObject();
    EXPECT_EQ(object.GetMetaObject(), record);
    EXPECT_EQ(object.IsA(), record->GetName());
    EXPECT_EQ(object.IsAKindOf(name.c_str()), 1);
    EXPECT_EQ(Class::ClassId(), record->GetClassId());
    EXPECT_EQ(RecordsOf(name).size(), 1U);
}

TEST(MetaClassSteps, MakeTheRecordByMetaObject)
{
    ExpectRecordBy<FirstByMetaObject>([](const auto&) { FirstByMetaObject::MetaObject(); });
}

TEST(MetaClassSteps, MakeTheRecordByGetMetaObject)
{
    ExpectRecordBy<FirstByGetMetaObject>([](const auto& object) { object.GetMetaObject(); });
}

TEST(MetaClassSteps, MakeTheRecordByIsA)
{
    ExpectRecordBy<FirstByIsA>([](const auto& object) { object.IsA(); });
}

TEST(MetaClassSteps, MakeTheRecordByIsAKindOf)
{
    ExpectRecordBy<FirstByIsAKindOf>([](const auto& object) { object.IsAKindOf("anything"); });
}

TEST(MetaClassSteps, MakeTheRecordByClassId)
{
    ExpectRecordBy<FirstByClassId>([](const auto&) { FirstByClassId::ClassId(); });
}

TEST(MetaClassSteps, MakeNoRecordForTheNameAndForNoObject)
{
    EXPECT_STREQ(NeverUsed::ClassName(), "NeverUsed");
    EXPECT_EQ(NeverUsed::CreateItself(), nullptr);
    EXPECT_THAT(RecordsOf("NeverUsed"), IsEmpty());
}

TEST(MetaClassSteps, MakeOneRecordForThreadsThatAskAtOnce)
{
    constexpr int count = 8;
    ZALBaseUnknown::MetaObject();
    std::latch together(count);
    std::vector<const ZALMetaClass*> records(count);
    {
        std::vector<std::jthread> threads;
        for (const ZALMetaClass*& record : records)
            threads.emplace_back([&together, &record] {
                together.arrive_and_wait();
                record = FirstByThreads::MetaObject();
            });
    }
    EXPECT_THAT(records, ::testing::Each(FirstByThreads::MetaObject()));
    EXPECT_EQ(RecordsOf("FirstByThreads").size(), 1U);
}

} // namespace

} // namespace openhost::testing
