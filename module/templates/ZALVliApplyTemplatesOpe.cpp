#include "templates/ZALVliApplyTemplatesOpe.h"

#include "host/files.h"
#include "templates/ApplyTemplates.h"

#include <limits>
#include <new>

namespace ZALVliTemplateSupportUtilities {

namespace {

/// Stands in place of the method when memory had no room for an argument, so that no run works on the others alone.
constexpr auto ArgumentIsLost = static_cast<PreferredSaveMethod>(std::numeric_limits<int>::min());

} // namespace

ZALVliApplyTemplatesOpe::ZALVliApplyTemplatesOpe() = default;

ZALVliApplyTemplatesOpe::~ZALVliApplyTemplatesOpe() = default;

void ZALVliApplyTemplatesOpe::SetTemplatesPathes(const ZALUnicodeString& part, const ZALUnicodeString& product)
try {
    PartTemplatePath = part;
    ProductTemplatePath = product;
} catch (const std::bad_alloc&) {
    SaveMethod = ArgumentIsLost;
}

void ZALVliApplyTemplatesOpe::SetDestinationPath(const ZALUnicodeString& folder, const ZALUnicodeString& rootFileName)
try {
    DestinationFolderPath = folder;
    DestinationRootFileName = rootFileName;
} catch (const std::bad_alloc&) {
    SaveMethod = ArgumentIsLost;
}

void ZALVliApplyTemplatesOpe::SetSourceFilesPathes(const ZALListValZALUnicodeString& files)
try {
    SourceFilesPathes = files;
} catch (const std::bad_alloc&) {
    // Some of them are neither rebuilt nor deleted.
    SourceFilesPathes.RemoveAll();
}

void ZALVliApplyTemplatesOpe::SetPreferredSaveMethod(PreferredSaveMethod method)
{
    if (SaveMethod != ArgumentIsLost)
        SaveMethod = method;
}

void ZALVliApplyTemplatesOpe::AddPrdPropertyToReport(const ZALUnicodeString& name, const ZALUnicodeString& value)
try {
    PropertiesToReport.emplace_back(name, value);
} catch (const std::bad_alloc&) {
    SaveMethod = ArgumentIsLost;
}

HRESULT ZALVliApplyTemplatesOpe::Run()
try {
    return ApplyTemplates(PartTemplatePath, ProductTemplatePath, SourceFilesPathes, PropertiesToReport,
                          DestinationFolderPath, DestinationRootFileName,
                          SaveMethod == ArgumentIsLost ? SaveMethodNone : SaveMethod, ResultFilePathes, ErrorMessage,
                          WarningMessages);
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

void ZALVliApplyTemplatesOpe::DeleteSourcesFiles()
{
    for (int index = 1; index <= SourceFilesPathes.Size(); ++index)
        try {
            ZALDeleteFile(SourceFilesPathes[index]);
        } catch (const std::bad_alloc&) {
            // It stays; the others go.
        }
}

const ZALListValZALUnicodeString& ZALVliApplyTemplatesOpe::GetResultFilePathes() const
{
    return ResultFilePathes;
}

const ZALListValZALUnicodeString& ZALVliApplyTemplatesOpe::GetWarningMessages() const
{
    return WarningMessages;
}

ZALUnicodeString ZALVliApplyTemplatesOpe::GetErrorMessage() const
{
    return ErrorMessage;
}

} // namespace ZALVliTemplateSupportUtilities
