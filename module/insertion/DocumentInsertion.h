// What is done to the CAD session once the files of a download are there.
#pragma once

#include "host/json.h"

/// Whether an insert (3) or replace (4) may start: E_FAIL, after a message to the user, when the current workshop
/// is not the one of products. S_OK for every other `action`.
HRESULT CheckInsertReplaceContext(std::int32_t action);

/// Starts the command that takes the user's target and then the files of `request`. The command belongs to the
/// host. E_FAIL when it could not be started.
HRESULT StartInsertReplaceCommand(std::int32_t action, const ZALOmxAny& request);

/// Opens the first of `paths` in the session. E_FAIL for an empty list and without a collection of documents.
HRESULT OpenDownloadedDocument(const ZALListValZALUnicodeString& paths, const ZALUnicodeString& docEnvId);

/// Shows the text of `key` in the command's message catalog.
void NotifyCommandError(const ZALString& key);

/// Shows `text`, when it has characters, and returns when the user has closed the message.
void ShowCommandErrorText(const ZALUnicodeString& text);
