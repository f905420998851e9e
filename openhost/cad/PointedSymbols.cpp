#include "openhost/cad/PointedSymbols.h"

#include <utility>

namespace openhost {

PointedSymbols::PointedSymbols(std::vector<ZALUnicodeString> paths, HRESULT result)
    : paths_(std::move(paths)), result_(result)
{
}

HRESULT PointedSymbols::GetPointedDocuments(ZALListValZALUnicodeString& paths)
{
    for (const ZALUnicodeString& path : paths_)
        paths.Append(path);
    return result_;
}

} // namespace openhost
