// Operations of the host that fail when they are told to, as their contracts in module/host allow. Only calls of the
// module count.

#include "tests/torture/Failures.h"

#include "host/archive.h"
#include "host/cad.h"
#include "host/dialog_engine.h"
#include "host/dialogs.h"
#include "host/files.h"
#include "host/frame.h"
#include "host/hash.h"
#include "host/http.h"
#include "host/panel.h"
#include "host/parameters.h"
#include "host/part_features.h"
#include "host/settings.h"
#include "host/system.h"
#include "host/visualization.h"

#include <array>
#include <bit>
#include <cstdint>
#include <map>
#include <string_view>
#include <type_traits>

#include <sys/mman.h>
#include <unistd.h>

using torture::Operation;

namespace {

/// What stands behind `function`, which is one of this file.
template <class Function>
Function Next(Function function)
{
    // The address of a method is the first word of a pointer to it.
    std::array<void*, sizeof(Function) / sizeof(void*)> words = std::bit_cast<decltype(words)>(function);
    words[0] = torture::Next(words[0]);
    return std::bit_cast<Function>(words);
}

// ---------------------------------------------------------------------------------------------
// Methods of interfaces
//
// The host gives objects, whose methods are found in their table of methods: it is changed there.

/// What an operation leaves in an output that it has not filled.
template <class T>
void Clear(T&)
{
}
template <class T>
void Clear(T**& output)
{
    if (output)
        *output = nullptr;
}

/// One method of an interface: what stands in its place in the tables of those who implement it.
template <auto Method, class Interface, class Result, class... Arguments>
class Hook {
public:
    /// Puts it into the table of `object`.
    static void Install(const char* name, void* object)
    {
        operation_.emplace(name);
        // Of a virtual method the pointer to it holds its place in the table, in bytes and one more.
        const auto place = std::bit_cast<std::array<std::uintptr_t, 2>>(Method)[0] - 1;
        void** const table = *static_cast<void***>(object);
        void** const entry = table + place / sizeof(void*);
        if (*entry == reinterpret_cast<void*>(&Call))
            return;
        originals_[table] = reinterpret_cast<Function>(*entry);
        const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
        const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(entry) / page * page;
        mprotect(reinterpret_cast<void*>(begin), page, PROT_READ | PROT_WRITE);
        *entry = reinterpret_cast<void*>(&Call);
    }

private:
    using Function = Result (*)(Interface*, Arguments...);

    /// What a name becomes at the first call of Install.
    struct LateOperation {
        void emplace(const char* name)
        {
            static Operation operation(name);
            value = &operation;
        }
        Operation* value = nullptr;
    };

    static Result Call(Interface* object, Arguments... arguments)
    {
        if (torture::IsInModule(__builtin_return_address(0)) && operation_.value->Fails() != 0) {
            (Clear(arguments), ...);
            if constexpr (std::is_same_v<Result, HRESULT>)
                return E_FAIL;
            else
                return Result();
        }
        return originals_.at(*reinterpret_cast<void***>(object))(object, static_cast<Arguments>(arguments)...);
    }

    static inline LateOperation operation_;
    static inline std::map<void**, Function> originals_;
};

template <auto Method, class Interface, class Result, class... Arguments>
void InstallHook(Result (Interface::*)(Arguments...), const char* name, void* object)
{
    Hook<Method, Interface, Result, Arguments...>::Install(name, object);
}

/// Lets a method of the interface of `object` fail.
#define HOOK(method) InstallHook<&method>(&method, #method, object)

void WatchDocument(void* object)
{
    if (!object)
        return;
    HOOK(ZALDocument::AddRefForLock);
    HOOK(ZALDocument::ReleaseForLock);
}

void WatchStorage(void* object)
{
    if (!object)
        return;
    HOOK(ZALStorage::OpenStorage);
    HOOK(ZALStorage::Close);
}

void WatchSettings(void* object)
{
    if (!object)
        return;
    HOOK(ZALIVelmartIntegrationSettingAtt::SettingsStepOne);
    HOOK(ZALIVelmartIntegrationSettingAtt::SettingsStepTwo);
    HOOK(ZALIVelmartIntegrationSettingAtt::SettingsStepThree);
    HOOK(ZALIVelmartIntegrationSettingAtt::SaveSettings);
    HOOK(ZALIVelmartIntegrationSettingAtt::GetDoNotRemindDownloadLocation);
    HOOK(ZALIVelmartIntegrationSettingAtt::SetDoNotRemindDownloadLocation);
    HOOK(ZALIVelmartIntegrationSettingAtt::GetDoNotRemindDownloadLocationInfo);
    HOOK(ZALIVelmartIntegrationSettingAtt::GetDownloadLocation);
    HOOK(ZALIVelmartIntegrationSettingAtt::SetDownloadLocation);
    HOOK(ZALIVelmartIntegrationSettingAtt::GetDownloadLocationInfo);
}

/// Lets the methods of the interface `name` of `object` fail.
void Watch(std::string_view name, void* object)
{
    if (name == "ZALIPointedSymbols") {
        HOOK(ZALIPointedSymbols::GetPointedDocuments);
    } else if (name == "ZALIProduct") {
        HOOK(ZALIProduct::GetReferenceProduct);
        HOOK(ZALIProduct::GetFatherProduct);
        HOOK(ZALIProduct::GetPartNumber);
        HOOK(ZALIProduct::GetChildren);
        HOOK(ZALIProduct::GetShapeRepresentation);
    } else if (name == "ZALIAlias") {
        HOOK(ZALIAlias::GetAlias);
    } else if (name == "ZALIMovable") {
        HOOK(ZALIMovable::GetPosition);
        HOOK(ZALIMovable::SetPosition);
    } else if (name == "ZALIAApplication") {
        HOOK(ZALIAApplication::GetDocuments);
    } else if (name == "ZALIAProducts") {
        HOOK(ZALIAProducts::AddComponentsFromFiles);
        HOOK(ZALIAProducts::AddComponent);
        HOOK(ZALIAProducts::ReplaceComponent);
    } else if (name == "ZALINameServerAccess") {
        HOOK(ZALINameServerAccess::GetNameServer);
    } else if (name == "ZALInit") {
        HOOK(ZALInit::GetRootContainer);
    } else if (name == "ZALIPrtContainer") {
        HOOK(ZALIPrtContainer::GetPart);
    } else if (name == "ZALIPrtPart") {
        HOOK(ZALIPrtPart::GetMainTool);
        HOOK(ZALIPrtPart::GetTools);
    } else if (name == "ZALIMechanicalTool") {
        HOOK(ZALIMechanicalTool::GetShapeFeature);
    } else if (name == "ZALIShapeFeatureBody") {
        HOOK(ZALIShapeFeatureBody::GetResult);
    } else if (name == "ZALISpecObject") {
        HOOK(ZALISpecObject::GetFeatContainer);
    } else if (name == "ZALIPrtManagement") {
        HOOK(ZALIPrtManagement::SetWorkingFeature);
    } else if (name == "ZALICutAndPastable") {
        HOOK(ZALICutAndPastable::CollectBoundary);
        HOOK(ZALICutAndPastable::Extract);
        HOOK(ZALICutAndPastable::FindFormats);
        HOOK(ZALICutAndPastable::Paste);
    } else if (name == "ZALIPersistentCamera") {
        HOOK(ZALIPersistentCamera::GetCameraStore);
    } else if (name == "ZALICkeParmFactory") {
        HOOK(ZALICkeParmFactory::CreateString);
    } else if (name == "ZALIParmPublisher") {
        HOOK(ZALIParmPublisher::GetDirectChildren);
        HOOK(ZALIParmPublisher::Append);
    } else if (name == "ZALICkeParm") {
        HOOK(ZALICkeParm::GetType);
        HOOK(ZALICkeParm::GetValue);
    } else if (name == "ZALIPrdProperties") {
        HOOK(ZALIPrdProperties::GetPartNumber);
        HOOK(ZALIPrdProperties::SetPartNumber);
        HOOK(ZALIPrdProperties::GetNomenclature);
        HOOK(ZALIPrdProperties::SetNomenclature);
        HOOK(ZALIPrdProperties::GetDescription);
        HOOK(ZALIPrdProperties::SetDescription);
        HOOK(ZALIPrdProperties::GetUserProperties);
    } else if (name == "ZALIMeridiaAccessDialog") {
        HOOK(ZALIMeridiaAccessDialog::ExecuteScript);
        HOOK(ZALIMeridiaAccessDialog::LoadUrl);
        HOOK(ZALIMeridiaAccessDialog::GetAddin);
    } else if (name == "ZALI3DGeoVisu") {
        HOOK(ZALI3DGeoVisu::GiveRep);
    }
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Functions

/// Defines the operation `name`, which does `failure` when it fails in the way `how`, and whose `result` is what the
/// host has answered.
#define OPERATION(type, name, parameters, arguments, failure, afterwards)                                              \
    type name parameters                                                                                               \
    {                                                                                                                  \
        static const auto original = Next(&name);                                                                      \
        static Operation operation(#name);                                                                             \
        const int how = torture::IsInModule(__builtin_return_address(0)) ? operation.Fails() : 0;                      \
        if (how != 0) {                                                                                                \
            failure;                                                                                                   \
        }                                                                                                              \
        type result = original arguments;                                                                              \
        afterwards;                                                                                                    \
        return result;                                                                                                 \
    }

#define METHOD(type, name, parameters, arguments, failure)                                                             \
    type name parameters                                                                                               \
    {                                                                                                                  \
        static const auto original = Next(&name);                                                                      \
        static Operation operation(#name);                                                                             \
        if (torture::IsInModule(__builtin_return_address(0)) && operation.Fails() != 0) {                              \
            failure;                                                                                                   \
        }                                                                                                              \
        return (this->*original) arguments;                                                                            \
    }

// Objects

HRESULT ZALBaseUnknown::QueryInterface(ZALClassId interfaceName, ZALBaseUnknown** result)
{
    static const auto original = Next(&ZALBaseUnknown::QueryInterface);
    static Operation operation("QueryInterface");
    const bool counts = torture::IsInModule(__builtin_return_address(0));
    if (counts && operation.Fails() != 0) {
        *result = nullptr;
        return E_FAIL;
    }
    const HRESULT answer = (this->*original)(interfaceName, result);
    if (counts && SUCCEEDED(answer))
        Watch(interfaceName, *result);
    return answer;
}

// Files

OPERATION(HRESULT, ZALFOpen, (const ZALUnicodeString& path, const char* mode, ZALFileHandle& handle),
          (path, mode, handle), handle = 0;
          return E_FAIL, )
OPERATION(HRESULT, ZALFRead, (ZALFileHandle handle, void* buffer, std::uint32_t size, std::uint32_t& count),
          (handle, buffer, size, count), count = 0;
          return E_FAIL, )
OPERATION(HRESULT, ZALFWrite, (ZALFileHandle handle, const void* bytes, std::uint32_t size, std::uint32_t& count),
          (handle, bytes, size, count), count = 0;
          if (how == torture::Short) original(handle, bytes, size / 2, count); return E_FAIL, )
OPERATION(HRESULT, ZALFSize, (ZALFileHandle handle, std::uint32_t& size), (handle, size), return E_FAIL, )
OPERATION(HRESULT, ZALFClose, (ZALFileHandle handle), (handle), original(handle); return E_FAIL, )
OPERATION(HRESULT, ZALFileStat, (const ZALUnicodeString& path, ZALFileStatus& status, int options),
          (path, status, options), return E_FAIL, )
OPERATION(HRESULT, ZALDeleteFile, (const ZALUnicodeString& path), (path), return E_FAIL, )
OPERATION(int, ZALRenameFile, (const ZALString& from, const ZALString& to), (from, to), return 1, )
OPERATION(HRESULT, ZALCreateDirectory, (const ZALUnicodeString& path), (path), return E_FAIL, )

// Archives

METHOD(HRESULT, ZALSysZipFile::OpenZip, (const ZALUnicodeString& path, unsigned int mode), (path, mode), return E_FAIL)
METHOD(HRESULT, ZALSysZipFile::BrowseZip, (ZALUnicodeString * &names, std::uint64_t*& sizes, unsigned int& count),
       (names, sizes, count), names = nullptr;
       sizes = nullptr; count = 0; return E_FAIL)
METHOD(HRESULT, ZALSysZipFile::ExtractFile,
       (const ZALUnicodeString& folder, const ZALUnicodeString& entry, unsigned int flags), (folder, entry, flags),
       return E_FAIL)
METHOD(HRESULT, ZALSysZipFile::AddFile,
       (const ZALUnicodeString& file, int compress, int relative, const ZALUnicodeString& base, int options),
       (file, compress, relative, base, options), return E_FAIL)
METHOD(HRESULT, ZALSysZipFile::Close, (), (), return E_FAIL)

// Hashes

OPERATION(HRESULT, KRYSysHash_Init, (int algorithm, KRYSysHashContext& context), (algorithm, context), return E_FAIL, )
OPERATION(HRESULT, KRYSysHash_Update, (KRYSysHashContext & context, const void* bytes, std::uint32_t size),
          (context, bytes, size), return E_FAIL, )
OPERATION(HRESULT, KRYSysHash_Final, (KRYSysHashContext & context, unsigned char* digest, std::uint32_t& length),
          (context, digest, length), return E_FAIL, )

// The system

OPERATION(HRESULT, ZALGetEnv, (const char* name, ZALUnicodeString& value), (name, value), return E_FAIL, )
OPERATION(ZALUnicodeString, ZALGetOfficialVariable, (const char* name), (name), return {}, )
OPERATION(HRESULT, ZALGetFilePathFromOfficialVariable,
          (const ZALUnicodeString& relativePath, const char* name, ZALUnicodeString& path), (relativePath, name, path),
          path = {};
          return E_FAIL, )
OPERATION(HRESULT, PathCreateFromUrlW, (const char16_t* url, char16_t* path, std::uint32_t* size, std::uint32_t flags),
          (url, path, size, flags), path[0] = 0;
          return E_INVALIDARG, )

// Texts

METHOD(HRESULT, ZALUnicodeString::ConvertToUCChar, (char16_t* units, int& count) const, (units, count), return E_FAIL)

// HTTP

METHOD(bool, ZALCefHttpRequest::Send, (ZALCefHttpDataHandler * handler), (handler), return false)

// Settings, frame, panel, dialogs

OPERATION(HRESULT, CreateZALIVelmartIntegrationSettingAtt, (ZALIVelmartIntegrationSettingAtt * *settings), (settings),
          *settings = nullptr;
          return E_FAIL, WatchSettings(*settings))
OPERATION(ZALApplicationFrame*, ZALApplicationFrame::GetFrame, (), (), return nullptr, )
OPERATION(ZALFrmEditor*, ZALFrmEditor::GetCurrentEditor, (), (), return nullptr, )
OPERATION(ZALFrmLayout*, ZALFrmLayout::GetCurrentLayout, (), (), return nullptr, )
OPERATION(ZALApplication*, ZALApplication::MainApplication, (), (), return nullptr, )
OPERATION(ZALRecord*, ZALRecord::GetMain, (), (), return nullptr, )
OPERATION(ZALCommandHeader*, ZALCommandHeader::GetHeaderFromList, (const ZALString& name, int options), (name, options),
          return nullptr, )
OPERATION(ZALIMeridiaAccessDialog_var, ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog, (), (), return {}, )
OPERATION(ZALIMeridiaAccessDialog_var, ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog, (), (), return {}, )
OPERATION(HRESULT, ZALFileMenuMethods::CreateCurrentDocEnvDialogBox,
          (ZALDialog * parent, const ZALString& name, unsigned int style, ZALDlgFileBox*& box, void* data),
          (parent, name, style, box, data), return E_FAIL, )
METHOD(int, ZALDlgNotify::DisplayBlocked, (const ZALUnicodeString& text, const ZALUnicodeString& title), (text, title),
       return ZALDlgAnswerClosed)

// Documents

OPERATION(HRESULT, ZALStorage::OpenRootStg, (const ZALUnicodeString& path, int create, ZALStorage** storage, int mode),
          (path, create, storage, mode), *storage = nullptr;
          return E_FAIL, WatchStorage(*storage))
OPERATION(ZALBaseUnknown*, ZALDocumentProperty::CreateDocLinkManager, (ZALStorage * storage, void* context),
          (storage, context), return nullptr, )
OPERATION(ZALIProduct_var, PrdGiveDocRootProduct, (ZALDocument * document), (document), return {}, )
OPERATION(HRESULT, ZALDocumentServices::Open, (const ZALUnicodeString& path, ZALDocument*& document, int mode),
          (path, document, mode), document = nullptr;
          return E_FAIL, WatchDocument(document))
OPERATION(HRESULT, ZALDocumentServices::SaveAs,
          (ZALDocument * document, const ZALUnicodeString& path, const ZALUnicodeString& format, int mode),
          (document, path, format, mode), return E_FAIL, )
OPERATION(HRESULT, ZALDocumentServices::SaveAsNew, (ZALDocument * document, const ZALUnicodeString& path, int mode),
          (document, path, mode), return E_FAIL, )
OPERATION(HRESULT, ZALDocumentServices::Remove, (ZALDocument * document, int mode), (document, mode), return E_FAIL, )
OPERATION(ZALDocument*, ZALDocumentServices::GetDocumentOf, (ZALBaseUnknown * object), (object), return nullptr,
          WatchDocument(result))
OPERATION(HRESULT, ZALDocumentServices::GetDocumentInSession, (const ZALUnicodeString& path, ZALDocument** document),
          (path, document), *document = nullptr;
          return E_FAIL, WatchDocument(*document))
OPERATION(HRESULT, BuildSafeArrayVariant, (const ZALListValZALUnicodeString& texts, ZALVariant& variant),
          (texts, variant), return E_FAIL, )
OPERATION(int, ZALWriteLvr,
          (ZALRep * representation, const char* path, ZALSettingLvr setting, const ZALLvrColorMap* colors,
           unsigned char options, ZALVizLVRAccessMode access),
          (representation, path, setting, colors, options, access), return 1, )
