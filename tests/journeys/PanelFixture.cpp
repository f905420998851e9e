#include "tests/journeys/PanelFixture.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/files/ZipExtraction.h"

#include "tests/support/Places.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace openhost::testing {

using nlohmann::json;

namespace {

constexpr const char* FrameFile = "FRAME.ZALProduct";
constexpr const char* NutFile = "SLOTNUT_8_M6.ZALPart";

CadDocument EmptyFrame()
{
    CadDocument frame;
    frame.kind = DocumentKind::Product;
    frame.partNumber = "FRAME";
    return frame;
}

} // namespace

PanelFixture::PanelFixture() : service_(ItemsDir())
{
    service_.Start();
    std::filesystem::create_directory(Parts());
    WriteDocument(EmptyFrame(), Parts() / FrameFile);
}

void PanelFixture::PutNutIntoFrame() const
{
    ZipReader archive(ItemsDir() + "/files/slot-nut-m6.zip");
    const auto entry = archive.Find(NutFile);
    if (!entry)
        throw std::runtime_error("the catalogue has no slot nut");
    ExtractZipEntry(archive, *entry, Parts().string(), NutFile);
    CadDocument frame = EmptyFrame();
    frame.links.push_back(NutFile);
    frame.children.push_back({.name = "NUT.1"});
    WriteDocument(frame, Parts() / FrameFile);
}

std::vector<json> PanelFixture::Play(const json& steps, const std::string& base) const
{
    const json session = {{"environment", environment_},
                          {"settings", {{"DownloadLocation", "${PARTS}"}, {"DoNotRemindDownloadLocation", true}}},
                          {"documents", {std::string("${PARTS}/") + FrameFile}},
                          {"steps", steps}};
    std::ofstream(folder_.Path() / "session.json") << session.dump();
    const std::filesystem::path journal = folder_.Path() / "journal";
    const std::string command = "QT_QPA_PLATFORM=offscreen '" + BuildDir() + "/bin/openhost' play --panel '" +
                                (folder_.Path() / "session.json").string() + "' --journal '" + journal.string() +
                                "' --set BASE=" + base + " --set PARTS='" + Parts().string() + "'";
    EXPECT_NE(-1, std::system(command.c_str()));
    std::vector<json> events;
    std::ifstream lines(journal);
    for (std::string line; std::getline(lines, line);)
        events.push_back(json::parse(line));
    return events;
}

std::vector<json> PanelFixture::Named(const std::vector<json>& journal, const std::string& name)
{
    std::vector<json> events;
    std::ranges::copy_if(journal, std::back_inserter(events),
                         [&](const json& event) { return event["event"] == name; });
    return events;
}

} // namespace openhost::testing
