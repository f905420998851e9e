// The journal as lines of a file or of the standard output.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>

namespace openhost {

/// Writes each event as one line, at once, so that the journal of a session that crashed is there.
class JournalWriter {
public:
    /// Replaces or creates `file`. Throws std::runtime_error when that fails.
    explicit JournalWriter(const std::filesystem::path& file);
    /// Writes to `output`, which outlives the writer.
    explicit JournalWriter(std::ostream& output);

    void Write(const nlohmann::ordered_json& event);
    /// Whether every line has been written.
    bool IsComplete() const { return output_->good(); }

private:
    std::unique_ptr<std::ofstream> file_; ///< null for an output of somebody else
    std::ostream* output_;
};

} // namespace openhost
