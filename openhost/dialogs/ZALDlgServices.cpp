#include "host/dialogs.h"

#include "host/files.h"

ZALUnicodeString ZALDlgServices::GetFileExtensionName(const ZALUnicodeString& path)
{
    return ::GetFileExtensionName(path);
}
