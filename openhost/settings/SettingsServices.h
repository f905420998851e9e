// What stands behind the settings object of the host.
#pragma once

#include "openhost/ports/Port.h"

#include "host/settings.h"

namespace openhost {

/// Port of the settings. Backend: objects on the SettingsStore.
class SettingsServices : public Port<SettingsServices> {
public:
    virtual ~SettingsServices();

    /// Objects on the SettingsStore, which is there at all times.
    static std::unique_ptr<SettingsServices> WithoutBackend();

    /// As CreateZALIVelmartIntegrationSettingAtt; `settings` is null at first.
    virtual HRESULT Create(ZALIVelmartIntegrationSettingAtt*& settings) = 0;
};

extern template class Port<SettingsServices>;

} // namespace openhost
