#include "openhost/settings/SettingsStore.h"

#include "openhost/files/AtomicFile.h"
#include "openhost/files/BoundedFile.h"
#include "openhost/text/Utf.h"

#include <nlohmann/json.hpp>

#include <stdexcept>

namespace openhost {

namespace {

using Json = nlohmann::ordered_json;

// Far above what two settings need. They bound what a hostile file can cost.
constexpr std::size_t MaximumFileSize = 1 << 20;
constexpr int MaximumNesting = 64;

constexpr const char* Locks = "locks";
constexpr const char* Administrator = "administrator";

// ---------------------------------------------------------------------------------------------
// The file

// An empty object for an absent file.
Json ReadDocument(const std::filesystem::path& path)
{
    if (!std::filesystem::exists(path))
        return Json::object();
    Json document = Json::parse(ReadBounded(path, MaximumFileSize), [](int depth, Json::parse_event_t, Json&) {
        if (depth > MaximumNesting)
            throw std::runtime_error("it is nested too deeply");
        return true;
    });
    if (!document.is_object())
        throw std::runtime_error("it holds no JSON object");
    return document;
}

SettingsValues ValuesIn(const Json& object)
{
    SettingsValues values;
    if (const auto flag = object.find(SettingsStore::DoNotRemindDownloadLocation); flag != object.end()) {
        if (!flag->is_boolean())
            throw std::runtime_error("DoNotRemindDownloadLocation must be a boolean");
        values.doNotRemindDownloadLocation = flag->get<bool>();
    }
    if (const auto folder = object.find(SettingsStore::DownloadLocation); folder != object.end()) {
        if (!folder->is_string())
            throw std::runtime_error("DownloadLocation must be text");
        values.downloadLocation = FromUtf8(folder->get_ref<const std::string&>());
    }
    return values;
}

char LockIn(const Json& locks, const char* name)
{
    const auto lock = locks.find(name);
    if (lock == locks.end())
        return '-';
    if (!lock->is_string() || lock->get_ref<const std::string&>().size() != 1)
        throw std::runtime_error(std::string("the lock of ") + name + " must be a single character");
    return lock->get_ref<const std::string&>().front();
}

const Json& ObjectIn(const Json& document, const char* name)
{
    static const Json Nothing = Json::object();
    const auto member = document.find(name);
    if (member == document.end())
        return Nothing;
    if (!member->is_object())
        throw std::runtime_error(std::string(name) + " must be an object");
    return *member;
}

void PutLock(Json& locks, const char* name, char lock)
{
    if (lock == '-')
        locks.erase(name);
    else
        locks[name] = std::string(1, lock);
}

[[noreturn]] void Fail(const std::filesystem::path& file, const std::string& what, const std::exception& reason)
{
    throw std::runtime_error("the settings file " + file.string() + " cannot be " + what + ": " + reason.what());
}

} // namespace

// ---------------------------------------------------------------------------------------------
// The store

SettingsStore& SettingsStore::Current()
{
    static auto& store = *new SettingsStore;
    return store;
}

void SettingsStore::Reset()
{
    *this = SettingsStore();
}

void SettingsStore::Load(const std::filesystem::path& file)
{
    Reset();
    try {
        Read(file);
    } catch (const std::exception& reason) {
        Reset();
        available_ = false;
        Fail(file, "loaded", reason);
    }
    file_ = file;
}

void SettingsStore::Read(const std::filesystem::path& file)
{
    const Json document = ReadDocument(file);
    values_ = ValuesIn(document);
    administrator_ = ValuesIn(ObjectIn(document, Administrator));
    const Json& locks = ObjectIn(document, Locks);
    doNotRemindLock_ = LockIn(locks, DoNotRemindDownloadLocation);
    downloadLocationLock_ = LockIn(locks, DownloadLocation);
    Keep();
}

void SettingsStore::Save() const
{
    if (!available_)
        throw std::runtime_error("the settings cannot be saved: there is no store");
    if (file_.empty())
        return;
    try {
        Json document = ReadDocument(file_);
        document[DoNotRemindDownloadLocation] = values_.doNotRemindDownloadLocation;
        document[DownloadLocation] = ToUtf8(values_.downloadLocation);
        Json locks = ObjectIn(document, Locks);
        PutLock(locks, DoNotRemindDownloadLocation, doNotRemindLock_);
        PutLock(locks, DownloadLocation, downloadLocationLock_);
        if (locks.empty())
            document.erase(Locks);
        else
            document[Locks] = locks;
        WriteFileAtomically(file_, document.dump(2) + "\n");
    } catch (const std::exception& reason) {
        Fail(file_, "saved", reason);
    }
}

char SettingsStore::Lock(const std::string& name) const
{
    if (name == DoNotRemindDownloadLocation)
        return doNotRemindLock_;
    if (name == DownloadLocation)
        return downloadLocationLock_;
    throw std::invalid_argument("there is no setting " + name);
}

void SettingsStore::SetLock(const std::string& name, char lock)
{
    if (name == DoNotRemindDownloadLocation)
        doNotRemindLock_ = lock;
    else if (name == DownloadLocation)
        downloadLocationLock_ = lock;
    else
        throw std::invalid_argument("there is no setting " + name);
}

bool SettingsStore::IsLocked(const std::string& name) const
{
    const char lock = Lock(name);
    return lock == 'R' || lock == 'r';
}

void SettingsStore::TakeUnlocked(const SettingsValues& values)
{
    if (!IsLocked(DoNotRemindDownloadLocation))
        values_.doNotRemindDownloadLocation = values.doNotRemindDownloadLocation;
    if (!IsLocked(DownloadLocation))
        values_.downloadLocation = values.downloadLocation;
}

} // namespace openhost
