// An open file of the system, closed with its object.
#pragma once

#include <unistd.h>

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

} // namespace openhost
