// Session files.
#pragma once

#include "openhost/play/LocatedJson.h"
#include "openhost/play/Session.h"

#include <filesystem>
#include <string_view>

namespace openhost {

/// Longest session file in bytes.
inline constexpr std::uintmax_t MaximumSessionSize = 4 << 20;

/// Reads the session file `path`; `given` are the placeholders from the command line. Everything is checked here:
/// a session that is returned has no unknown key, no value of a wrong type or range, and no placeholder without
/// a value. Throws LocatedError, on line 1 when the file cannot be read.
Session ReadSessionFile(const std::filesystem::path& path, const Placeholders& given = {});

/// The same for the text of a file in `folder`.
Session ParseSession(std::string_view text, const std::filesystem::path& folder, const Placeholders& given = {});

} // namespace openhost
