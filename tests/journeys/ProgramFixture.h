// Sessions through the program openhost, with the shared library of the module and the catalogue as service.
#pragma once

#include "catalogue/service/CatalogueService.h"
#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace openhost::testing {

class ProgramFixture : public ::testing::Test {
protected:
    /// What a session has led to.
    struct Played {
        int status;
        std::vector<nlohmann::json> journal;
        std::string output;
        std::string error;
    };

    ProgramFixture();

    std::filesystem::path Folder() const { return folder_.Path(); }
    /// The user's folder.
    std::filesystem::path Parts() const { return Folder() / "parts"; }
    /// Address of the catalogue.
    std::string Base() const { return service_.GetAddress(); }

    /// Runs the program; its exit status.
    static int Run(const std::string& arguments);
    /// Plays `session`, a JSON text, with the address of the catalogue as ${BASE} and the user's folder as ${PARTS}.
    Played Play(const std::string& session, const std::string& options = "") const;
    /// The same with the session of a file, the files of `parts`, and the catalogue at `base`.
    Played PlayFile(const std::filesystem::path& file, const std::string& options, const std::filesystem::path& parts,
                    const std::string& base) const;

    /// The events of a journal with this name.
    static std::vector<nlohmann::json> Events(const std::vector<nlohmann::json>& journal, const std::string& name);
    static std::vector<nlohmann::json> Events(const Played& play, const std::string& name)
    {
        return Events(play.journal, name);
    }

private:
    TemporaryFolder folder_;
    catalogue::CatalogueService service_;
};

} // namespace openhost::testing
