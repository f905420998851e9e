#include "templates/ZALVliApplyTemplatesOpe.h"

#include "host/files.h"
#include "templates/ApplyTemplates.h"

namespace ZALVliTemplateSupportUtilities {

ZALVliApplyTemplatesOpe::ZALVliApplyTemplatesOpe() = default;

ZALVliApplyTemplatesOpe::~ZALVliApplyTemplatesOpe() = default;

void ZALVliApplyTemplatesOpe::SetTemplatesPathes(const ZALUnicodeString& part, const ZALUnicodeString& product)
{
    PartTemplatePath = part;
    ProductTemplatePath = product;
}

void ZALVliApplyTemplatesOpe::SetDestinationPath(const ZALUnicodeString& folder, const ZALUnicodeString& rootFileName)
{
    DestinationFolderPath = folder;
    DestinationRootFileName = rootFileName;
}

void ZALVliApplyTemplatesOpe::SetSourceFilesPathes(const ZALListValZALUnicodeString& files)
{
    SourceFilesPathes = files;
}

void ZALVliApplyTemplatesOpe::SetPreferredSaveMethod(PreferredSaveMethod method)
{
    SaveMethod = method;
}

void ZALVliApplyTemplatesOpe::AddPrdPropertyToReport(const ZALUnicodeString& name, const ZALUnicodeString& value)
{
    PropertiesToReport.emplace_back(name, value);
}

HRESULT ZALVliApplyTemplatesOpe::Run()
{
    return ApplyTemplates(PartTemplatePath, ProductTemplatePath, SourceFilesPathes, PropertiesToReport,
                          DestinationFolderPath, DestinationRootFileName, SaveMethod, ResultFilePathes, ErrorMessage,
                          WarningMessages);
}

void ZALVliApplyTemplatesOpe::DeleteSourcesFiles()
{
    for (int index = 1; index <= SourceFilesPathes.Size(); ++index)
        ZALDeleteFile(SourceFilesPathes[index]);
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
