// What is done to the workspace once the files of a download are there.
#pragma once

#include "host/text.h"

/// Whether an insert (3) or replace (4) may start: E_FAIL, after a message to the user, when the current workshop
/// is not the one of products. S_OK for every other `action`.
HRESULT CheckInsertReplaceContext(std::int32_t action);

/// Opens the first of `paths` in the workspace and tells the other component that all of them were put to use, in the
/// document environment `docEnvId`, whatever has become of the opening. The result of the host's open; E_FAIL, and
/// nothing told, for an empty list and without a collection of documents.
HRESULT OpenDownloadedDocument(const ZALListValZALUnicodeString& paths, const ZALUnicodeString& docEnvId);

/// Warns of the first part number in use around `target` that is identical to that of the document `path`. Undoes
/// nothing. S_OK; 1 when the host gives no list of names; E_FAIL when there is nothing to compare.
HRESULT CheckPartNumberConflict(ZALBaseUnknown* target, const ZALUnicodeString& path);

/// Shows the text of `key` in the command's message catalog.
void NotifyCommandError(const ZALString& key);

/// Shows `text`, when it has characters, and returns when the user has closed the message.
void ShowCommandErrorText(const ZALUnicodeString& text);
