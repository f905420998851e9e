#include "templates/ZALVliFilePath.h"

#include "host/cad.h"
#include "host/dialogs.h"
#include "host/files.h"

ZALVliFilePath::ZALVliFilePath(const ZALUnicodeString& path) : Path(path) {}

ZALVliFilePath::ZALVliFilePath(const ZALVliFilePath& other) = default;

ZALVliFilePath& ZALVliFilePath::operator=(const ZALVliFilePath& other) = default;

ZALVliFilePath::~ZALVliFilePath() = default;

void ZALVliFilePath::AppendPath(const ZALUnicodeString& name)
{
    ZALMakePath(Path, name);
}

void ZALVliFilePath::AppendExtension(const ZALUnicodeString& extension)
{
    Path += ".";
    Path += extension;
}

ZALUnicodeString ZALVliFilePath::GetExtension() const
{
    return ZALDlgServices::GetFileExtensionName(Path);
}

ZALUnicodeString ZALVliFilePath::GetFileName() const
{
    ZALUnicodeString directory;
    ZALUnicodeString fileName;
    ZALSplitPath(Path, directory, fileName);
    return fileName;
}

bool ZALVliFilePath::IsPartFile() const
{
    return GetExtension().Compare(ZALPartExtension) > ZALTextsDiffer;
}

bool ZALVliFilePath::IsProductFile() const
{
    return GetExtension().Compare(ZALProductExtension) > ZALTextsDiffer;
}

bool ZALVliFilePath::Exists() const
{
    if (Path.GetLengthInChar() == 0)
        return false;
    ZALFileStatus status;
    return SUCCEEDED(ZALFileStat(Path, status, 0));
}
