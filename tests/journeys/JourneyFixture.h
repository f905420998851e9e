// The whole road with the real backends: event loop, network, archives, documents, and the catalogue as service.
#pragma once

#include "catalogue/service/CatalogueService.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "openhost/dialogs/ScriptedSurface.h"
#include "openhost/files/TemporaryFolder.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace openhost::testing {

/// Keeps what completion notifications said.
class CompletionListener : public ZALEventSubscriber {
public:
    struct Completion {
        ZALVelmartFileDownloadCompleteNotification::Status status;
        std::vector<std::string> files;
        std::string docEnvId;
    };

    /// Listens from the next download on: made before the addin subscribes, it is told first.
    CompletionListener();
    const std::vector<Completion>& Completions() const { return completions_; }

private:
    void OnComplete(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    std::vector<Completion> completions_;
};

/// The user's folder is Parts() and stands in the settings; the temporary folder of the host is Temp().
class JourneyFixture : public ::testing::Test {
protected:
    JourneyFixture();
    ~JourneyFixture() override;

    std::filesystem::path Temp() const { return folder_.Path() / "temp"; }
    std::filesystem::path Parts() const { return folder_.Path() / "parts"; }
    std::filesystem::path Folder() const { return folder_.Path(); }

    /// Address of the catalogue.
    std::string Base() const { return service_.GetAddress(); }
    void StopCatalogue() { service_.Stop(); }
    /// What the page sends for the item `id`: the answer of the service.
    nlohmann::json RequestOf(const std::string& id) const;
    /// A request whose download address is `address`.
    static nlohmann::json RequestFor(const std::string& address);

    /// Hands the page's message `event` with `content` to the addin.
    HRESULT Send(const std::string& event, const nlohmann::json& content);
    /// Runs the loop until nothing is left to happen; fails the test when that takes more than a minute.
    void RunUntilIdle();
    /// Runs the loop until `done`; fails the test after a minute.
    void RunUntil(const std::function<bool()>& done);
    /// Sends "velmart_download" and runs until its end. Throws unless it has one completion.
    CompletionListener::Completion Download(const nlohmann::json& content);
    /// The same for a download that must succeed.
    CompletionListener::Completion Fetch(const nlohmann::json& content);
    /// The one download of the test has ended as `status`.
    void ExpectEnded(ZALVelmartFileDownloadCompleteNotification::Status status) const;

    ScriptedSurface& Surface() { return *surface_; }
    ZALVelmartMeridiaAccessAddin& Addin() { return *addin_; }
    const CompletionListener& Listener() const { return *listener_; }

    /// Paths of all files below Parts(), relative and sorted.
    std::vector<std::string> FilesInParts() const { return FilesBelow(Parts()); }

private:
    TemporaryFolder folder_;
    catalogue::CatalogueService service_;
    ScriptedSurface* surface_;
    ZALVelmartMeridiaAccessAddin* addin_;
    CompletionListener* listener_;
};

} // namespace openhost::testing
