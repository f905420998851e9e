#include "tests/journeys/PanelFixture.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/files/ZipExtraction.h"

#include "tests/support/Places.h"

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

PanelFixture::PanelFixture()
{
    WriteDocument(EmptyFrame(), Parts() / FrameFile);
}

void PanelFixture::PutNutIntoFrame() const
{
    ZipReader archive(ItemsDir() + "/files/slot-nut-m6.zip");
    const auto entry = archive.Find(NutFile);
    if (!entry)
        throw std::runtime_error("the catalogue has no slot nut");
    ZipOutput output(Parts().string());
    ExtractZipEntry(archive, *entry, output, NutFile);
    output.Place();
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
    const std::filesystem::path file = Folder() / "session.json";
    std::ofstream(file) << session.dump();
    return PlayFile(file, "--panel", Parts(), base).journal;
}

std::vector<json> PanelFixture::PlayToTheEnd(const json& steps, const std::string& base) const
{
    std::vector<json> journal = Play(steps, base);
    if (journal.empty() || journal.back().value("event", "") != "end" || journal.back().value("status", 1) != 0)
        throw std::runtime_error("the session has not ended well: " + (journal.empty() ? "" : journal.back().dump()));
    return journal;
}

} // namespace openhost::testing
