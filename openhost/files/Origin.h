// Which files came from outside: from a server, or out of an archive.
#pragma once

#include <filesystem>

namespace openhost {

/// Marks the open file `descriptor` as one from outside. The mark is an attribute of the file: it goes along with a
/// rename and stays from run to run, and a file that is written anew in its place has none. On a file system without
/// attributes it lasts as long as this process.
void MarkFromOutside(int descriptor);

/// Whether `file` has that mark, or the one that browsers give to what they load.
bool IsFromOutside(const std::filesystem::path& file);

} // namespace openhost
