// What prepares a run over the user's templates: the announcement of the page, the templates that are at hand, names of
// documents. Used on the user-interface thread. What memory has no room for counts as absent.
#pragma once

#include "host/json.h"

namespace ZALVliTemplateSupportUtilities {

/// How the results of a run are saved.
enum PreferredSaveMethod : int {
    SaveMethodNone = 0,    ///< the page has announced no usable method
    SaveMethodNewFrom = 1, ///< "new from": as new documents
    SaveMethodSaveAs = 2,  ///< "save as": as later versions of the template
};

/// Reads the members `zalpartTemplate`, `zalproductTemplate` and `preferredSaveMethod` of `urls`. An address that is
/// missing or no string leaves its output alone; without a usable method `method` is SaveMethodNone. Always S_OK.
HRESULT GetTemplatesURL(const ZALOmxAny& urls, ZALUnicodeString& partURL, ZALUnicodeString& productURL,
                        PreferredSaveMethod& method);

/// The full paths of the templates that are at hand, for the life of the process; empty at first. They are defined with
/// everything else that stands from the load on.
extern ZALUnicodeString StoredPartTemplatePath;
extern ZALUnicodeString StoredProductTemplatePath;

/// Keeps the paths of the templates for the rest of the process; an empty one forgets the path held so far. Both are
/// forgotten without memory. Always S_OK.
HRESULT StoreTemplatePathes(const ZALUnicodeString& partPath, const ZALUnicodeString& productPath);
/// Gives the paths that are kept, each empty when its file is gone. Always S_OK.
HRESULT GetStoredTemplatePathes(ZALUnicodeString& partPath, ZALUnicodeString& productPath);

/// `name` with "_" for each code unit that has no place in the name of a document.
ZALUnicodeString SanitizeQ7FileName(const ZALUnicodeString& name);

/// Looks for the document `fileName` in `folder`; without the extension of a document it is looked for as a part, then
/// as a product. `fullPath` is left alone unless something was found. Always S_OK.
HRESULT CheckIfQ7FileExists(const ZALUnicodeString& folder, const ZALUnicodeString& fileName, unsigned char& found,
                            ZALUnicodeString& fullPath);

} // namespace ZALVliTemplateSupportUtilities
