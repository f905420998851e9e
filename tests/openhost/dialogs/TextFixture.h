// What tests of texts share.
#pragma once

#include "openhost/dialogs/TextFile.h"
#include "openhost/files/PathVariables.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/text/Utf.h"

#include "DialogFixture.h"

#include <cstdlib>
#include <fstream>

namespace openhost {

/// An empty installation in a folder of its own, and English texts.
class TextFixture : public DialogFixture {
protected:
    TextFixture()
    {
        unsetenv("ZALLanguage");
        SetPathVariable(InstallationVariable, installation.Path());
    }
    ~TextFixture() override
    {
        SetLanguage("");
        unsetenv("ZALLanguage");
        UnsetPathVariable(InstallationVariable);
    }

    /// Writes `bytes` to `path` below the folder of resources.
    void Write(const std::string& path, const std::string& bytes) const
    {
        const std::filesystem::path file = installation.Path() / "resources" / path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
    }

    TemporaryFolder installation;
};

} // namespace openhost
