// The folders of a catalogue in which each item has a file.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace catalogue {

inline constexpr std::array ItemFolders = {"files", "items", "pictures", "shapes"};

/// The name of the file that the item `id`, delivered as an archive, has in `folder`.
inline std::string ItemFileName(std::string_view folder, const std::string& id)
{
    return id + (folder == "files" ? ".zip" : folder == "items" ? ".json" : folder == "pictures" ? ".png" : ".lvr");
}

} // namespace catalogue
