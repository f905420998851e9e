// Sessions that are played with the real module, against a real service.
#pragma once

#include "catalogue/service/CatalogueService.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/play/SessionFile.h"
#include "openhost/play/SessionPlayer.h"

#include "tests/support/Places.h"
#include "tests/support/WriteItems.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace openhost {

using Json = nlohmann::ordered_json;

class SessionFixture : public ::testing::Test {
protected:
    SessionFixture() : service_(MakeCatalogue())
    {
        service_.Start();
        std::filesystem::create_directory(Downloads());
    }

    std::filesystem::path Downloads() const { return folder_.Path() / "downloads"; }

    /// Plays the session `text`, and returns its status. "${BASE}" is the address of the service, "${DOWNLOADS}" an
    /// empty folder.
    int StatusOf(const std::string& text)
    {
        const Session session =
            ParseSession(text, folder_.Path(), {{"BASE", service_.GetAddress()}, {"DOWNLOADS", Downloads().string()}});
        events_.clear();
        const journal::Sink receive = [this](const Json& event) {
            events_.push_back(event);
            observe_();
        };
        return SessionPlayer(session, {module_, folder_.Path() / "installation", desktop_}, receive).Play();
    }

    /// Plays a session whose steps are all done.
    void Play(const std::string& text) { EXPECT_EQ(SessionPlayer::Done, StatusOf(text)) << Reason() << "\n" << text; }
    /// Plays a session that fails, and returns the reason.
    std::string FailureOf(const std::string& text)
    {
        EXPECT_EQ(SessionPlayer::Failed, StatusOf(text)) << text;
        return Reason();
    }
    /// The same for `steps`, with the folder of downloads settled.
    void PlaySteps(const std::string& steps) { Play(WithSteps(steps)); }
    std::string FailureOfSteps(const std::string& steps) { return FailureOf(WithSteps(steps)); }

    static std::string WithSteps(const std::string& steps)
    {
        return R"({"settings": {"DownloadLocation": "${DOWNLOADS}", "DoNotRemindDownloadLocation": true}, "steps": [)" +
               steps + "]}";
    }

    /// The events named `name`.
    std::vector<Json> EventsOf(const std::string& name) const
    {
        std::vector<Json> found;
        std::copy_if(events_.begin(), events_.end(), std::back_inserter(found),
                     [&](const Json& event) { return event.at("event") == name; });
        return found;
    }

    /// What the events named `event` have under `key`; those without it are left out.
    std::vector<Json> Values(const std::string& event, const std::string& key) const
    {
        std::vector<Json> values;
        for (const Json& found : EventsOf(event))
            if (found.contains(key))
                values.push_back(found[key]);
        return values;
    }

    std::string Reason() const { return events_.back().value("reason", ""); }

    /// Without items: it serves the files that are generated.
    std::filesystem::path MakeCatalogue() const
    {
        catalogue::testing::WriteItems(service_folder_.Path(), {});
        return service_folder_.Path();
    }

    TemporaryFolder service_folder_;
    TemporaryFolder folder_;
    catalogue::CatalogueService service_;
    std::filesystem::path module_ = BuildDir() + "/lib/ZALVelmartIntegration.so";
    Desktop* desktop_ = nullptr;
    std::function<void()> observe_ = [] {};
    std::vector<Json> events_;
};

} // namespace openhost
