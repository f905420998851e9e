// The class dictionary of the host: classes by name, adapters by class and interface, loaded modules.
#pragma once

#include "host/object_model.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace openhost {

/// One thing that a module told the host while it was loaded.
struct Registration {
    std::string kind;   ///< "interface", "class", "creation", "record", "trace"
    std::string name;   ///< name of the class or the trace
    std::string values; ///< what came with it, separated by commas
};

/// All of it is used on the user-interface thread.
class ClassDictionary {
public:
    static ClassDictionary& Instance();

    /// Makes an object of `className`; the caller owns one reference. Null when the name is unknown or the
    /// creation gives nothing.
    ZALBaseUnknown* Create(const std::string& className) const;
    /// Whether objects of `className` can be made by name.
    bool Knows(const std::string& className) const;
    /// The classes that can be made by name and have an adapter for `interfaceName`, in the order of registration.
    std::vector<std::string> ClassesOffering(std::string_view interfaceName) const;
    /// The adapter function of `className` or its nearest base for `interfaceName`, or null.
    ZALAdapterFunction FindAdapter(const ZALMetaClass* metaClass, std::string_view interfaceName) const;
    /// What modules registered, in the order in which they did.
    const std::vector<Registration>& Registrations() const { return registrations_; }

    void AddAdapter(const char* className, const char* interfaceName, ZALAdapterFunction adapter, int flag = 0);
    void AddCreation(const char* className, ZALCreationFunction creation, const char* kind);
    void Note(const char* kind, const char* name, const std::string& values = {});
    void RemoveAdapter(const char* className, const char* interfaceName);
    void RemoveCreation(const char* className);

private:
    friend class LoadedModule;
    struct Adapter {
        std::string className;
        std::string interfaceName;
        ZALAdapterFunction create;
    };
    struct Creation {
        std::string className;
        ZALCreationFunction create;
    };
    std::vector<Adapter> adapters_;
    std::vector<Creation> creations_;
    std::vector<Registration> registrations_;
};

/// A module's shared library, loaded as long as an object for it lives. Its entries leave the dictionary with the
/// last one; by then nothing of the module may be in use: no object, no window, no transfer, no posted call.
class LoadedModule {
public:
    /// Loads `library`. Throws std::runtime_error with the loader's message when that fails.
    explicit LoadedModule(const std::filesystem::path& library);
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule();

private:
    void* handle_;
};

} // namespace openhost
