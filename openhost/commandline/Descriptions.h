// What is made of a command line's description for others than the program itself.
#pragma once

#include <string>

namespace CLI {
class App;
} // namespace CLI

namespace openhost {

/// The source of the manual page of a program, for man.
std::string DescribeAsManual(const CLI::App& app, const char* version);
/// Scripts that complete command lines of a program, for the shells.
std::string CompleteInBash(const CLI::App& app);
std::string CompleteInZsh(const CLI::App& app);

} // namespace openhost
