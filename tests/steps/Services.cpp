#include "tests/steps/Services.h"

#include "host/archive.h"
#include "host/dialog_engine.h"
#include "host/json.h"
#include "host/visualization.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <tuple>
#include <utility>

namespace openhost::testing {

namespace {

void Note(std::string call)
{
    CurrentServices().calls.push_back(std::move(call));
}

std::string Quote(const ZALUnicodeString& text)
{
    return "'" + ToUtf8(text) + "'";
}

class RecordedHeader : public ZALCommandHeader {
public:
    int IsAvailable() const override { return CurrentServices().headerAnswer; }
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
    void UpdateDisplay() override {}

private:
    using TimeOut = std::tuple<unsigned int, ZALBaseUnknown*, void*, ZALTimeOutFunction>;
    TimeOut added_;
};

} // namespace

Services& CurrentServices()
{
    static Services services;
    return services;
}

StepsFixture::StepsFixture()
{
    CurrentServices() = {};
}

StepsFixture::~StepsFixture()
{
    CurrentServices() = {};
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
using openhost::testing::CurrentServices;
using openhost::testing::Note;
using openhost::testing::Quote;
using openhost::testing::RecordedApplication;
using openhost::testing::RecordedHeader;
using openhost::testing::Services;

HRESULT CreateZALIVelmartIntegrationSettingAtt(ZALIVelmartIntegrationSettingAtt** settings)
{
    Note("settings");
    *settings = CurrentServices().settings.get();
    (*settings)->AddRef();
    return S_OK;
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
    handle = SUCCEEDED(CurrentServices().openResult) ? 5 : 0;
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
    const Services& services = CurrentServices();
    count = std::min(size, static_cast<std::uint32_t>(services.content.size()));
    std::memcpy(buffer, services.content.data(), count);
    return services.readResult;
}

HRESULT ZALFClose(ZALFileHandle handle)
{
    Note("close " + std::to_string(handle));
    return CurrentServices().closeResult;
}

HRESULT ZALFileStat(const ZALUnicodeString&, ZALFileStatus& status)
{
    status.Mode = CurrentServices().mode;
    return CurrentServices().statResult;
}

HRESULT ZALDeleteFile(const ZALUnicodeString& path)
{
    Note("delete " + ToUtf8(path));
    return CurrentServices().archiveResult;
}

// ---------------------------------------------------------------------------------------------
// Archives and light files

HRESULT ZALSysZipFile::OpenZip(const ZALUnicodeString& path, unsigned int mode)
{
    Note("zip open " + ToUtf8(path) + " " + std::to_string(mode));
    return CurrentServices().archiveResult;
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
    return CurrentServices().archiveResult;
}

int ZALWriteLvr(ZALRep*, const char* path, ZALSettingLvr setting, const ZALLvrColorMap* colors, unsigned char options,
                ZALVizLVRAccessMode access)
{
    Note(std::string("write ") + path + " " + std::to_string(setting) + (colors ? " colors " : " no colors ") +
         std::to_string(options) + " " + std::to_string(access));
    return CurrentServices().lightFileResult;
}

// ---------------------------------------------------------------------------------------------
// Texts

void ZALOmxJson::ActivateConsistentDoubleUnstream()
{
    Note("consistent numbers");
}

/// Forward alone, which is all that the module asks for here.
int ZALUnicodeString::SearchSubString(const ZALUnicodeString& fragment, int start, int mode) const
{
    Note("search " + Quote(fragment) + " from " + std::to_string(start) + " in mode " + std::to_string(mode));
    const std::size_t found = text_.find(fragment.text_, static_cast<std::size_t>(start));
    return found == std::u16string::npos ? -1 : static_cast<int>(found);
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
    return &header;
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

void ZALEventSubscriber::RemoveSubscriberCallbacks(ZALBaseUnknown* publisher)
{
    Note(std::string("hear no more of ") + (publisher ? publisher->IsA() : "nobody"));
}
