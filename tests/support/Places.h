// Where the sources and the build of the running test lie, so that no test is compiled for one copy of the tree.
#pragma once

#include <filesystem>
#include <string>

/// Root of the build that the running program stands in.
inline std::string BuildDir()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

/// Root of the sources, which the build links to.
inline std::string SourceDir()
{
    return std::filesystem::read_symlink(BuildDir() + "/sources");
}

/// The items of the catalogue, as the build has made them.
inline std::string ItemsDir()
{
    return BuildDir() + "/items";
}
