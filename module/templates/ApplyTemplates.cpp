#include "templates/ApplyTemplates.h"

#include "host/dialogs.h"
#include "host/part_features.h"
#include "templates/ZALVliFilePath.h"
#include "traces/ZALVelmartIntegrationDebug.h"

#include <unordered_map>

using namespace ZALVliTemplateSupportUtilities;

namespace {

/// What a route works on, as ApplyTemplates was given it.
struct TemplateRun {
    const ZALUnicodeString& PartTemplatePath;
    const ZALUnicodeString& ProductTemplatePath;
    const ZALListValZALUnicodeString& Sources;
    const PropertyList& Properties;
    const ZALUnicodeString& Folder;
    const ZALUnicodeString& RootFileName;
    PreferredSaveMethod SaveMethod;
    ZALListValZALUnicodeString& Results;
    ZALUnicodeString& ErrorMessage;
};

// ---------------------------------------------------------------------------------------------
// One file

HRESULT ApplyToOneFile(const TemplateRun& run)
{
    HeldDocumentList held;
    const ZALUnicodeString& source = run.Sources[1];
    ZALUnicodeString destination;
    BuildDestinationFilePath(run.Folder, run.RootFileName, source, destination, 0);

    HRESULT result = S_OK;
    ZALDocument* document = nullptr;
    if (ZALVliFilePath(source).IsPartFile())
        result = ApplyPartTemplate(run.PartTemplatePath, source, run.Properties, destination, run.SaveMethod, document,
                                   held.Documents, run.ErrorMessage);
    else
        result = MoveFile(source, destination);

    if (SUCCEEDED(result))
        run.Results.Append(destination);
    return result;
}

// ---------------------------------------------------------------------------------------------
// Moves

HRESULT MoveAll(const TemplateRun& run, bool hasOneProduct)
{
    VL_TRACE("ApplyTemplates - No Product Template - we move the files");

    HRESULT result = S_OK;
    for (int index = 1; index <= run.Sources.Size(); ++index) {
        const ZALUnicodeString& source = run.Sources[index];
        ZALUnicodeString destination;
        if (hasOneProduct && ZALVliFilePath(source).IsProductFile()) {
            BuildDestinationFilePath(run.Folder, run.RootFileName, source, destination, 0);
        } else {
            ZALVliFilePath path(run.Folder);
            path.AppendPath(ZALVliFilePath(source).GetFileName());
            destination = path.GetPath();
        }

        if (SUCCEEDED(MoveFile(source, destination)))
            run.Results.Append(destination);
        else
            result = E_FAIL;
    }
    return result;
}

// ---------------------------------------------------------------------------------------------
// A product and its parts

/// Rebuilds the parts of `sourceRoot` and places them in `templateRoot`, each as often as it stands in the source.
HRESULT PlaceChildren(const TemplateRun& run, const ZALIProduct_var& sourceRoot, const ZALIProduct_var& templateRoot,
                      DocumentList& HeldDocuments)
{
    ZALListValZALBaseUnknown_var children;
    if (!sourceRoot || FAILED(sourceRoot->GetChildren("ZALIProduct", children)))
        return S_OK;

    std::unordered_map<ZALBaseUnknown*, ZALDocument*> ProducedDocuments; ///< by the identity of the reference
    int partIndex = 0;
    const ZALIMovable_var sourceMovable(sourceRoot);
    for (int index = 1; index <= children.Size(); ++index) {
        const ZALIProduct_var child(children[index]);
        if (!child)
            continue;

        ZALMathTransformation position;
        if (const ZALIMovable_var movable(child); movable)
            movable->GetPosition(position, sourceMovable.Get(), 0, 1);

        const ZALIProduct_var reference = ZALIProduct_var::Take(child->GetReferenceProduct());
        if (!reference)
            return E_FAIL;

        ZALBaseUnknown* const identity = reference->GetImpl(0);
        ZALDocument* document = nullptr;
        if (const auto produced = ProducedDocuments.find(identity); produced != ProducedDocuments.end()) {
            document = produced->second;
        } else {
            ZALUnicodeString path;
            FindDownloadedFile(child, run.Sources, path);
            if (path.GetLengthInChar() == 0) {
                VL_TRACE("ApplyTemplates - unable to retrieve corresponding downloaded file");
                continue;
            }

            ++partIndex;
            ZALUnicodeString partDestination;
            BuildDestinationFilePath(run.Folder, run.RootFileName, path, partDestination, partIndex);
            if (FAILED(ApplyPartTemplate(run.PartTemplatePath, path, run.Properties, partDestination, run.SaveMethod,
                                         document, HeldDocuments, run.ErrorMessage)))
                return E_FAIL;
            run.Results.Append(partDestination);
            ProducedDocuments[identity] = document;
        }

        // Without a part template, or where the result stood already, there is not a document, and this fails: a
        // product template needs a part template.
        if (FAILED(AddPositionedComponent(templateRoot, PrdGiveDocRootProduct(document), position)))
            return E_FAIL;
    }
    return S_OK;
}

HRESULT ApplyProductTemplate(const TemplateRun& run, const ZALUnicodeString& sourceProduct)
{
    HeldDocumentList held;
    ZALUnicodeString destination;
    BuildDestinationFilePath(run.Folder, run.RootFileName, sourceProduct, destination, 0);

    if (ZALVliFilePath(destination).Exists()) {
        VL_TRACE("ApplyTemplates - file already exists in target, we do not overwrite");
        run.Results.InsertAt(1, destination);
        return S_OK;
    }

    ZALDocument* templateDocument = OpenLocked(run.ProductTemplatePath, held.Documents);
    if (!templateDocument)
        return E_FAIL;
    const ZALIProduct_var templateRoot = PrdGiveDocRootProduct(templateDocument);

    ZALDocument* sourceDocument = OpenLocked(sourceProduct, held.Documents);
    if (!sourceDocument)
        return E_FAIL;
    const ZALIProduct_var sourceRoot = PrdGiveDocRootProduct(sourceDocument);

    ReportPrdProperties(sourceRoot, templateRoot, run.Properties);
    CopyPersistentCamera(sourceDocument, templateDocument);

    if (FAILED(PlaceChildren(run, sourceRoot, templateRoot, held.Documents)))
        return E_FAIL;

    // The documents of the parts are still open, so that the product can refer to them.
    const HRESULT result = SaveResult(templateDocument, destination, run.SaveMethod, "ApplyTemplates");

    // Whatever the save has given: the product stands before its parts.
    run.Results.InsertAt(1, destination);
    return result;
}

} // namespace

HRESULT ApplyTemplates(const ZALUnicodeString& isPartTemplatePath, const ZALUnicodeString& isProductTemplatePath,
                       const ZALListValZALUnicodeString& sources, const PropertyList& properties,
                       const ZALUnicodeString& isDestFolderPath, const ZALUnicodeString& isDestRootFileName,
                       PreferredSaveMethod saveMethod, ZALListValZALUnicodeString& results,
                       ZALUnicodeString& errorMessage, ZALListValZALUnicodeString& warnings)
{
    errorMessage = ZALUnicodeString();
    results.RemoveAll();

    VL_TRACE("ApplyTemplates - isPartTemplatePath: " << isPartTemplatePath);
    VL_TRACE("ApplyTemplates - isProductTemplatePath: " << isProductTemplatePath);
    VL_TRACE("ApplyTemplates - isDestFolderPath: " << isDestFolderPath);
    VL_TRACE("ApplyTemplates - isDestRootFileName: " << isDestRootFileName);
    VL_TRACE("ApplyTemplates - SaveMethod: " << static_cast<std::int32_t>(saveMethod));

    if (saveMethod == SaveMethodNone || sources.Size() == 0)
        return E_INVALIDARG;

    const TemplateRun run{isPartTemplatePath, isProductTemplatePath, sources,    properties,
                          isDestFolderPath,   isDestRootFileName,    saveMethod, results,
                          errorMessage};
    if (sources.Size() == 1)
        return ApplyToOneFile(run);

    ZALListValZALUnicodeString products;
    for (int index = 1; index <= sources.Size(); ++index)
        if (ZALVliFilePath(sources[index]).IsProductFile())
            products.Append(sources[index]);

    if (products.Size() > 1) {
        VL_TRACE("ApplyTemplates - WARNING - No Support of template for multiple products");
        warnings.Append(ZALMsgCatalog::BuildMessage("ZALVelmartFileDownloader", "WarnNoTemplateMultiProduct", nullptr,
                                                    0, ZALUnicodeString()));
        return MoveAll(run, false);
    }

    if (isProductTemplatePath.GetLengthInChar() == 0)
        return MoveAll(run, products.Size() == 1);

    if (products.Size() == 0)
        return E_FAIL;
    return ApplyProductTemplate(run, products[1]);
}

HRESULT BuildDestinationFilePath(const ZALUnicodeString& isDestFolderPath, const ZALUnicodeString& isDestRootFileName,
                                 const ZALUnicodeString& sourcePath, ZALUnicodeString& destPath, int index)
{
    ZALVliFilePath path(isDestFolderPath);
    const ZALVliFilePath source(sourcePath);

    if (isDestRootFileName.GetLengthInChar() == 0) {
        path.AppendPath(source.GetFileName());
        destPath = path.GetPath();
        return S_OK;
    }

    path.AppendPath(isDestRootFileName);
    if (path.GetExtension() != source.GetExtension()) {
        if (index == 0) {
            path.AppendExtension(source.GetExtension());
        } else {
            ZALUnicodeString number;
            number.BuildFromNum(static_cast<std::uint64_t>(index), "%02d");
            // The extension is fixed, since only parts have an index.
            path = ZALVliFilePath(isDestFolderPath);
            path.AppendPath(isDestRootFileName + "_" + number + ".ZALPart");
        }
    }
    destPath = path.GetPath();
    return S_OK;
}

HRESULT FindDownloadedFile(const ZALIProduct_var& child, const ZALListValZALUnicodeString& sources,
                           ZALUnicodeString& path)
{
    if (!child)
        return E_INVALIDARG;
    const ZALBaseUnknown_var representation =
        ZALBaseUnknown_var::Take(child->GetShapeRepresentation("Default", 0, 1, 1));
    if (!ZALIPrtPart_var(representation))
        return E_FAIL;
    ZALDocument* document = ZALDocumentServices::GetDocumentOf(representation.Get());
    if (!document)
        return E_FAIL;

    const ZALUnicodeString fileName = ZALVliFilePath(document->StorageName()).GetFileName();
    for (int index = 1; index <= sources.Size(); ++index) {
        if (ZALVliFilePath(sources[index]).GetFileName().Compare(fileName) == ZALTextsDiffer)
            continue;
        path = sources[index];
        return S_OK;
    }
    return S_FALSE;
}

HRESULT AddPositionedComponent(const ZALIProduct_var& templateRoot, const ZALIProduct_var& partRoot,
                               const ZALMathTransformation& position)
{
    const ZALIAProducts_var components(templateRoot);
    if (!components)
        return E_INVALIDARG;
    const ZALIAProduct_var component(partRoot);
    if (!component)
        return E_INVALIDARG;

    ZALIAProduct* added = nullptr;
    const HRESULT result = components->AddComponent(component.Get(), &added);
    const ZALIAProduct_var instance = ZALIAProduct_var::Take(added);
    if (FAILED(result) || !instance)
        return E_FAIL;

    if (const ZALIMovable_var movable(instance); movable)
        movable->SetPosition(position, ZALIMovable_var(templateRoot).Get(), 0, 1);
    return result;
}
