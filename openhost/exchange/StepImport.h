// STEP files of other systems as documents.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace openhost {

/// Beginning of what is told that is written; the rest is told by its number alone.
inline constexpr std::size_t MaximumImportWarnings = 200;

/// Writes the products of the STEP file `file` as documents into `folder`, which is empty: a product that holds others
/// as a product document, any other as a part document, each once however often it is used, in a file with the name of
/// its part number. Lengths are millimetres. Several products that stand in no other one come into a product with the
/// name of the file. `warn` gets a line about each thing that is left out or changed, `tell` how much is done, in
/// percent. Returns the file name of the root.
///
/// Throws ExchangeError, which names the file, when it cannot be read.
std::string ImportStep(const std::filesystem::path& file, const std::filesystem::path& folder,
                       const std::function<void(const std::string& line)>& warn,
                       const std::function<void(int percent)>& tell);

} // namespace openhost
