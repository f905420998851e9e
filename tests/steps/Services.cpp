#include "tests/steps/Services.h"

#include "host/archive.h"
#include "host/dialog_engine.h"
#include "host/dialogs.h"
#include "host/frame.h"
#include "host/hash.h"
#include "host/http.h"
#include "host/json.h"
#include "host/system.h"
#include "host/visualization.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <new>
#include <tuple>
#include <utility>

namespace openhost::testing {

namespace {

/// A call that is seen as it is made, and not kept.
void Show(const std::string& call)
{
    if (const auto& onCall = CurrentServices().onCall)
        onCall(call);
}

void Note(std::string call)
{
    Show(call);
    const bool isScarce = call == CurrentServices().scarceCall;
    CurrentServices().calls.push_back(std::move(call));
    if (isScarce)
        throw std::bad_alloc();
}

std::string Quote(const ZALUnicodeString& text)
{
    return "'" + ToUtf8(text) + "'";
}

/// The host's own operation behind the one that is defined here, by its name in the library.
template <class Operation>
Operation* TheHostsOwn(const char* name)
{
    return reinterpret_cast<Operation*>(dlsym(RTLD_NEXT, name));
}

class RecordedHeader : public ZALCommandHeader {
public:
    int IsAvailable() const override
    {
        Note("is available");
        return CurrentServices().headerAnswer;
    }
    void SetAvailability(int mask, int state) override
    {
        Note("set " + std::to_string(mask) + " to " + std::to_string(state));
    }
};

class RecordedApplication : public ZALInteractiveApplication {
public:
    void AddTimeOut(unsigned int milliseconds, ZALBaseUnknown* client, void* data, ZALTimeOutFunction function) override
    {
        Note("wait " + std::to_string(milliseconds));
        added_ = {milliseconds, client, data, function};
    }
    void RemoveTimeOut(unsigned int milliseconds, ZALBaseUnknown* client, void* data,
                       ZALTimeOutFunction function) override
    {
        Note(added_ == TimeOut{milliseconds, client, data, function} ? "wait no more" : "wait no more for another");
    }
    void UpdateDisplay() override { Note("repaint"); }

private:
    using TimeOut = std::tuple<unsigned int, ZALBaseUnknown*, void*, ZALTimeOutFunction>;
    TimeOut added_;
};

struct Living {
    Living() { ++CurrentServices().livingObjects; }
    Living(const Living&) = delete;
    Living& operator=(const Living&) = delete;
    ~Living() { --CurrentServices().livingObjects; }
};

class RecordedStorage : public ZALStorage {
public:
    explicit RecordedStorage(const char* name) : name_(name) { ++CurrentServices().openStorages; }
    HRESULT OpenStorage(const ZALUnicodeString& name, int create, ZALStorage** storage) override
    {
        Note("storage " + ToUtf8(name) + " " + std::to_string(create));
        *storage = SUCCEEDED(CurrentServices().storageResult) ? new RecordedStorage("storage") : nullptr;
        return CurrentServices().storageResult;
    }
    HRESULT Close(int mode) override
    {
        --CurrentServices().openStorages;
        Note(std::string("end of ") + name_ + " " + std::to_string(mode));
        return CurrentServices().storageCloseResult;
    }
    const char* Name() const { return name_; }

private:
    const char* name_;
    Living living_;
};

class RecordedSymbols : public ZALIPointedSymbols {
public:
    HRESULT GetPointedDocuments(ZALListValZALUnicodeString& paths) override
    {
        for (const std::string& path : CurrentServices().pointed)
            paths.Append(FromUtf8(path));
        return CurrentServices().pointedResult;
    }

private:
    Living living_;
};

class BareManager : public ZALBaseUnknown {
    Living living_;
};

} // namespace

Services& CurrentServices()
{
    static Services services;
    return services;
}

Texts& Registered()
{
    static Texts registered;
    return registered;
}

// ---------------------------------------------------------------------------------------------
// Settings

HRESULT RecordedSettings::SettingsStepOne(int mode)
{
    Note("step one " + std::to_string(mode));
    return stepOneResult;
}

HRESULT RecordedSettings::SettingsStepTwo(int mode, int option)
{
    Note("step two " + std::to_string(mode) + " " + std::to_string(option));
    return stepTwoResult;
}

HRESULT RecordedSettings::SettingsStepThree()
{
    Note("step three");
    return stepThreeResult;
}

HRESULT RecordedSettings::SaveSettings(int mode)
{
    Note("save " + std::to_string(mode));
    return saveResult;
}

HRESULT RecordedSettings::GetDoNotRemindDownloadLocation(bool& value)
{
    Note("get flag");
    if (!gives)
        return E_FAIL;
    value = flag;
    return S_OK;
}

HRESULT RecordedSettings::SetDoNotRemindDownloadLocation(bool value)
{
    Note(std::string("set flag ") + (value ? "true" : "false"));
    if (SUCCEEDED(setResult))
        flag = value;
    return setResult;
}

HRESULT RecordedSettings::GetDoNotRemindDownloadLocationInfo(ZALSettingInfo&)
{
    Note("info of flag");
    return S_OK;
}

HRESULT RecordedSettings::SetDoNotRemindDownloadLocationLock(unsigned char)
{
    Note("lock flag");
    return S_OK;
}

HRESULT RecordedSettings::GetDownloadLocation(ZALUnicodeString& value)
{
    Note("get folder");
    if (!gives)
        return E_FAIL;
    value = FromUtf8(folder);
    return S_OK;
}

HRESULT RecordedSettings::SetDownloadLocation(const ZALUnicodeString& value)
{
    Note("set folder " + ToUtf8(value));
    if (SUCCEEDED(setResult))
        folder = ToUtf8(value);
    return setResult;
}

HRESULT RecordedSettings::GetDownloadLocationInfo(ZALSettingInfo&)
{
    Note("info of folder");
    return S_OK;
}

} // namespace openhost::testing

using openhost::ToUtf8;
using openhost::testing::BareManager;
using openhost::testing::CurrentServices;
using openhost::testing::Note;
using openhost::testing::Quote;
using openhost::testing::RecordedApplication;
using openhost::testing::RecordedHeader;
using openhost::testing::RecordedStorage;
using openhost::testing::RecordedSymbols;
using openhost::testing::Registered;
using openhost::testing::Services;
using openhost::testing::Show;
using openhost::testing::TheHostsOwn;

HRESULT CreateZALIVelmartIntegrationSettingAtt(ZALIVelmartIntegrationSettingAtt** settings)
{
    Note("settings");
    *settings = CurrentServices().settings.get();
    (*settings)->AddRef();
    return CurrentServices().settingsResult;
}

void* ZALBaseUnknown::operator new(std::size_t size)
{
    if (size == openhost::testing::ScarceSize)
        throw std::bad_alloc();
    return ::operator new(size);
}

// ---------------------------------------------------------------------------------------------
// Files

HRESULT ZALFOpen(const ZALUnicodeString& path, const char* mode, ZALFileHandle& handle)
{
    Note("open " + ToUtf8(path) + " " + mode);
    handle = SUCCEEDED(CurrentServices().openResult) ? CurrentServices().handle : 0;
    return CurrentServices().openResult;
}

HRESULT ZALFSize(ZALFileHandle handle, std::uint32_t& size)
{
    Note("size " + std::to_string(handle));
    size = CurrentServices().size;
    return CurrentServices().sizeResult;
}

HRESULT ZALFRead(ZALFileHandle handle, void* buffer, std::uint32_t size, std::uint32_t& count)
{
    Note("read " + std::to_string(handle) + " " + std::to_string(size));
    Services& services = CurrentServices();
    ++services.reads;
    count = std::min(size, static_cast<std::uint32_t>(services.content.size()));
    std::memcpy(buffer, services.content.data(), count);
    if (services.reads == services.shortRead)
        --count;
    return services.reads == services.failingRead ? E_FAIL : services.readResult;
}

HRESULT ZALFWrite(ZALFileHandle handle, const void* bytes, std::uint32_t size, std::uint32_t& count)
{
    const std::string first(static_cast<const char*>(bytes), std::min(size, 1U));
    Note("write " + std::to_string(handle) + " " + std::to_string(size) + " from " + first);
    count = size - std::min(size, CurrentServices().unwritten);
    return CurrentServices().writeResult;
}

HRESULT ZALFClose(ZALFileHandle handle)
{
    Note("close " + std::to_string(handle));
    return CurrentServices().closeResult;
}

HRESULT ZALFileStat(const ZALUnicodeString&, ZALFileStatus& status, int options)
{
    CurrentServices().statOptions = options;
    status.Mode = CurrentServices().mode;
    return CurrentServices().statResult;
}

HRESULT ZALDeleteFile(const ZALUnicodeString& path)
{
    Note("delete " + ToUtf8(path));
    return CurrentServices().archiveResult;
}

int ZALRenameFile(const ZALString& from, const ZALString& to)
{
    Note(std::string("rename ") + from.CastToCharPtr() + " to " + to.CastToCharPtr());
    if (const std::optional<int> result = CurrentServices().renamingResult)
        return *result;
    static auto* const rename =
        TheHostsOwn<int(const ZALString&, const ZALString&)>("_Z13ZALRenameFileRK9ZALStringS1_");
    return rename(from, to);
}

ZALUnicodeString ZALDlgServices::GetFileExtensionName(const ZALUnicodeString& path)
{
    Note("extension of " + ToUtf8(path));
    return CurrentServices().extension;
}

// ---------------------------------------------------------------------------------------------
// Hashes

HRESULT KRYSysHash_Init(int algorithm, KRYSysHashContext&)
{
    Note("init " + std::to_string(algorithm));
    return CurrentServices().initResult;
}

HRESULT KRYSysHash_Update(KRYSysHashContext&, const void*, std::uint32_t size)
{
    Note("update " + std::to_string(size));
    return ++CurrentServices().updates == CurrentServices().failingUpdate ? E_FAIL : S_OK;
}

HRESULT KRYSysHash_Final(KRYSysHashContext&, unsigned char* digest, std::uint32_t& length)
{
    Note("final");
    for (unsigned char position = 0; position < 16; ++position)
        digest[position] = static_cast<unsigned char>(0xA0 + position);
    length = CurrentServices().digestLength;
    return CurrentServices().finalResult;
}

int ZALOmx::BytesToHex(const void* bytes, int count, char* text, int size, int flags)
{
    Note("hex " + std::to_string(count) + " " + std::to_string(size) + " " + std::to_string(flags));
    const auto* byte = static_cast<const unsigned char*>(bytes);
    for (int position = 0; position < count; ++position) {
        text[2 * position] = "0123456789ABCDEF"[byte[position] >> 4];
        text[2 * position + 1] = "0123456789ABCDEF"[byte[position] & 15];
    }
    return CurrentServices().hexResult;
}

// ---------------------------------------------------------------------------------------------
// Archives and light files

HRESULT ZALSysZipFile::OpenZip(const ZALUnicodeString& path, unsigned int mode)
{
    Note("zip open " + ToUtf8(path) + " " + std::to_string(mode));
    return CurrentServices().archiveResult;
}

HRESULT ZALSysZipFile::BrowseZip(ZALUnicodeString*& names, std::uint64_t*& sizes, unsigned int& count)
{
    Note("zip browse");
    const Services& services = CurrentServices();
    if (FAILED(services.browseResult))
        return services.browseResult;
    count = static_cast<unsigned int>(services.entries.size());
    names = new ZALUnicodeString[count];
    sizes = new std::uint64_t[count];
    std::ranges::transform(services.entries, names, openhost::FromUtf8);
    return S_OK;
}

HRESULT ZALSysZipFile::ExtractFile(const ZALUnicodeString& folder, const ZALUnicodeString& entry, unsigned int flags)
{
    Note("zip extract " + ToUtf8(folder) + " " + ToUtf8(entry) + " " + std::to_string(flags));
    return CurrentServices().extractResult;
}

HRESULT ZALSysZipFile::AddFile(const ZALUnicodeString& file, int compress, int relative, const ZALUnicodeString& base,
                               int options)
{
    Note("zip add " + ToUtf8(file) + " " + std::to_string(compress) + " " + std::to_string(relative) + " " +
         ToUtf8(base) + " " + std::to_string(options));
    return CurrentServices().archiveResult;
}

HRESULT ZALSysZipFile::Close()
{
    Note("zip close");
    Services& services = CurrentServices();
    return ++services.archiveClosings == services.failingArchiveClose ? E_FAIL : services.archiveCloseResult;
}

int ZALWriteLvr(ZALRep*, const char* path, ZALSettingLvr setting, const ZALLvrColorMap* colors, unsigned char options,
                ZALVizLVRAccessMode access)
{
    Note(std::string("write ") + path + " " + std::to_string(setting) + (colors ? " colors " : " no colors ") +
         std::to_string(options) + " " + std::to_string(access));
    return CurrentServices().lightFileResult;
}

// ---------------------------------------------------------------------------------------------
// Compound documents

HRESULT ZALStorage::OpenRootStg(const ZALUnicodeString& path, int create, ZALStorage** storage, int mode)
{
    Note("root " + ToUtf8(path) + " " + std::to_string(create) + " " + std::to_string(mode));
    *storage = SUCCEEDED(CurrentServices().rootResult) ? new RecordedStorage("root") : nullptr;
    return CurrentServices().rootResult;
}

ZALBaseUnknown* ZALDocumentProperty::CreateDocLinkManager(ZALStorage* storage, void* context)
{
    const auto* recorded = dynamic_cast<const RecordedStorage*>(storage);
    Note(std::string("manager of ") + (recorded ? recorded->Name() : "nothing") + (context ? " in a context" : ""));
    if (!CurrentServices().hasManager)
        return nullptr;
    if (!CurrentServices().hasSymbols)
        return new BareManager;
    return new RecordedSymbols;
}

// ---------------------------------------------------------------------------------------------
// Transfers

int ZALCefHttpRequest::GetStatus() const
{
    static auto* const status = TheHostsOwn<int(const ZALCefHttpRequest*)>("_ZNK17ZALCefHttpRequest9GetStatusEv");
    return CurrentServices().requestStatus.value_or(status(this));
}

void ZALCefHttpRequest::Cancel()
{
    Note("cancel");
    static auto* const cancel = TheHostsOwn<void(ZALCefHttpRequest*)>("_ZN17ZALCefHttpRequest6CancelEv");
    cancel(this);
}

ZALCefHttpDataHandler::~ZALCefHttpDataHandler()
{
    Note("handler ends");
}

void ZALSleep(unsigned int milliseconds)
{
    Note("sleep " + std::to_string(milliseconds));
}

void ZALDialog::SetSensitivity(int sensitivity)
{
    Note("sensitivity " + std::to_string(sensitivity));
    static auto* const set = TheHostsOwn<void(ZALDialog*, int)>("_ZN9ZALDialog14SetSensitivityEi");
    set(this, sensitivity);
}

// ---------------------------------------------------------------------------------------------
// Texts

void ZALOmxJson::ActivateConsistentDoubleUnstream()
{
    Note("consistent numbers");
}

HRESULT ZALOmxJson::parse(const ZALOmxUTF8String& text, ZALOmxAny& value)
{
    Note("parse");
    static auto* const parse = TheHostsOwn<HRESULT(ZALOmxJson*, const ZALOmxUTF8String&, ZALOmxAny&)>(
        "_ZN10ZALOmxJson5parseERK16ZALOmxUTF8StringR9ZALOmxAny");
    return parse(this, text, value);
}

int ZALOmxAny::GetKind() const
{
    static auto* const kind = TheHostsOwn<int(const ZALOmxAny*)>("_ZNK9ZALOmxAny7GetKindEv");
    return kind(this) | CurrentServices().bitsOfTheHost;
}

/// Forward alone, which is all that the module asks for here.
int ZALUnicodeString::SearchSubString(const ZALUnicodeString& fragment, int start, int mode) const
{
    Note("search " + Quote(fragment) + " from " + std::to_string(start) + " in mode " + std::to_string(mode));
    const std::size_t found = text_.find(fragment.text_, static_cast<std::size_t>(start));
    return found == std::u16string::npos ? -1 : static_cast<int>(found);
}

// ---------------------------------------------------------------------------------------------
// Requests, windows and the panel, which the host takes as well

void ZALCefHttpHeaderMap::AddValue(const ZALUnicodeString& name, const ZALUnicodeString& value)
{
    Note("field " + ToUtf8(name) + ": " + ToUtf8(value));
    static auto* const add = TheHostsOwn<void(ZALCefHttpHeaderMap*, const ZALUnicodeString&, const ZALUnicodeString&)>(
        "_ZN19ZALCefHttpHeaderMap8AddValueERK16ZALUnicodeStringS2_");
    add(this, name, value);
}

void ZALCefHttpBody::SetContents(const void* bytes, std::size_t length)
{
    Note("body of " + std::to_string(length));
    static auto* const set =
        TheHostsOwn<void(ZALCefHttpBody*, const void*, std::size_t)>("_ZN14ZALCefHttpBody11SetContentsEPKvm");
    set(this, bytes, length);
}

bool ZALCefHttpRequest::Send(ZALCefHttpDataHandler* handler)
{
    Note("send");
    static auto* const send = TheHostsOwn<bool(ZALCefHttpRequest*, ZALCefHttpDataHandler*)>(
        "_ZN17ZALCefHttpRequest4SendEP21ZALCefHttpDataHandler");
    return send(this, handler);
}

void ZALDialog::RequestDelayedDestruction()
{
    Show(std::string("end ") + GetName().CastToCharPtr());
    static auto* const end = TheHostsOwn<void(ZALDialog*)>("_ZN9ZALDialog25RequestDelayedDestructionEv");
    end(this);
}

ZALIMeridiaAccessDialog_var ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog()
{
    static auto* const current =
        TheHostsOwn<ZALIMeridiaAccessDialog_var()>("_ZN24ZALMeridiaAccessServices29GetCurrentMeridiaAccessDialogEv");
    ZALIMeridiaAccessDialog* panel = CurrentServices().panel;
    return panel ? ZALIMeridiaAccessDialog_var(panel) : current();
}

ZALIMeridiaAccessDialog_var ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog()
{
    static auto* const open =
        TheHostsOwn<ZALIMeridiaAccessDialog_var()>("_ZN24ZALMeridiaAccessServices30GetOrCreateMeridiaAccessDialogEv");
    ZALIMeridiaAccessDialog* panel = CurrentServices().panel;
    return panel ? ZALIMeridiaAccessDialog_var(panel) : open();
}

// ---------------------------------------------------------------------------------------------
// Commands. Graphs are noted and not made, so that no command runs.

ZALApplication* ZALApplication::MainApplication()
{
    static RecordedApplication application;
    return &application;
}

ZALCommandHeader* ZALCommandHeader::GetHeaderFromList(const ZALString& name, int options)
{
    static RecordedHeader header;
    Note(std::string("header ") + name.CastToCharPtr() + " " + std::to_string(options));
    return CurrentServices().hasHeader ? &header : nullptr;
}

void ZALDialogState::AddDialogAgent(ZALDialogAgent* agent)
{
    Note(std::string("state ") + name_.CastToCharPtr() + " [" + resourceId_.CastToCharPtr() + "] takes " +
         agent->GetName().CastToCharPtr() + ", behavior " + std::to_string(agent->GetBehavior()) + ", mode " +
         std::to_string(agent->GetMode()));
}

ZALDialogCondition* ZALStateCommand::IsOutputSetCondition(ZALDialogAgent* agent)
{
    Note(std::string("when ") + agent->GetName().CastToCharPtr() + " has a value");
    return nullptr;
}

void ZALStateCommand::AddTransition(ZALDialogState* from, ZALDialogState* to, ZALDialogCondition*,
                                    ZALDialogAction* action)
{
    const std::string target = !to ? "the end" : to == GetCancelState() ? "cancel" : to->GetName().CastToCharPtr();
    Note(std::string(from->GetName().CastToCharPtr()) + " to " + target + (action ? " by an action" : ""));
}

ZALCallback ZALEventSubscriber::AddCallback(ZALBaseUnknown* publisher, const char* notificationClass,
                                            ZALSubscriberMethod method, void* data)
{
    CurrentServices().subscribed[notificationClass] = method;
    static auto* const add =
        TheHostsOwn<ZALCallback(ZALEventSubscriber*, ZALBaseUnknown*, const char*, ZALSubscriberMethod, void*)>(
            "_ZN18ZALEventSubscriber11AddCallbackEP14ZALBaseUnknownPKcMS0_FvS1_P15ZALNotificationPvES6_");
    return add(this, publisher, notificationClass, method, data);
}

void ZALEventSubscriber::RemoveSubscriberCallbacks(ZALBaseUnknown* publisher)
{
    Note(std::string("hear no more of ") + (publisher ? publisher->IsA() : "nobody"));
}

void ZALEventSubscriber::RemoveCallback(ZALBaseUnknown* publisher, ZALCallback callback)
{
    Note(publisher == ZALFrmLayout::GetCurrentLayout() ? "remove from the layout" : "remove");
    static auto* const remove = TheHostsOwn<void(ZALEventSubscriber*, ZALBaseUnknown*, ZALCallback)>(
        "_ZN18ZALEventSubscriber14RemoveCallbackEP14ZALBaseUnknownj");
    remove(this, publisher, callback);
}

// ---------------------------------------------------------------------------------------------
// Registration, which the host takes as well

ZALFillDictionary::ZALFillDictionary(const char* className, const char* interfaceName, ZALAdapterFunction adapter,
                                     int flag)
    : className_(className), interfaceName_(interfaceName)
{
    // The host has entries for classes of its own.
    if (std::string(className).starts_with("ZALVelmart"))
        Registered().push_back(std::string("interface ") + interfaceName + " of " + className + ", " +
                               std::to_string(flag));
    static auto* const fill = TheHostsOwn<void(ZALFillDictionary*, const char*, const char*, ZALAdapterFunction, int)>(
        "_ZN17ZALFillDictionaryC1EPKcS1_PFP14ZALBaseUnknownS3_Ei");
    fill(this, className, interfaceName, adapter, flag);
}

ZALFillDictionary::ZALFillDictionary(const char* className, ZALCreationFunction creation)
    : className_(className), interfaceName_(nullptr)
{
    Registered().push_back(std::string("class ") + className);
    static auto* const fill = TheHostsOwn<void(ZALFillDictionary*, const char*, ZALCreationFunction)>(
        "_ZN17ZALFillDictionaryC1EPKcPFP14ZALBaseUnknownvE");
    fill(this, className, creation);
}

int ZALFillDictionary::RegisterFunctionCreation(const char* className, ZALCreationFunction creation)
{
    Registered().push_back(std::string("creation of ") + className);
    static auto* const enter = TheHostsOwn<int(const char*, ZALCreationFunction)>(
        "_ZN17ZALFillDictionary24RegisterFunctionCreationEPKcPFP14ZALBaseUnknownvE");
    return enter(className, creation);
}

ZALMetaClass* fct_RetrieveMetaObject(const char* className, int kind, ZALMetaClass* base, const char* extended,
                                     const char* module)
{
    if (std::string(module) == "ZALVelmartIntegration")
        Registered().push_back(std::string("record of ") + className + ", " + std::to_string(kind) + ", " +
                               base->GetName() + ", " + extended);
    static auto* const retrieve =
        TheHostsOwn<decltype(fct_RetrieveMetaObject)>("_Z22fct_RetrieveMetaObjectPKciP12ZALMetaClassS0_S0_");
    return retrieve(className, kind, base, extended, module);
}

ZALTrace::ZALTrace(const char* name, const char* description, int mode, const char* output, int size) : name_(name)
{
    Registered().push_back(std::string("trace ") + name + ", " + description + ", " + std::to_string(mode) + ", " +
                           output + ", " + std::to_string(size));
    static auto* const begin =
        TheHostsOwn<void(ZALTrace*, const char*, const char*, int, const char*, int)>("_ZN8ZALTraceC1EPKcS1_iS1_i");
    begin(this, name, description, mode, output, size);
}
