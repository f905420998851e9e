#include "openhost/documents/ReplaceFile.h"

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost {

void ReplaceFile(const std::filesystem::path& path, std::string_view bytes)
{
    const auto fail = [&](const char* what) {
        throw std::runtime_error(path.string() + ": " + what + ": " + std::generic_category().message(errno));
    };
    std::string temporary = path.string() + ".XXXXXX";
    const int descriptor = mkstemp(temporary.data());
    if (descriptor < 0)
        fail("cannot be created");

    std::size_t written = 0;
    while (written < bytes.size())
    {
        const ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            break;
        written += static_cast<std::size_t>(count);
    }
    const bool whole = written == bytes.size() && fchmod(descriptor, 0644) == 0;
    const bool closed = close(descriptor) == 0;
    if (whole && closed && std::rename(temporary.c_str(), path.c_str()) == 0)
        return;

    const int reason = errno;
    unlink(temporary.c_str());
    errno = reason;
    fail("cannot be written");
}

} // namespace openhost
