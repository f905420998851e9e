// Counted objects in tests, and lists of texts.
#pragma once

#include "host/object_model.h"

#include <memory>
#include <string>
#include <vector>

namespace openhost::testing {

using Texts = std::vector<std::string>;

struct ReleaseObject {
    void operator()(ZALBaseUnknown* object) const { object->Release(); }
};

template <class T>
using Owned = std::unique_ptr<T, ReleaseObject>;

} // namespace openhost::testing
