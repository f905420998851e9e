// How each outside thing is reached and replaced.
#pragma once

#include <memory>
#include <utility>

namespace openhost {

/// Base of a port: an interface to something outside, with one backend in use. A port names, by
///
///     static std::unique_ptr<Interface> WithoutBackend();
///
/// what stands in while none is installed, so that there is always one. Used on the user-interface thread.
template <class Interface>
class Port {
public:
    /// The backend in use.
    static Interface& Current() { return *Installed(); }
    /// Replaces the backend in use; null takes it away. Returns the one of before.
    static std::unique_ptr<Interface> Install(std::unique_ptr<Interface> backend)
    {
        if (!backend)
            backend = Interface::WithoutBackend();
        return std::exchange(Installed(), std::move(backend));
    }

protected:
    Port() = default;
    ~Port() = default;

private:
    static std::unique_ptr<Interface>& Installed()
    {
        // Never destroyed: objects of other libraries may end after the statics of this one.
        static auto& installed = *new std::unique_ptr<Interface>(Interface::WithoutBackend());
        return installed;
    }
};

} // namespace openhost
