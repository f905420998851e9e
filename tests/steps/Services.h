// Services of the host that do what a test says and note what they were asked. What Services.cpp defines takes the
// place of the host's own operations in this program.
#pragma once

#include "host/cad.h"
#include "host/files.h"
#include "host/panel.h"
#include "host/settings.h"
#include "tests/support/HostFixture.h"
#include "tests/support/Objects.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace openhost::testing {

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
    bool gives = true;        ///< otherwise both operations that read fail and give nothing
    HRESULT setResult = S_OK; ///< of both operations that set
    HRESULT stepOneResult = S_OK;
    HRESULT stepTwoResult = S_OK;
    HRESULT stepThreeResult = S_OK;
    HRESULT saveResult = S_OK;
};

struct Services {
    Texts calls;                                         ///< in order, such as "open /file rb"
    std::function<void(const std::string& call)> onCall; ///< sees each of them as it is made
    std::string scarceCall;                              ///< the call for which there is no memory

    // Files: one is open under the handle once it has been opened.

    HRESULT openResult = S_OK; ///< a failure gives the handle 0
    ZALFileHandle handle = 5;
    HRESULT sizeResult = S_OK;
    std::uint32_t size = 0;
    std::string content; ///< what is read, up to the size that was asked for
    HRESULT readResult = S_OK;
    std::uint32_t reads = 0;       ///< so far
    std::uint32_t failingRead = 0; ///< number of the read that fails, from 1
    std::uint32_t shortRead = 0;   ///< number of the read that gives a byte less
    HRESULT closeResult = S_OK;
    HRESULT writeResult = S_OK;
    std::uint32_t unwritten = 0; ///< bytes of each write that are left
    HRESULT statResult = S_OK;
    int statOptions = -1;              ///< of the last time
    std::optional<int> renamingResult; ///< without one files are renamed by the host
    std::uint32_t mode = ZALFileTypeDirectory;
    const char* extension = ZALProductExtension; ///< of every path, as the dialogs' services tell it

    // Hashes

    HRESULT initResult = S_OK;
    std::uint32_t updates = 0; ///< so far
    std::uint32_t failingUpdate = 0;
    HRESULT finalResult = S_OK;
    std::uint32_t digestLength = 16;
    int hexResult = 32;

    // Archives and light files, of which nothing comes about.

    int lightFileResult = 0;
    HRESULT archiveResult = S_OK; ///< of opening an archive, of adding to it, and of deleting a file
    Texts entries;
    HRESULT browseResult = S_OK;
    HRESULT extractResult = S_OK;
    HRESULT archiveCloseResult = S_OK;
    int archiveClosings = 0;     ///< so far
    int failingArchiveClose = 0; ///< number of the closing that fails, from 1

    // Compound documents: a root storage with one storage in it.

    HRESULT rootResult = S_OK;
    HRESULT storageResult = S_OK;
    HRESULT storageCloseResult = S_OK;
    bool hasManager = true;
    bool hasSymbols = true; ///< of the manager
    HRESULT pointedResult = S_OK;
    Texts pointed;
    int openStorages = 0;  ///< that have not been closed
    int livingObjects = 0; ///< storages and managers that have not been released

    std::optional<int> requestStatus; ///< of every request; its own otherwise

    int bitsOfTheHost = 0; ///< in the kind of each value

    Owned<RecordedSettings> settings{new RecordedSettings};
    HRESULT settingsResult = S_OK; ///< of making the object, which is given all the same

    HRESULT commandResult = S_OK;   ///< of activating and of cancelling a command
    HRESULT inSessionResult = S_OK; ///< of looking for a document, which is given all the same

    ZALIMeridiaAccessDialog* panel = nullptr; ///< the panel of the workspace in place of the host's; the test's

    bool hasHeader = true; ///< whether there is the one command header
    int headerAnswer = 0;  ///< whether it is available

    std::map<std::string, ZALSubscriberMethod> subscribed; ///< the last method for each class of notifications
};

/// Objects of this size cannot be made; 0 for none. Objects are made before there are services.
inline std::size_t ScarceSize = 0;

/// Those of the test that runs.
Services& CurrentServices();

/// What has been registered, in its order. There from the first use on, which comes before the tests.
Texts& Registered();

/// A test on services of its own.
template <class Fixture>
class OnServices : public Fixture {
protected:
    OnServices() { CurrentServices() = {}; }
    ~OnServices() override { CurrentServices() = {}; }

    static Services& Asked() { return CurrentServices(); }
    static RecordedSettings& Settings() { return *CurrentServices().settings; }
    /// The calls since the last time.
    static Texts Calls() { return std::exchange(CurrentServices().calls, {}); }
    /// Those of them whose first word is one of `words`.
    static Texts Calls(const Texts& words)
    {
        Texts calls = Calls();
        std::erase_if(
            calls, [&](const std::string& call) { return !std::ranges::count(words, call.substr(0, call.find(' '))); });
        return calls;
    }
};

using StepsFixture = OnServices<HostFixture>;

} // namespace openhost::testing
