// Settings that do what a test says and note what they were asked.
#pragma once

#include "openhost/settings/SettingsServices.h"
#include "openhost/text/Utf.h"
#include "tests/support/CallLog.h"

namespace openhost::testing {

/// The settings object. Values change as they are set, unless that fails.
class ScriptedSettingsObject final : public ZALIVelmartIntegrationSettingAtt {
public:
    explicit ScriptedSettingsObject(CallLog& log) : log_(log) {}

    HRESULT SettingsStepOne(int mode) override { return Note("step one " + std::to_string(mode), stepOneResult); }
    HRESULT SettingsStepTwo(int mode, int option) override
    {
        return Note("step two " + std::to_string(mode) + " " + std::to_string(option), stepTwoResult);
    }
    HRESULT SettingsStepThree() override { return Note("step three", stepThreeResult); }
    HRESULT SaveSettings(int mode) override { return Note("save " + std::to_string(mode), saveResult); }
    HRESULT GetDoNotRemindDownloadLocation(bool& value) override
    {
        log_.Note("get flag");
        if (!gives)
            return E_FAIL;
        value = flag;
        return S_OK;
    }
    HRESULT SetDoNotRemindDownloadLocation(bool value) override
    {
        log_.Note(std::string("set flag ") + (value ? "true" : "false"));
        if (SUCCEEDED(setResult))
            flag = value;
        return setResult;
    }
    HRESULT GetDoNotRemindDownloadLocationInfo(ZALSettingInfo&) override { return Note("info of flag", S_OK); }
    HRESULT SetDoNotRemindDownloadLocationLock(unsigned char) override { return Note("lock flag", S_OK); }
    HRESULT GetDownloadLocation(ZALUnicodeString& value) override
    {
        log_.Note("get folder");
        if (!gives)
            return E_FAIL;
        value = FromUtf8(folder);
        return S_OK;
    }
    HRESULT SetDownloadLocation(const ZALUnicodeString& value) override
    {
        log_.Note("set folder " + ToUtf8(value));
        if (SUCCEEDED(setResult))
            folder = ToUtf8(value);
        return setResult;
    }
    HRESULT GetDownloadLocationInfo(ZALSettingInfo&) override { return Note("info of folder", S_OK); }

    bool flag = true;
    std::string folder = "/stored";
    bool gives = true;        ///< otherwise both operations that read fail and give nothing
    HRESULT setResult = S_OK; ///< of both operations that set
    HRESULT stepOneResult = S_OK;
    HRESULT stepTwoResult = S_OK;
    HRESULT stepThreeResult = S_OK;
    HRESULT saveResult = S_OK;

private:
    HRESULT Note(const std::string& call, HRESULT result)
    {
        log_.Note(call);
        return result;
    }

    CallLog& log_;
};

/// Gives one settings object, whatever the result.
class ScriptedSettings final : public SettingsServices {
public:
    explicit ScriptedSettings(CallLog& log) : log_(log), object_(new ScriptedSettingsObject(log)) {}

    HRESULT Create(ZALIVelmartIntegrationSettingAtt*& settings) override
    {
        log_.Note("settings");
        settings = object_.get();
        settings->AddRef();
        return result;
    }
    ScriptedSettingsObject& Object() const { return *object_; }

    HRESULT result = S_OK;

private:
    CallLog& log_;
    Owned<ScriptedSettingsObject> object_;
};

} // namespace openhost::testing
