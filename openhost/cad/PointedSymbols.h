// The link table of a document as objects of the host see it.
#pragma once

#include "host/cad.h"

#include <vector>

namespace openhost {

/// A link manager that holds the pointed documents it was made with.
class PointedSymbols : public ZALIPointedSymbols {
public:
    /// The query appends `paths` and returns `result`.
    PointedSymbols(std::vector<ZALUnicodeString> paths, HRESULT result);
    HRESULT GetPointedDocuments(ZALListValZALUnicodeString& paths) override;

private:
    std::vector<ZALUnicodeString> paths_;
    HRESULT result_;
};

} // namespace openhost
