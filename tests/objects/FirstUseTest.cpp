// The record of a class, which its first use asks for.

#include "objects/MetaClassOperations.h"
#include "openhost/objects/ClassDictionary.h"
#include "tests/support/Objects.h"

#include <gmock/gmock.h>

#include <latch>
#include <thread>

namespace openhost::testing {

class RecordByMetaObject : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class RecordByGetMetaObject : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class RecordByIsA : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class RecordByIsAKindOf : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class RecordByClassId : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class RecordByThreads : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
class RecordByNobody : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
};
VL_DEFINE_META_CLASS(RecordByMetaObject, ZALBaseUnknown)
VL_DEFINE_META_CLASS(RecordByGetMetaObject, ZALBaseUnknown)
VL_DEFINE_META_CLASS(RecordByIsA, ZALBaseUnknown)
VL_DEFINE_META_CLASS(RecordByIsAKindOf, ZALBaseUnknown)
VL_DEFINE_META_CLASS(RecordByClassId, ZALBaseUnknown)
VL_DEFINE_META_CLASS(RecordByThreads, ZALBaseUnknown)
VL_DEFINE_META_CLASS(RecordByNobody, ZALBaseUnknown)

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The records of `name` that were asked of the host so far.
Texts RecordsOf(const std::string& name)
{
    Texts records;
    for (const Registration& registration : ClassDictionary::Instance().Registrations())
        if (registration.kind == "record" && registration.name == name)
            records.push_back(registration.values);
    return records;
}

/// Uses `Class` first by `use`, then by each other operation.
template <class Class, class Use>
void ExpectOneRecord(Use use)
{
    const std::string name = Class::ClassName();
    EXPECT_THAT(RecordsOf(name), IsEmpty()) << name << " by its name alone";
    const Class object;
    use(object);
    EXPECT_THAT(RecordsOf(name), ElementsAre("1, ZALBaseUnknown, ZALNull, ZALVelmartIntegration")) << name;

    const ZALMetaClass* record = Class::MetaObject();
    EXPECT_EQ(record, object.GetMetaObject()) << name;
    EXPECT_EQ(record->GetName(), object.IsA()) << name;
    EXPECT_EQ(1, object.IsAKindOf(name.c_str())) << name;
    EXPECT_EQ(record->GetClassId(), Class::ClassId()) << name;
    EXPECT_EQ(1U, RecordsOf(name).size()) << name;
}

TEST(FirstUse, MakesTheOneRecordWhateverItIs)
{
    ExpectOneRecord<RecordByMetaObject>([](const auto&) { RecordByMetaObject::MetaObject(); });
    ExpectOneRecord<RecordByGetMetaObject>([](const auto& object) { object.GetMetaObject(); });
    ExpectOneRecord<RecordByIsA>([](const auto& object) { object.IsA(); });
    ExpectOneRecord<RecordByIsAKindOf>([](const auto& object) { object.IsAKindOf("anything"); });
    ExpectOneRecord<RecordByClassId>([](const auto&) { RecordByClassId::ClassId(); });
}

TEST(FirstUse, IsNeitherTheNameNorAnObjectThatIsNotMade)
{
    EXPECT_STREQ("RecordByNobody", RecordByNobody::ClassName());
    EXPECT_EQ(nullptr, RecordByNobody::CreateItself());
    EXPECT_THAT(RecordsOf("RecordByNobody"), IsEmpty());
}

TEST(FirstUse, ByThreadsAtOnceMakesOneRecord)
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
                record = RecordByThreads::MetaObject();
            });
    }
    EXPECT_THAT(records, ::testing::Each(RecordByThreads::MetaObject()));
    EXPECT_EQ(1U, RecordsOf("RecordByThreads").size());
}

} // namespace

} // namespace openhost::testing
