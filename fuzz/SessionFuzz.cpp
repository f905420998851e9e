// The reader of session files over any bytes: what it lets through it lets through again, and what it refuses has a
// line.

#include "openhost/play/SessionFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const openhost::Session session = openhost::ParseSession(text, "/folder", {{"BASE", "http://127.0.0.1:1"}});
        if (openhost::ParseSession(text, "/folder", {{"BASE", "http://127.0.0.1:1"}}).steps.size() !=
            session.steps.size())
            std::abort();
    } catch (const openhost::LocatedError& error) {
        if (error.Line() < 1)
            std::abort();
    }
    return 0;
}
