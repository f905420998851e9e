#include "openhost/objects/ClassDictionary.h"

#include <algorithm>
#include <dlfcn.h>
#include <link.h>
#include <set>
#include <stdexcept>

namespace openhost {

ClassDictionary& ClassDictionary::Instance()
{
    // Never destroyed: modules take their entries out while the process ends.
    static auto& dictionary = *new ClassDictionary;
    return dictionary;
}

ZALBaseUnknown* ClassDictionary::Create(const std::string& className) const
{
    for (const Creation& creation : creations_)
        if (creation.className == className)
            return creation.create();
    return nullptr;
}

bool ClassDictionary::Knows(const std::string& className) const
{
    return std::ranges::any_of(creations_, [&](const Creation& creation) { return creation.className == className; });
}

std::vector<std::string> ClassDictionary::ClassesOffering(std::string_view interfaceName) const
{
    std::vector<std::string> classes;
    for (const Adapter& adapter : adapters_)
        if (adapter.interfaceName == interfaceName && Knows(adapter.className))
            classes.push_back(adapter.className);
    return classes;
}

ZALAdapterFunction ClassDictionary::FindAdapter(const ZALMetaClass* metaClass, std::string_view interfaceName) const
{
    for (; metaClass; metaClass = metaClass->GetBase())
        for (const Adapter& adapter : adapters_)
            if (adapter.className == metaClass->GetName() && adapter.interfaceName == interfaceName)
                return adapter.create;
    return nullptr;
}

void ClassDictionary::AddAdapter(const char* className, const char* interfaceName, ZALAdapterFunction adapter, int flag)
{
    adapters_.push_back({className, interfaceName, adapter});
    Note("interface", className, std::string(interfaceName) + ", " + std::to_string(flag));
}

void ClassDictionary::AddCreation(const char* className, ZALCreationFunction creation, const char* kind)
{
    creations_.push_back({className, creation});
    Note(kind, className);
}

void ClassDictionary::Note(const char* kind, const char* name, const std::string& values)
{
    registrations_.push_back({kind, name, values});
}

void ClassDictionary::RemoveAdapter(const char* className, const char* interfaceName)
{
    std::erase_if(adapters_, [&](const Adapter& adapter) {
        return adapter.className == className && adapter.interfaceName == interfaceName;
    });
}

void ClassDictionary::RemoveCreation(const char* className)
{
    std::erase_if(creations_, [&](const Creation& creation) { return creation.className == className; });
}

LoadedModule::LoadedModule(const std::filesystem::path& library)
    : handle_(dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (!handle_)
        throw std::runtime_error(dlerror());
}

LoadedModule::~LoadedModule()
{
    // A creation function has no object that takes it out; it is recognised by the library its code lies in.
    const link_map* opened = nullptr;
    dlinfo(handle_, RTLD_DI_LINKMAP, &opened);
    const std::string library = opened ? opened->l_name : "";
    std::set<ZALCreationFunction> ending;
    for (const ClassDictionary::Creation& creation : ClassDictionary::Instance().creations_) {
        Dl_info information{};
        if (dladdr(reinterpret_cast<const void*>(creation.create), &information) && library == information.dli_fname)
            ending.insert(creation.create);
    }
    dlclose(handle_);

    // Somebody else may have loaded it too.
    if (void* still = dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
        dlclose(still);
        return;
    }
    std::erase_if(ClassDictionary::Instance().creations_,
                  [&](const ClassDictionary::Creation& creation) { return ending.contains(creation.create); });
}

} // namespace openhost

ZALFillDictionary::ZALFillDictionary(const char* className, const char* interfaceName, ZALAdapterFunction adapter,
                                     int flag)
    : className_(className), interfaceName_(interfaceName)
{
    openhost::ClassDictionary::Instance().AddAdapter(className, interfaceName, adapter, flag);
}

ZALFillDictionary::ZALFillDictionary(const char* className, ZALCreationFunction creation)
    : className_(className), interfaceName_(nullptr)
{
    openhost::ClassDictionary::Instance().AddCreation(className, creation, "class");
}

ZALFillDictionary::~ZALFillDictionary()
{
    if (interfaceName_)
        openhost::ClassDictionary::Instance().RemoveAdapter(className_, interfaceName_);
    else
        openhost::ClassDictionary::Instance().RemoveCreation(className_);
}

int ZALFillDictionary::RegisterFunctionCreation(const char* className, ZALCreationFunction creation)
{
    openhost::ClassDictionary& dictionary = openhost::ClassDictionary::Instance();
    if (!className || !creation || dictionary.Knows(className))
        return 0;
    dictionary.AddCreation(className, creation, "creation");
    return 1;
}
