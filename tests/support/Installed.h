// Backends of ports, for the time of a test.
#pragma once

#include <memory>
#include <utility>

namespace openhost::testing {

/// A backend of its port, in use as long as the object lives; then the one of before comes back.
template <class Backend>
class Installed {
public:
    template <class... Arguments>
    explicit Installed(Arguments&&... arguments)
    {
        auto backend = std::make_unique<Backend>(std::forward<Arguments>(arguments)...);
        backend_ = backend.get();
        before_ = Backend::Install(std::move(backend));
    }
    Installed(const Installed&) = delete;
    Installed& operator=(const Installed&) = delete;
    ~Installed() { Backend::Install(std::move(before_)); }

    Backend& operator*() const { return *backend_; }
    Backend* operator->() const { return backend_; }

private:
    Backend* backend_;
    decltype(Backend::Install(nullptr)) before_;
};

} // namespace openhost::testing
