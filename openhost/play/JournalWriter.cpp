#include "openhost/play/JournalWriter.h"

#include <stdexcept>

namespace openhost {

JournalWriter::JournalWriter(const std::filesystem::path& file)
    : file_(std::make_unique<std::ofstream>(file, std::ios::binary)), output_(file_.get())
{
    if (!*file_)
        throw std::runtime_error("the journal cannot be written: " + file.string());
}

JournalWriter::JournalWriter(std::ostream& output) : output_(&output) {}

void JournalWriter::Write(const nlohmann::ordered_json& event)
{
    // Texts from outside may be no UTF-8; what is none becomes U+FFFD.
    *output_ << event.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n' << std::flush;
}

} // namespace openhost
