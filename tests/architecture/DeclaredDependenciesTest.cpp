// What the build declares of openhost's folders, held against what their files include.

#include "tests/architecture/SourceTree.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <regex>
#include <sstream>

namespace openhost::testing {

namespace {

using ::testing::ContainerEq;

/// By folder, those that the build says it builds on. The base classes of the host view, in `objects`, are linked
/// without being included.
std::map<std::string, std::set<std::string>> DeclaredBases()
{
    std::ifstream file(SourceDir() + "/openhost/CMakeLists.txt");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    std::map<std::string, std::set<std::string>> declared;
    const std::regex folder(R"(\nopenhost_folder\((\w+)([^)]*)\))");
    for (std::sregex_iterator found(text.begin(), text.end(), folder), end; found != end; ++found) {
        std::istringstream words((*found)[2].str());
        std::string list;
        for (std::string word; words >> word;)
            if (word == "BUILDS_ON" || word == "LIBRARIES")
                list = word;
            else if (list == "BUILDS_ON" && word != "objects")
                declared[(*found)[1]].insert(word);
        declared[(*found)[1]];
    }
    return declared;
}

TEST(DeclaredDependencies, OfEachFolderAreThoseThatItIncludes)
{
    const std::map<std::string, std::set<std::string>> declared = DeclaredBases();
    ASSERT_TRUE(declared.contains("cad"));

    std::map<std::string, std::set<std::string>> included;
    for (const auto& [name, bases] : declared)
        included[name];
    for (const Include& include : IncludesBelow("openhost")) {
        const std::string from = std::filesystem::path(FolderOf(include.file)).filename();
        const std::string to = std::filesystem::path(FolderOf(include.target)).filename();
        if (from != to && to != "objects" && declared.contains(from) && declared.contains(to))
            included[from].insert(to);
    }
    EXPECT_THAT(declared, ContainerEq(included));
}

} // namespace

} // namespace openhost::testing
