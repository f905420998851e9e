// A folder of its own for each test, and what stands in it.
#pragma once

#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Files.h"

#include "host/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace openhost::testing {

class FolderFixture : public ::testing::Test {
protected:
    std::filesystem::path At(const std::string& name) const { return folder_.Path() / name; }
    ZALUnicodeString Path(const std::string& name) const { return At(name).c_str(); }

    void Put(const std::string& name, std::string_view content) const
    {
        std::ofstream(At(name), std::ios::binary) << content;
    }
    std::string Content(const std::string& name) const { return ReadFile(At(name)); }
    bool Exists(const std::string& name) const { return std::filesystem::exists(At(name)); }
    /// Everything below the folder.
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path()))
            names.push_back(entry.path().lexically_relative(folder_.Path()));
        std::ranges::sort(names);
        return names;
    }

    const TemporaryFolder folder_;
};

} // namespace openhost::testing
