// Who may know whom, by what the source files include.

#include "tests/architecture/SourceTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <map>

namespace openhost::testing {

namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

bool StandsIn(const std::string& path, const std::string& folder)
{
    return path.starts_with(folder + "/");
}

/// Whether `allowed` holds for each include below `folder`.
AssertionResult Each(const std::string& folder, const std::function<bool(const Include&)>& allowed)
{
    AssertionResult failure = AssertionFailure();
    bool failed = false;
    for (const Include& include : IncludesBelow(folder))
        if (!allowed(include)) {
            failure << "\n  " << include;
            failed = true;
        }
    return failed ? failure : AssertionSuccess();
}

TEST(Includes, OfTheModuleAreTheStandardLibraryTheHostViewAndItself)
{
    EXPECT_TRUE(Each("module", [](const Include& include) {
        return include.isOurs ? StandsIn(include.target, "module")
                              : IsStandardHeader(include.target) || include.target == "VelmartBuildValues.h";
    }));
}

TEST(Includes, OfTheHostViewAreTheStandardLibraryAndItself)
{
    EXPECT_TRUE(Each("module/host", [](const Include& include) {
        return include.isOurs ? StandsIn(include.target, "module/host") : IsStandardHeader(include.target);
    }));
}

TEST(Includes, OfOpenhostHaveTheHostViewOfTheModuleAlone)
{
    EXPECT_TRUE(Each("openhost", [](const Include& include) {
        return !include.isOurs || StandsIn(include.target, "openhost") || StandsIn(include.target, "module/host");
    }));
}

TEST(Includes, OfTheCatalogueHaveFormatsAndProgramsOfOpenhostAlone)
{
    const std::set<std::string> folders = {"openhost/commandline", "openhost/documents", "openhost/geometry",
                                           "openhost/picture", "openhost/space"};
    // AtomicFile writes a whole file or none, which the formats build on. The light representation is a format too.
    const std::set<std::string> headers = {"openhost/files/AtomicFile.h", "openhost/lvr/LvrMesh.h"};
    // A catalogue of a user's files is made by a program of the solid kernel, until a signal ends that.
    const std::set<std::string> building = {"openhost/exchange/StepImport.h",
                                            "openhost/files/Descriptor.h",
                                            "openhost/files/Leftovers.h",
                                            "openhost/geometry_process/AnswerJobs.h",
                                            "openhost/geometry_process/GeometryProcess.h",
                                            "openhost/loop/Interruption.h",
                                            "openhost/loop/InterruptionWatch.h"};
    EXPECT_TRUE(Each("catalogue", [&](const Include& include) {
        const bool builds =
            StandsIn(include.file, "catalogue/sources") || include.file == "catalogue/service/BuildCommand.cpp";
        return !include.isOurs || StandsIn(include.target, "catalogue") || folders.contains(FolderOf(include.target)) ||
               headers.contains(include.target) || (builds && building.contains(include.target));
    }));
}

TEST(Includes, OfProductionCodeHaveNoTests)
{
    for (const char* folder : {"module", "openhost", "catalogue"})
        EXPECT_TRUE(Each(folder, [](const Include& include) {
            return !StandsIn(include.target, "tests") && !include.target.starts_with("gtest/") &&
                   !include.target.starts_with("gmock/");
        }));
}

TEST(Includes, OfWhatPlaysASessionHaveNoSolidKernel)
{
    // Geometry from outside could crash it: it works in the program of openhost/geometry. STEP files and pictures are
    // made by commands of their own. The 3D view draws triangles by the viewer of Open CASCADE, without any shape.
    const std::set<std::string> kernel = {"openhost/geometry", "openhost/exchange", "openhost/picture"};
    const auto isOfViewer = [](const Include& include) {
        const auto begins = [&](const char* start) { return include.target.starts_with(start); };
        return StandsIn(include.file, "openhost/desktop/view") &&
               std::ranges::any_of(std::array{"AIS_", "Aspect_", "Bnd_Box", "Graphic3d_", "Image_", "Message",
                                              "OpenGl_", "Quantity_", "Standard_Failure", "V3d_", "Xw_", "gp_"},
                                   begins);
    };
    EXPECT_TRUE(Each("openhost", [&](const Include& include) {
        return kernel.contains(FolderOf(include.file)) || isOfViewer(include) ||
               (!include.target.ends_with(".hxx") && !StandsIn(include.target, "openhost/geometry"));
    }));
}

class IncludesBetweenFolders : public ::testing::TestWithParam<const char*> {};

TEST_P(IncludesBetweenFolders, RunOneWay)
{
    const std::string whole = GetParam();
    std::map<std::string, std::set<std::string>> builds;
    for (const Include& include : IncludesBelow(whole))
        if (include.isOurs && StandsIn(include.target, whole) && FolderOf(include.file) != FolderOf(include.target))
            builds[FolderOf(include.file)].insert(FolderOf(include.target));
    EXPECT_FALSE(builds.empty());

    std::set<std::string> done;
    std::vector<std::string> road;
    const std::function<void(const std::string&)> visit = [&](const std::string& folder) {
        const auto before = std::find(road.begin(), road.end(), folder);
        if (before != road.end()) {
            std::string circle;
            for (auto step = before; step != road.end(); ++step)
                circle += *step + " -> ";
            ADD_FAILURE() << circle << folder;
            return;
        }
        if (!done.insert(folder).second)
            return;
        road.push_back(folder);
        for (const std::string& base : builds[folder])
            visit(base);
        road.pop_back();
    };
    const std::map<std::string, std::set<std::string>> all = builds;
    for (const auto& [folder, bases] : all)
        visit(folder);
}

INSTANTIATE_TEST_SUITE_P(Of, IncludesBetweenFolders, ::testing::Values("module", "openhost", "catalogue"));

// ---------------------------------------------------------------------------------------------
// Other people's types

struct Library {
    const char* name;
    std::function<bool(const std::string& header)> owns;
    std::set<std::string> folders; ///< whose headers may show it
};

const std::vector<Library>& Libraries()
{
    const auto beginsWith = [](const char* start) {
        return [start](const std::string& header) { return header.starts_with(start); };
    };
    static const std::vector<Library> libraries = {
        {"libcurl", beginsWith("curl/"), {"openhost/http"}},
        {"libzip", beginsWith("zip.h"), {"openhost/files"}},
        {"libdeflate", beginsWith("libdeflate.h"), {"openhost/files", "openhost/documents"}},
        {"ISA-L", beginsWith("isa-l/"), {"openhost/files", "openhost/documents"}},
        {"libgsf", beginsWith("gsf/"), {"openhost/documents"}},
        {"libpng", beginsWith("png.h"), {"openhost/picture"}},
        {"OpenSSL", beginsWith("openssl/"), {"openhost/files"}},
        {"CLI11", beginsWith("CLI/"), {}},
        {"cpp-httplib", beginsWith("httplib.h"), {"catalogue/service"}},
        {"SQLite", beginsWith("sqlite3.h"), {}},
        {"Open CASCADE",
         [](const std::string& header) { return header.ends_with(".hxx"); },
         {"openhost/geometry", "openhost/exchange", "openhost/desktop", "catalogue/items"}},
        {"Qt",
         [](const std::string& header) {
             return header.starts_with("Qt") || (header.size() > 1 && header[0] == 'Q' && std::isupper(header[1]));
         },
         {"openhost/desktop"}},
    };
    return libraries;
}

TEST(Includes, OfOtherLibrariesShowInTheHeadersOfTheirOwnFolderOnly)
{
    for (const char* folder : {"module", "openhost", "catalogue"})
        EXPECT_TRUE(Each(folder, [](const Include& include) {
            for (const Library& library : Libraries())
                if (!include.isOurs && include.isHeader && library.owns(include.target) &&
                    !library.folders.contains(FolderOf(include.file)))
                    return false;
            return true;
        }));
}

TEST(Includes, OfOtherLibrariesAreKnownHere)
{
    // Of the system: its files, sockets, threads, processes, memory and loader. A library that is new to the project
    // gets a line above, and with it its own folder.
    const std::set<std::string> system = {
        "arpa/inet.h", "dlfcn.h",        "fcntl.h",       "link.h",       "malloc.h",   "netinet/in.h",  "poll.h",
        "pthread.h",   "pwd.h",          "signal.h",      "spawn.h",      "stdlib.h",   "sys/file.h",    "sys/mman.h",
        "sys/prctl.h", "sys/resource.h", "sys/eventfd.h", "sys/socket.h", "sys/stat.h", "sys/statvfs.h", "sys/types.h",
        "sys/xattr.h", "sys/wait.h",     "time.h",        "unistd.h"};
    for (const char* folder : {"openhost", "catalogue"})
        EXPECT_TRUE(Each(folder, [&](const Include& include) {
            if (include.isOurs || IsStandardHeader(include.target) || system.contains(include.target) ||
                include.target == "nlohmann/json.hpp")
                return true;
            for (const Library& library : Libraries())
                if (library.owns(include.target))
                    return true;
            return false;
        }));
}

} // namespace

} // namespace openhost::testing
