#include "tests/journeys/ProgramFixture.h"

#include "tests/journeys/JourneyFixture.h"
#include "tests/support/Places.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sys/wait.h>

namespace openhost::testing {

ProgramFixture::ProgramFixture() : service_(ItemsDir())
{
    service_.Start();
    std::filesystem::create_directory(Parts());
}

int ProgramFixture::Run(const std::string& arguments)
{
    const int status =
        std::system(("QT_QPA_PLATFORM=offscreen '" + BuildDir() + "/bin/openhost' " + arguments).c_str());
    return WEXITSTATUS(status);
}

ProgramFixture::Played ProgramFixture::Play(const std::string& session, const std::string& options) const
{
    const std::filesystem::path file = Folder() / "session.json";
    std::ofstream(file) << session;
    return PlayFile(file, options, Parts(), Base());
}

ProgramFixture::Played ProgramFixture::PlayFile(const std::filesystem::path& file, const std::string& options,
                                                const std::filesystem::path& parts, const std::string& base) const
{
    const auto quoted = [](const std::filesystem::path& path) { return "'" + path.string() + "'"; };
    Played play{};
    play.status = Run("play " + quoted(file) + " --journal " + quoted(Folder() / "journal") + " --set BASE=" + base +
                      " --set PARTS=" + quoted(parts) + " " + options + " >" + quoted(Folder() / "out") + " 2>" +
                      quoted(Folder() / "err"));
    play.output = ReadFile(Folder() / "out");
    play.error = ReadFile(Folder() / "err");
    std::ifstream lines(Folder() / "journal");
    for (std::string line; std::getline(lines, line);)
        play.journal.push_back(nlohmann::json::parse(line));
    return play;
}

std::vector<nlohmann::json> ProgramFixture::Events(const std::vector<nlohmann::json>& journal, const std::string& name)
{
    std::vector<nlohmann::json> events;
    std::ranges::copy_if(journal, std::back_inserter(events),
                         [&](const nlohmann::json& event) { return event["event"] == name; });
    return events;
}

} // namespace openhost::testing
