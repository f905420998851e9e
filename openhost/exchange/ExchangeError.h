// Why something cannot be exchanged with other systems.
#pragma once

#include <stdexcept>

namespace openhost {

class ExchangeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace openhost
