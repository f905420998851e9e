// Documents as STEP, for other systems.
#pragma once

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

namespace openhost {

/// Says why a tree has no form in STEP.
class ExchangeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Writes the tree of the document `document` to the file `output` as STEP (AP214, millimetres). Each document is
/// one product under its part number, however often it is used; each instance has its name and its placement. A
/// missing document is left out; `warn` gets a line about each.
///
/// Throws for a damaged document, a cycle, a tree that is too large, and an output that cannot be written, which is
/// then as it was.
void ExportStep(const std::filesystem::path& document, const std::filesystem::path& output,
                const std::function<void(const std::string& line)>& warn);

} // namespace openhost
