#include "templates/ApplyPartTemplate.h"

#include "host/files.h"
#include "host/part_features.h"
#include "templates/ZALVliFilePath.h"
#include "traces/ZALVelmartIntegrationDebug.h"

#include <new>

using namespace ZALVliTemplateSupportUtilities;

namespace {

/// Modes of the document services.
constexpr int ThisDocumentAlone = 1; // of SaveAs
constexpr int WithoutAsking = 1;     // of Remove

/// The part of `document` and its main tool.
HRESULT GetPartAndMainTool(ZALDocument* document, ZALIPrtPart_var& part, ZALBaseUnknown_var& tool)
{
    const ZALInit_var init(document);
    if (!init)
        return E_FAIL;
    const ZALIPrtContainer_var container(init->GetRootContainer("ZALIPrtContainer"));
    if (!container)
        return E_FAIL;
    part = ZALIPrtPart_var(container->GetPart());
    if (!part)
        return E_FAIL;
    tool = part->GetMainTool();
    return S_OK;
}

ZALBaseUnknown_var ContainerOf(const ZALBaseUnknown_var& object)
{
    const ZALISpecObject_var feature(object);
    return feature ? feature->GetFeatContainer() : ZALBaseUnknown_var();
}

/// Copies `objects` of `sourceContainer` into `targetContainer`, below `targetElement` unless that is null. What the
/// target makes of them is not examined.
HRESULT CopyPaste(const ZALBaseUnknown_var& sourceContainer, const char* formatName,
                  const ZALListValZALBaseUnknown_var& objects, const ZALBaseUnknown_var& targetContainer,
                  const ZALBaseUnknown_var& targetElement)
{
    if (!sourceContainer || !targetContainer || !formatName)
        return E_FAIL;
    const ZALICutAndPastable_var source(sourceContainer);
    if (!source)
        return E_FAIL;

    ZALHandleList<ZALFormat> formats;
    source->FindFormats(formats);
    ZALFormat_var format;
    for (int index = 1; index <= formats.Size() && !format; ++index)
        if (formats[index] && formats[index]->GetName() == formatName)
            format = formats[index];
    if (!format)
        return E_FAIL;

    ZALListValZALBaseUnknown_var boundary;
    source->CollectBoundary(boundary, &objects, format);
    const ZALBaseUnknown_var extracted = source->Extract(boundary, format);

    ZALListValZALBaseUnknown_var pasted;
    if (const ZALICutAndPastable_var container(extracted); container)
        container->CollectBoundary(pasted, nullptr, format);

    ZALHandleList<ZALPathElement> targets;
    if (const ZALIPathAccess_var access(targetElement); access)
        targets.Append(access->GetPathElement());

    if (const ZALICutAndPastable_var target(targetContainer); target)
        target->Paste(pasted, targets, format);
    return S_OK;
}

HRESULT UpdateSpecObject(const ZALBaseUnknown_var& feature)
{
    const ZALISpecObject_var object(feature);
    if (!object)
        return E_INVALIDARG;
    try {
        object->Update();
    } catch (ZALError& error) {
        error.Flush();
        return E_FAIL;
    }
    return S_OK;
}

/// Puts a copy of the shape of `sourceDocument` into the main tool of the template, which has no shape yet, and with it
/// everything that stands beside the shape.
HRESULT RebuildPart(ZALDocument* sourceDocument, ZALDocument* templateDocument, const PropertyList& properties,
                    const ZALUnicodeString& isDestFilePath, PreferredSaveMethod saveMethod)
{
    ZALIPrtPart_var templatePart;
    ZALBaseUnknown_var templateTool;
    GetPartAndMainTool(templateDocument, templatePart, templateTool);
    ZALBaseUnknown_var target;
    if (const ZALIMechanicalTool_var tool(templateTool); tool && !tool->GetShapeFeature())
        target = templateTool;
    if (!templatePart || !target)
        return E_FAIL;

    ZALIPrtPart_var sourcePart;
    ZALBaseUnknown_var sourceTool;
    GetPartAndMainTool(sourceDocument, sourcePart, sourceTool);
    ZALListValZALBaseUnknown_var otherTools;
    if (sourcePart) {
        sourcePart->GetTools(otherTools);
        otherTools.RemoveValue(sourceTool);
    }

    ZALBaseUnknown_var copied;
    if (const ZALIMechanicalTool_var tool(sourceTool); tool)
        if (const ZALIShapeFeatureBody_var body(tool->GetShapeFeature()); body)
            copied = body->GetResult();

    if (!copied) {
        VL_TRACE("ApplyPartTemplate - There is nothing to copy");
    } else {
        const ZALBaseUnknown_var sourceContainer = ContainerOf(copied);
        const ZALBaseUnknown_var targetContainer = ContainerOf(target);
        ZALListValZALBaseUnknown_var objects;
        objects.Append(copied);
        if (FAILED(CopyPaste(sourceContainer, ZALFormatResultWithOutLink, objects, targetContainer, target))) {
            VL_TRACE("ApplyPartTemplate - CopyPaste has failed");
        } else {
            // Below the source's part, whose tools they are.
            if (otherTools.Size() > 0)
                CopyPaste(sourceContainer, ZALFormatResultWithOutLink, otherTools, targetContainer,
                          ZALBaseUnknown_var(sourcePart));
            if (const ZALIPrtManagement_var management(templatePart); management)
                management->SetWorkingFeature(target);
            CopyPersistentCamera(sourceDocument, templateDocument);
        }
    }

    UpdateSpecObject(ZALBaseUnknown_var(templatePart));
    const ZALIProduct_var sourceRoot = PrdGiveDocRootProduct(sourceDocument);
    const ZALIProduct_var templateRoot = PrdGiveDocRootProduct(templateDocument);
    ReportPrdProperties(sourceRoot, templateRoot, properties);

    return SaveResult(templateDocument, isDestFilePath, saveMethod, "ApplyPartTemplate");
}

/// Does `step` as far as there is memory for it.
template <class Step>
void DoAsMemoryAllows(Step step) noexcept
{
    try {
        step();
    } catch (const std::bad_alloc&) {
        // What comes after the step is done all the same.
    }
}

} // namespace

ZALDocument* OpenLocked(const ZALUnicodeString& path, DocumentList& documents)
{
    // Its place first, so that no document is open and in no list when memory runs out.
    documents.push_back(nullptr);
    ZALDocument* document = nullptr;
    if (FAILED(ZALDocumentServices::Open(path, document, 0)) || !document) {
        documents.pop_back();
        return nullptr;
    }
    documents.back() = document;
    document->AddRefForLock();
    return document;
}

void CloseDocuments(const DocumentList& documents) noexcept
{
    for (ZALDocument* document : documents) {
        if (!document)
            continue;
        DoAsMemoryAllows([&] { document->ReleaseForLock(0); });
        DoAsMemoryAllows([&] { ZALDocumentServices::Remove(document, WithoutAsking); });
    }
}

HRESULT ApplyPartTemplate(const ZALUnicodeString& isPartTemplatePath, const ZALUnicodeString& isRefPartPath,
                          const PropertyList& properties, const ZALUnicodeString& isDestFilePath,
                          PreferredSaveMethod saveMethod, ZALDocument*& document, DocumentList& heldDocuments,
                          ZALUnicodeString&)
{
    VL_TRACE("ApplyPartTemplate - isRefPartPath: " << isRefPartPath);
    VL_TRACE("ApplyPartTemplate - isDestFilePath: " << isDestFilePath);

    if (ZALVliFilePath(isDestFilePath).Exists()) {
        VL_TRACE("ApplyPartTemplate - file already exists in target, we do not overwrite");
        return S_FALSE;
    }

    if (isPartTemplatePath.GetLengthInChar() == 0) {
        VL_TRACE("ApplyPartTemplate - No Part Template - we move & rename the file");
        return MoveFile(isRefPartPath, isDestFilePath);
    }

    ZALDocument* templateDocument = OpenLocked(isPartTemplatePath, heldDocuments);
    if (!templateDocument)
        return E_FAIL;
    // It stays open after this function: it may have to be placed in a product.
    document = templateDocument;

    HeldDocumentList own;
    ZALDocument* sourceDocument = OpenLocked(isRefPartPath, own.Documents);
    if (!sourceDocument)
        return E_FAIL;
    return RebuildPart(sourceDocument, templateDocument, properties, isDestFilePath, saveMethod);
}

HRESULT SaveResult(ZALDocument* document, const ZALUnicodeString& path, PreferredSaveMethod method, const char* step)
{
    if (method == SaveMethodNewFrom) {
        VL_TRACE(step << " - SaveAsNew : " << path);
        return ZALDocumentServices::SaveAsNew(document, path, 0);
    }
    VL_TRACE(step << " - SaveAs : " << path);
    return ZALDocumentServices::SaveAs(document, path, "", ThisDocumentAlone);
}

HRESULT MoveFile(const ZALUnicodeString& from, const ZALUnicodeString& to)
{
    if (ZALVliFilePath(to).Exists()) {
        VL_TRACE("MoveFile - file already exists in target, we do not overwrite");
        return S_FALSE;
    }

    VL_TRACE("MoveFile - from : " << from << " to " << to);
    if (ZALRenameFile(from.ConvertToChar(), to.ConvertToChar()) == 0)
        return S_OK;

    VL_TRACE("MoveFile - unable to move " << from << " to " << to);
    return E_FAIL;
}

HRESULT CopyPersistentCamera(ZALDocument* sourceDocument, ZALDocument* templateDocument)
{
    const ZALIPersistentCamera_var templateCamera(templateDocument);
    const ZALCameraStore_var templateStore = templateCamera ? templateCamera->GetCameraStore() : ZALCameraStore_var();
    const ZALIPersistentCamera_var sourceCamera(sourceDocument);
    const ZALCameraStore_var sourceStore = sourceCamera ? sourceCamera->GetCameraStore() : ZALCameraStore_var();
    if (!templateStore || !sourceStore)
        return E_FAIL;

    templateStore->TakeCameras(*sourceStore.Get());
    return S_OK;
}
