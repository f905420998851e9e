// Sessions with the real page, offscreen, through the program.
#pragma once

#include "catalogue/service/CatalogueService.h"
#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace openhost::testing {

/// The product FRAME lies in the user's folder Parts(), which stands in the settings.
class PanelFixture : public ::testing::Test {
protected:
    PanelFixture();

    std::filesystem::path Parts() const { return folder_.Path() / "parts"; }
    std::filesystem::path Picture() const { return folder_.Path() / "panel.png"; }

    /// Makes the slot nut of the catalogue a component of FRAME, as "FRAME/NUT.1".
    void PutNutIntoFrame() const;

    /// Plays `steps` with FRAME as the active document and the catalogue at `base`. The journal.
    std::vector<nlohmann::json> Play(const nlohmann::json& steps, const std::string& base) const;
    std::vector<nlohmann::json> Play(const nlohmann::json& steps) const { return Play(steps, service_.GetAddress()); }

    /// The events of the journal with this name.
    static std::vector<nlohmann::json> Named(const std::vector<nlohmann::json>& journal, const std::string& name);

    /// Environment variables of the sessions.
    nlohmann::json environment_ = {{"ZAL_MERIDIADIALOG_VLURL_CHECK", "${BASE}/categories"}, {"VL_Test_Url", "${BASE}"}};
    openhost::TemporaryFolder folder_;
    catalogue::CatalogueService service_;
};

} // namespace openhost::testing
