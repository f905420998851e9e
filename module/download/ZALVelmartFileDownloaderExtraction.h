// Unpacking of a downloaded archive, and the order of its files.
#pragma once

#include "host/text.h"

/// Whether the archive entry is a side file of the service, which stays out of the user's folder: a ".txt" file,
/// or `kr_metadata.csv` at the top of the archive.
bool IsIgnoredArchiveEntry(const ZALUnicodeString& entry);

/// Unpacks `archive` below `folder`, over what stands there, and replaces `files` by the full paths of its files
/// in archive order. A file that could not be written is in the list all the same.
HRESULT ExtractFiles(const ZALUnicodeString& archive, const ZALUnicodeString& folder,
                     ZALListValZALUnicodeString& files);

/// Finds the root of the assembly among `files`: the product that no other one refers to. `rootIndex` counts
/// from 1 and is -1 when there is not a product. E_FAIL when the root is not certain; `rootIndex` then holds the
/// product that is taken for it.
HRESULT FindRootProduct(const ZALListValZALUnicodeString& files, int& rootIndex);

/// Exchanges the root of the assembly, when there is one, with the first of `files`.
void PutRootFirst(ZALListValZALUnicodeString& files);

/// Appends the file names of the products that the document `product` refers to.
HRESULT GetPointedProducts(const ZALUnicodeString& product, ZALListValZALUnicodeString& names);
