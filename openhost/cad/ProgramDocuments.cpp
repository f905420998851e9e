// The documents that programs open without a window.

#include "openhost/cad/CadSession.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/cad/Guard.h"
#include "openhost/cad/SessionOccurrence.h"
#include "openhost/files/Paths.h"

namespace openhost {

namespace {

/// `document` as one of `session`, or an error.
LoadedDocument& LoadedIn(const CadSession& session, ZALDocument& document)
{
    auto* loaded = dynamic_cast<LoadedDocument*>(&document);
    if (!loaded || loaded->Session() != &session)
        throw CadSessionError("the document is not loaded");
    return *loaded;
}

void TellProgram(const LoadedDocument& document, const char* action)
{
    journal::Write("document", {{"path", document.Path().string()}, {"action", action}, {"hidden", true}});
}

} // namespace

HRESULT CadSession::OpenDocument(const ZALUnicodeString& path, ZALDocument*& document, int)
{
    return Guard("Open", [&] {
        LoadedDocument& loaded = Load(std::filesystem::path(SystemPath(path)));
        ++loaded.opens_;
        document = &loaded;
        TellProgram(loaded, "opened");
    });
}

HRESULT CadSession::SaveDocumentAs(ZALDocument& document, const ZALUnicodeString& path, const ZALUnicodeString& format,
                                   int)
{
    return Guard("SaveAs", [&] {
        if (format.GetLengthInChar() > 0)
            throw CadSessionError("documents are saved in their own format only");
        SaveAs(LoadedIn(*this, document), std::filesystem::path(SystemPath(path)));
    });
}

HRESULT CadSession::SaveDocumentAsNew(ZALDocument& document, const ZALUnicodeString& path, int)
{
    return Guard("SaveAsNew", [&] { SaveAsNew(LoadedIn(*this, document), std::filesystem::path(SystemPath(path))); });
}

HRESULT CadSession::RemoveDocument(ZALDocument& document, int)
{
    return Guard("Remove", [&] {
        LoadedDocument& loaded = LoadedIn(*this, document);
        if (loaded.opens_ == 0)
            throw CadSessionError(loaded.path_.string() + ": no program has opened the document");
        --loaded.opens_;
        TellProgram(loaded, "closed");
        UnloadUnused(loaded);
    });
}

ZALDocument* CadSession::DocumentOf(ZALBaseUnknown& object)
{
    ZALBaseUnknown* implementation = object.GetImpl(0);
    if (const auto* feature = dynamic_cast<PartFeature*>(implementation))
        return feature->Container() ? feature->Container()->Document() : nullptr;
    if (const auto* container = dynamic_cast<FeatureContainer*>(implementation))
        return container->Document();
    const auto* occurrence = dynamic_cast<SessionOccurrence*>(implementation);
    const auto* product = occurrence ? &occurrence->Leaf() : dynamic_cast<SessionProduct*>(implementation);
    return product ? product->Reference() : nullptr;
}

} // namespace openhost
