#include "openhost/settings/SettingsServices.h"

#include "openhost/journal/Events.h"
#include "openhost/settings/SettingsStore.h"

#include <exception>

namespace openhost {

template class Port<SettingsServices>;

namespace {

// A view of the run's store: what one object sets, another one reads.
class HostSettings : public ZALIVelmartIntegrationSettingAtt {
public:
    HRESULT SettingsStepOne(int) override
    {
        Store().Keep();
        return S_OK;
    }

    HRESULT SettingsStepTwo(int, int) override
    {
        Store().ResetToAdministrator();
        return S_OK;
    }

    HRESULT SettingsStepThree() override
    {
        Store().GoBackToKept();
        return S_OK;
    }

    HRESULT SaveSettings(int) override
    {
        try {
            Store().Save();
        } catch (const std::exception& reason) {
            journal::Write([&] { return journal::Settings{.action = "failed", .error = reason.what()}; });
            return E_FAIL;
        }
        journal::Write([] { return journal::Settings{.action = "saved"}; });
        return S_OK;
    }

    HRESULT GetDoNotRemindDownloadLocation(bool& value) override
    {
        value = Store().Values().doNotRemindDownloadLocation;
        return S_OK;
    }

    HRESULT SetDoNotRemindDownloadLocation(bool value) override
    {
        if (Store().IsLocked(SettingsStore::DoNotRemindDownloadLocation))
            return E_FAIL;
        SettingsValues values = Store().Values();
        values.doNotRemindDownloadLocation = value;
        Store().SetValues(values);
        return S_OK;
    }

    HRESULT GetDoNotRemindDownloadLocationInfo(ZALSettingInfo& info) override
    {
        info.SetLock(Store().Lock(SettingsStore::DoNotRemindDownloadLocation));
        return S_OK;
    }

    HRESULT SetDoNotRemindDownloadLocationLock(unsigned char locked) override
    {
        if (locked > 1)
            return E_INVALIDARG;
        Store().SetLock(SettingsStore::DoNotRemindDownloadLocation, locked ? 'R' : '-');
        return S_OK;
    }

    HRESULT GetDownloadLocation(ZALUnicodeString& value) override
    {
        value = Store().Values().downloadLocation;
        return S_OK;
    }

    HRESULT SetDownloadLocation(const ZALUnicodeString& value) override
    {
        if (Store().IsLocked(SettingsStore::DownloadLocation))
            return E_FAIL;
        SettingsValues values = Store().Values();
        values.downloadLocation = value;
        Store().SetValues(values);
        return S_OK;
    }

    HRESULT GetDownloadLocationInfo(ZALSettingInfo& info) override
    {
        info.SetLock(Store().Lock(SettingsStore::DownloadLocation));
        return S_OK;
    }

private:
    static SettingsStore& Store() { return SettingsStore::Current(); }
};

class StoredSettings final : public SettingsServices {
public:
    HRESULT Create(ZALIVelmartIntegrationSettingAtt*& settings) override
    {
        if (!SettingsStore::Current().IsAvailable())
            return E_FAIL;
        settings = new HostSettings;
        return S_OK;
    }
};

} // namespace

SettingsServices::~SettingsServices() = default;

std::unique_ptr<SettingsServices> SettingsServices::WithoutBackend()
{
    return std::make_unique<StoredSettings>();
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

ZALIVelmartIntegrationSettingAtt::ZALIVelmartIntegrationSettingAtt() = default;

ZALIVelmartIntegrationSettingAtt::~ZALIVelmartIntegrationSettingAtt() = default;

HRESULT CreateZALIVelmartIntegrationSettingAtt(ZALIVelmartIntegrationSettingAtt** settings)
{
    if (!settings)
        return E_INVALIDARG;
    *settings = nullptr;
    return openhost::SettingsServices::Current().Create(*settings);
}
