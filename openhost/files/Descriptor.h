// An open file of the system, closed with its object, and writing to one.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

namespace openhost {

class Descriptor {
public:
    Descriptor() = default;
    /// Takes `number` over; a negative one is none.
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor()
    {
        if (number_ >= 0)
            close(number_);
    }

    int Number() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_ = -1;
};

/// Most bytes that are written at once. For a large piece the page cache looks for a large stretch of memory, which is
/// seldom warm: the system's part of an extraction of 1 GiB takes six times as long with pieces of 128 KiB.
inline constexpr std::size_t MaximumWriteSize = std::size_t{32} * 1024;

/// Writes all of `content`. When it is false, errno tells why.
inline bool WriteAll(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t done = write(descriptor, content.data(), std::min(content.size(), MaximumWriteSize));
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(done));
    }
    return true;
}

} // namespace openhost
