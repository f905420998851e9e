// Downloaded files brought into the user's folder, rebuilt on the templates where there are some.
#pragma once

#include "templates/ApplyPartTemplate.h"

/// What ZALVliApplyTemplatesOpe::Run does, with the values of the object. `errorMessage` and `results` are emptied
/// first, `warnings` is not. A part alone is rebuilt on the part template; one product and its parts are rebuilt on
/// both templates; everything else is moved.
HRESULT ApplyTemplates(const ZALUnicodeString& isPartTemplatePath, const ZALUnicodeString& isProductTemplatePath,
                       const ZALListValZALUnicodeString& sources, const PropertyList& properties,
                       const ZALUnicodeString& isDestFolderPath, const ZALUnicodeString& isDestRootFileName,
                       ZALVliTemplateSupportUtilities::PreferredSaveMethod saveMethod,
                       ZALListValZALUnicodeString& results, ZALUnicodeString& errorMessage,
                       ZALListValZALUnicodeString& warnings);

/// The path of the result of `sourcePath`. Index 0 is the root; a part has its number, which comes into its name when
/// the extensions of the root name and the source differ. Always S_OK.
HRESULT BuildDestinationFilePath(const ZALUnicodeString& isDestFolderPath, const ZALUnicodeString& isDestRootFileName,
                                 const ZALUnicodeString& sourcePath, ZALUnicodeString& destPath, int index);

/// Finds, by its name alone, the file among `sources` that `child` refers to. S_FALSE when there is none, E_FAIL when
/// the child is no part.
HRESULT FindDownloadedFile(const ZALIProduct_var& child, const ZALListValZALUnicodeString& sources,
                           ZALUnicodeString& path);

/// Adds the product `partRoot` to `templateRoot` and places it at `position`.
HRESULT AddPositionedComponent(const ZALIProduct_var& templateRoot, const ZALIProduct_var& partRoot,
                               const ZALMathTransformation& position);
