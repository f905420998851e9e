// Owners of one reference.
#pragma once

#include "host/object_model.h"

#include <memory>

namespace openhost {

struct ReleaseObject {
    void operator()(ZALBaseUnknown* object) const { object->Release(); }
};

/// Releases its object at its end.
template <class T>
using Owned = std::unique_ptr<T, ReleaseObject>;

} // namespace openhost
