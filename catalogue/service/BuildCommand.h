// The command that makes a catalogue of a folder.
#pragma once

#include "openhost/commandline/CommandLine.h"

#include <filesystem>
#include <string>

namespace catalogue {

struct BuildArguments {
    std::string folder;
    std::string root;
    int workers = 0; ///< 0 for one a core
    int seconds = 60;
    bool retry = false;
};

/// `arguments` outlive the command line.
void DescribeBuild(const openhost::Command& command, BuildArguments& arguments);

/// Makes the catalogue, with the page and the templates of that in `base`. Tells on standard error how far it is and
/// what is left out, and on standard output what the catalogue has. Returns the exit status. Throws as CatalogueBuild.
int Build(const BuildArguments& arguments, const std::filesystem::path& base);

} // namespace catalogue
