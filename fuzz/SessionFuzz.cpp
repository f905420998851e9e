// Session files: any text is a session or is refused at a place in it.

#include "openhost/play/LocatedRead.h"
#include "openhost/play/SessionFile.h"

#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        openhost::ParseSession({reinterpret_cast<const char*>(data), size}, "/nowhere",
                               {{"BASE", "http://127.0.0.1:1"}});
    } catch (const openhost::LocatedError& error) {
        if (*error.what() == '\0')
            std::abort();
    }
    return 0;
}
