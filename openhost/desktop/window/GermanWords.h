// The German words of the window.
#pragma once

#include <span>
#include <utility>

namespace openhost {

/// Each with its English text, in UTF-8.
std::span<const std::pair<const char*, const char*>> GermanWords();

} // namespace openhost
