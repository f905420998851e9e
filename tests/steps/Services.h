// Services of the host that do what a test says and note what they were asked. What Services.cpp defines takes the
// place of the host's own operations in this program.
#pragma once

#include "host/files.h"
#include "host/settings.h"
#include "tests/support/HostFixture.h"

#include <memory>
#include <string>
#include <vector>

namespace openhost::testing {

using Texts = std::vector<std::string>;

/// The settings object. Values change as they are set, unless that fails.
class RecordedSettings : public ZALIVelmartIntegrationSettingAtt {
public:
    HRESULT SettingsStepOne(int mode) override;
    HRESULT SettingsStepTwo(int mode, int option) override;
    HRESULT SettingsStepThree() override;
    HRESULT SaveSettings(int mode) override;
    HRESULT GetDoNotRemindDownloadLocation(bool& value) override;
    HRESULT SetDoNotRemindDownloadLocation(bool value) override;
    HRESULT GetDoNotRemindDownloadLocationInfo(ZALSettingInfo& info) override;
    HRESULT SetDoNotRemindDownloadLocationLock(unsigned char locked) override;
    HRESULT GetDownloadLocation(ZALUnicodeString& value) override;
    HRESULT SetDownloadLocation(const ZALUnicodeString& value) override;
    HRESULT GetDownloadLocationInfo(ZALSettingInfo& info) override;

    bool flag = true;
    std::string folder = "/stored";
    HRESULT setResult = S_OK; ///< of both operations that set
    HRESULT stepOneResult = S_OK;
    HRESULT stepTwoResult = S_OK;
    HRESULT stepThreeResult = S_OK;
    HRESULT saveResult = S_OK;
};

struct ReleaseObject {
    void operator()(ZALBaseUnknown* object) const { object->Release(); }
};

struct Services {
    Texts calls; ///< in order, such as "open /file rb"

    // Files: one is open under the handle 5 once it has been opened.

    HRESULT openResult = S_OK; ///< a failure gives the handle 0
    HRESULT sizeResult = S_OK;
    std::uint32_t size = 0;
    std::string content; ///< what is read, up to the size that was asked for
    HRESULT readResult = S_OK;
    HRESULT closeResult = S_OK;
    HRESULT statResult = S_OK;
    std::uint32_t mode = ZALFileTypeDirectory;

    // Archives and light files, of which nothing comes about.

    int lightFileResult = 0;
    HRESULT archiveResult = S_OK; ///< of all operations of an archive, and of deleting a file

    std::unique_ptr<RecordedSettings, ReleaseObject> settings{new RecordedSettings};

    int headerAnswer = 0; ///< of the one command header, whether it is available
};

/// Objects of this size cannot be made; 0 for none. Objects are made before there are services.
inline std::size_t ScarceSize = 0;

/// Those of the test that runs.
Services& CurrentServices();

/// A test on services of its own.
class StepsFixture : public HostFixture {
protected:
    StepsFixture();
    ~StepsFixture() override;

    static Services& Asked() { return CurrentServices(); }
    static RecordedSettings& Settings() { return *CurrentServices().settings; }
    /// The calls since the last time.
    static Texts Calls() { return std::exchange(CurrentServices().calls, {}); }
};

} // namespace openhost::testing
