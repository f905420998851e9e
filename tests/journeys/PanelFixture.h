// Sessions with the real page, offscreen, through the program.
#pragma once

#include "tests/journeys/ProgramFixture.h"

namespace openhost::testing {

/// The product FRAME lies in the user's folder, which stands in the settings.
class PanelFixture : public ProgramFixture {
protected:
    PanelFixture();

    std::filesystem::path Picture() const { return Folder() / "panel.png"; }

    /// Makes the slot nut of the catalogue a component of FRAME, as "FRAME/NUT.1".
    void PutNutIntoFrame() const;

    /// Plays `steps` with FRAME as the active document and the catalogue at `base`. The journal.
    std::vector<nlohmann::json> Play(const nlohmann::json& steps, const std::string& base) const;
    std::vector<nlohmann::json> Play(const nlohmann::json& steps) const { return Play(steps, Base()); }

    /// The same for steps that must lead to their end.
    std::vector<nlohmann::json> PlayToTheEnd(const nlohmann::json& steps, const std::string& base) const;
    std::vector<nlohmann::json> PlayToTheEnd(const nlohmann::json& steps) const { return PlayToTheEnd(steps, Base()); }

    /// Environment variables of the sessions.
    nlohmann::json environment_ = {{"ZAL_MERIDIADIALOG_VLURL_CHECK", "${BASE}/categories"}, {"VL_Test_Url", "${BASE}"}};
};

} // namespace openhost::testing
