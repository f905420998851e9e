#include "openhost/objects/ClassDictionary.h"

#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>

struct ZALMetaClassAccess {
    static ZALMetaClass* Make(const char* name, int kind, ZALMetaClass* base, const char* module)
    {
        auto* record = new ZALMetaClass;
        record->name_ = name;
        record->module_ = module;
        record->base_ = base;
        record->kind_ = kind;
        return record;
    }
};

namespace {
// Records and their texts outlive the modules that asked for them.
const char* Keep(const char* text)
{
    static std::set<std::string> texts;
    return texts.insert(text ? text : "").first->c_str();
}
} // namespace

const char* ZALMetaClass::GetName() const
{
    return name_;
}

ZALClassId ZALMetaClass::GetClassId() const
{
    return name_;
}

int ZALMetaClass::GetKind() const
{
    return kind_;
}

ZALMetaClass* ZALMetaClass::GetBase() const
{
    return base_;
}

const char* ZALMetaClass::GetModule() const
{
    return module_;
}

int ZALMetaClass::IsAKindOf(const char* className) const
{
    if (!className)
        return 0;
    for (const ZALMetaClass* record = this; record; record = record->base_)
        if (std::strcmp(record->name_, className) == 0)
            return 1;
    return 0;
}

ZALMetaClass* fct_RetrieveMetaObject(const char* className, int kind, ZALMetaClass* base, const char* extended,
                                     const char* module)
{
    static std::map<std::pair<std::string, int>, std::unique_ptr<ZALMetaClass>> records;
    std::unique_ptr<ZALMetaClass>& record = records[{className, kind}];
    if (!record)
        record.reset(ZALMetaClassAccess::Make(Keep(className), kind, base, Keep(module)));
    const auto text = [](const char* value) { return std::string(value ? value : ""); };
    openhost::ClassDictionary::Instance().Note("record", text(className).c_str(),
                                               std::to_string(kind) + ", " + text(base ? base->GetName() : "") + ", " +
                                                   text(extended) + ", " + text(module));
    return record.get();
}
