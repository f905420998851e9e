// Rebuilds downloaded documents on the user's templates.
#pragma once

#include "templates/ReportPrdProperties.h"
#include "templates/ZALVliTemplateSupportUtilities.h"

namespace ZALVliTemplateSupportUtilities {

/// Used once, in this order: what to do is set, Run, DeleteSourcesFiles, what became of it is read. The work blocks,
/// and no file that stands in the destination folder is ever overwritten. Used on the user-interface thread.
///
/// When memory has no room for something that is set, Run refuses to work without it.
///
/// Sources: the choice of the route, products and moves in ApplyTemplates.cpp, one part in ApplyPartTemplate.cpp, the
/// properties of both in ReportPrdProperties.cpp.
class ZALVliApplyTemplatesOpe {
public:
    ZALVliApplyTemplatesOpe();
    virtual ~ZALVliApplyTemplatesOpe();

    /// Local paths of the templates; empty for none.
    void SetTemplatesPathes(const ZALUnicodeString& part, const ZALUnicodeString& product);
    /// Folder of the results, and the name that the root of them takes; with an empty name it keeps its own.
    void SetDestinationPath(const ZALUnicodeString& folder, const ZALUnicodeString& rootFileName);
    /// The downloaded files, the root document first.
    void SetSourceFilesPathes(const ZALListValZALUnicodeString& files);
    /// SaveMethodSaveAs unless set.
    void SetPreferredSaveMethod(PreferredSaveMethod method);
    /// A text parameter that each rebuilt document gets, unless its template has one of that name.
    void AddPrdPropertyToReport(const ZALUnicodeString& name, const ZALUnicodeString& value);

    /// E_INVALIDARG without sources or a save method, or when one of the values was lost; other failures leave what was
    /// written until then.
    HRESULT Run();
    /// Deletes the source files that are still there.
    void DeleteSourcesFiles();

    /// The files of the last run, the root document first.
    const ZALListValZALUnicodeString& GetResultFilePathes() const;
    /// Remarks for the user of all runs.
    const ZALListValZALUnicodeString& GetWarningMessages() const;
    /// Always empty: failures have result codes and traces only.
    ZALUnicodeString GetErrorMessage() const;

private:
    ZALUnicodeString PartTemplatePath;
    ZALUnicodeString ProductTemplatePath;
    ZALUnicodeString DestinationFolderPath;
    ZALUnicodeString DestinationRootFileName;
    ZALListValZALUnicodeString SourceFilesPathes;
    PreferredSaveMethod SaveMethod = SaveMethodSaveAs;
    ZALUnicodeString ErrorMessage;
    ZALListValZALUnicodeString ResultFilePathes;
    ZALListValZALUnicodeString WarningMessages;
    PropertyList PropertiesToReport;
};

} // namespace ZALVliTemplateSupportUtilities
