// One downloaded part rebuilt on the part template, and what the rebuilding of products shares with it.
#pragma once

#include "templates/ReportPrdProperties.h"
#include "templates/ZALVliTemplateSupportUtilities.h"

/// Documents that a run has opened and locked, in the order of opening.
using DocumentList = std::vector<ZALDocument*>;

/// Opens `path` and locks the document, which is then the last one of `documents`. Null when it cannot be opened.
ZALDocument* OpenLocked(const ZALUnicodeString& path, DocumentList& documents);
/// Unlocks and removes the documents, in their order. Null ones are passed over.
void CloseDocuments(const DocumentList& documents) noexcept;

/// Documents that must stay open until the end of some work; closed on every way out of it.
struct HeldDocumentList {
    HeldDocumentList() = default;
    HeldDocumentList(const HeldDocumentList&) = delete;
    HeldDocumentList& operator=(const HeldDocumentList&) = delete;
    ~HeldDocumentList() { CloseDocuments(Documents); }
    DocumentList Documents;
};

/// Builds the result `isDestFilePath` of the part `isRefPartPath`: the template with a copy of the part's shape and its
/// properties. Without a template the file is moved. S_FALSE, and nothing done, when the result stands there already.
/// `document` is the template document that became the result, open, locked and in `heldDocuments`; it is left alone
/// when none was opened. `errorMessage` is never written.
HRESULT ApplyPartTemplate(const ZALUnicodeString& isPartTemplatePath, const ZALUnicodeString& isRefPartPath,
                          const PropertyList& properties, const ZALUnicodeString& isDestFilePath,
                          ZALVliTemplateSupportUtilities::PreferredSaveMethod saveMethod, ZALDocument*& document,
                          DocumentList& heldDocuments, ZALUnicodeString& errorMessage);

/// Writes the template `document`, which has become the result `path`, by `method`. `step` begins the trace.
HRESULT SaveResult(ZALDocument* document, const ZALUnicodeString& path,
                   ZALVliTemplateSupportUtilities::PreferredSaveMethod method, const char* step);

/// Gives the file `from` the path `to`. S_FALSE, and nothing done, when something stands there.
HRESULT MoveFile(const ZALUnicodeString& from, const ZALUnicodeString& to);

/// Replaces the cameras of the template by those of the source. E_FAIL when one of them can have none.
HRESULT CopyPersistentCamera(ZALDocument* sourceDocument, ZALDocument* templateDocument);
