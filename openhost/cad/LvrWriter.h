// Writing light files.
#pragma once

#include "host/visualization.h"

#include <memory>
#include <string>

namespace openhost {

/// Port of the writer of light files. Used on the user-interface thread.
class LvrWriter {
public:
    virtual ~LvrWriter();

    /// The backend in use, or null: nothing can be written then.
    static LvrWriter* Current();
    /// Replaces the backend in use; null for none. Returns the one of before.
    static std::unique_ptr<LvrWriter> Install(std::unique_ptr<LvrWriter> writer);

    /// Writes `representation` to the file `path`, which it replaces. 0 on success; otherwise no file has changed.
    virtual int Write(const ZALRep& representation, const std::string& path) = 0;
};

} // namespace openhost
