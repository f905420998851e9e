// The two settings of the integration in the host's settings library. Used on the user-interface thread.
#pragma once

#include "text.h"

/// Lock state of one setting.
class ZALSettingInfo {
public:
    /// Gives the lock character: `R` or `r` for a value that the administrator has locked, `-` for none.
    HRESULT GetLock(char& lock) const
    {
        lock = lock_;
        return S_OK;
    }
    void SetLock(char lock) { lock_ = lock; }

private:
    char lock_ = '-';
};

/// The settings object. Changes stay in memory until SaveSettings. Setting a locked value fails.
class ZALIVelmartIntegrationSettingAtt : public ZALBaseUnknown {
public:
    ZALIVelmartIntegrationSettingAtt();
    ~ZALIVelmartIntegrationSettingAtt() override;

    /// The host's protocol for tools options pages: keep the current values as the ones to go back to.
    virtual HRESULT SettingsStepOne(int mode) = 0;
    /// The protocol's reset to the administrator's values.
    virtual HRESULT SettingsStepTwo(int mode, int option) = 0;
    /// The protocol's way back to the values kept last.
    virtual HRESULT SettingsStepThree() = 0;
    /// Makes the values lasting. On failure the file of before is untouched.
    virtual HRESULT SaveSettings(int mode) = 0;

    virtual HRESULT GetDoNotRemindDownloadLocation(bool& value) = 0;
    virtual HRESULT SetDoNotRemindDownloadLocation(bool value) = 0;
    virtual HRESULT GetDoNotRemindDownloadLocationInfo(ZALSettingInfo& info) = 0;
    /// Locks (1) or unlocks (0) the flag, for administrators.
    virtual HRESULT SetDoNotRemindDownloadLocationLock(unsigned char locked) = 0;
    virtual HRESULT GetDownloadLocation(ZALUnicodeString& value) = 0;
    virtual HRESULT SetDownloadLocation(const ZALUnicodeString& value) = 0;
    virtual HRESULT GetDownloadLocationInfo(ZALSettingInfo& info) = 0;
};

/// Gives the settings object with a reference added. Fails when the store cannot be had.
HRESULT CreateZALIVelmartIntegrationSettingAtt(ZALIVelmartIntegrationSettingAtt** settings);
