// Writing light files.
#pragma once

#include "openhost/ports/Port.h"

#include "host/visualization.h"

#include <string>

namespace openhost {

/// Port of the writer of light files. Backend: TessellatingLvrWriter.
class LvrWriter : public Port<LvrWriter> {
public:
    virtual ~LvrWriter();

    /// A writer that can write nothing.
    static std::unique_ptr<LvrWriter> WithoutBackend();

    /// Writes `representation` to the file `path`, which it replaces. 0 on success; otherwise no file has changed.
    virtual int Write(const ZALRep& representation, const std::string& path) = 0;
};

extern template class Port<LvrWriter>;

} // namespace openhost
