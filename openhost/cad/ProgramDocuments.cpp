// The documents that programs open without a window.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/cad/Guard.h"
#include "openhost/cad/WorkspaceOccurrence.h"
#include "openhost/files/Paths.h"

namespace openhost {

namespace {

/// `document` as one of `workspace`, or an error.
LoadedDocument& LoadedIn(const CadWorkspace& workspace, ZALDocument& document)
{
    auto* loaded = dynamic_cast<LoadedDocument*>(&document);
    if (!loaded || loaded->Workspace() != &workspace)
        throw CadWorkspaceError("the document is not loaded");
    return *loaded;
}

void TellProgram(const LoadedDocument& document, const char* action)
{
    journal::Write(
        [&] { return journal::Document{.path = document.Path().string(), .action = action, .hidden = true}; });
}

} // namespace

HRESULT CadWorkspace::OpenDocument(const ZALUnicodeString& path, ZALDocument*& document, int)
{
    return Guard("Open", [&] {
        LoadedDocument& loaded = Load(std::filesystem::path(SystemPath(path)));
        ++loaded.opens_;
        document = &loaded;
        TellProgram(loaded, "opened");
    });
}

HRESULT CadWorkspace::SaveDocumentAs(ZALDocument& document, const ZALUnicodeString& path,
                                     const ZALUnicodeString& format, int)
{
    return Guard("SaveAs", [&] {
        if (format.GetLengthInChar() > 0)
            throw CadWorkspaceError("documents are saved in their own format only");
        SaveAs(LoadedIn(*this, document), std::filesystem::path(SystemPath(path)));
    });
}

HRESULT CadWorkspace::SaveDocumentAsNew(ZALDocument& document, const ZALUnicodeString& path, int)
{
    return Guard("SaveAsNew", [&] { SaveAsNew(LoadedIn(*this, document), std::filesystem::path(SystemPath(path))); });
}

HRESULT CadWorkspace::RemoveDocument(ZALDocument& document, int)
{
    return Guard("Remove", [&] {
        LoadedDocument& loaded = LoadedIn(*this, document);
        if (loaded.opens_ == 0)
            throw CadWorkspaceError(loaded.path_.string() + ": no program has opened the document");
        --loaded.opens_;
        TellProgram(loaded, "closed");
        UnloadUnused(loaded);
    });
}

ZALDocument* CadWorkspace::DocumentOf(ZALBaseUnknown& object)
{
    ZALBaseUnknown* implementation = object.GetImpl(0);
    if (const auto* feature = dynamic_cast<PartFeature*>(implementation))
        return feature->Container() ? feature->Container()->Document() : nullptr;
    if (const auto* container = dynamic_cast<FeatureContainer*>(implementation))
        return container->Document();
    const auto* occurrence = dynamic_cast<WorkspaceOccurrence*>(implementation);
    const auto* product = occurrence ? &occurrence->Leaf() : dynamic_cast<WorkspaceProduct*>(implementation);
    return product ? product->Reference() : nullptr;
}

} // namespace openhost
