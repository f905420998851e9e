// From the downloaded archive to files in the user's folder.

#include "download/ZALVelmartFileDownloaderExtraction.h"

#include "dialogs/Question.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "host/archive.h"
#include "host/cad.h"
#include "host/frame.h"
#include "traces/ZALVelmartIntegrationDebug.h"

#include <memory>
#include <new>
#include <set>

using Notification = ZALVelmartFileDownloadCompleteNotification;

namespace {

const char* const MessageCatalog = "ZALVelmartFileDownloader";

/// Most conflicting files that the question names.
constexpr int ListedConflicts = 30;

/// The names of all entries of an archive.
struct ArchiveEntries {
    explicit ArchiveEntries(ZALSysZipFile& archive)
    {
        ZALUnicodeString* nameArray = nullptr;
        std::uint64_t* sizeArray = nullptr;
        archive.BrowseZip(nameArray, sizeArray, Count);
        Names.reset(nameArray);
        Sizes.reset(sizeArray);
    }
    std::unique_ptr<ZALUnicodeString[]> Names;
    std::unique_ptr<std::uint64_t[]> Sizes;
    unsigned int Count = 0;
};

/// A storage that was opened, closed and released at the latest with its scope.
class StorageInUse {
public:
    explicit StorageInUse(ZALStorage* storage) : storage_(ZALInterfaceHandle<ZALStorage>::Take(storage)) {}
    StorageInUse(const StorageInUse&) = delete;
    StorageInUse& operator=(const StorageInUse&) = delete;
    ~StorageInUse()
    {
        try {
            Close();
        } catch (const std::bad_alloc&) {
            // It is released all the same.
        }
    }
    void Close()
    {
        if (const auto closing = std::exchange(storage_, {}))
            closing->Close(0);
    }
    ZALStorage* Get() const { return storage_.Get(); }
    ZALStorage* operator->() const { return storage_.Get(); }

private:
    ZALInterfaceHandle<ZALStorage> storage_;
};

/// The path of `entry` below `folder`, in the host's notation.
ZALUnicodeString PathBelow(const ZALUnicodeString& folder, ZALUnicodeString entry)
{
    entry.ReplaceAll(u'/', u'\\');
    ZALUnicodeString path = folder;
    ZALMakePath(path, entry);
    return path;
}

ZALUnicodeString FileNameOf(const ZALUnicodeString& path)
{
    ZALUnicodeString folder;
    ZALUnicodeString name;
    ZALSplitPath(path, folder, name);
    return name;
}

bool IsProduct(const ZALUnicodeString& path)
{
    return GetFileExtensionName(path).Compare(ZALProductExtension) != ZALTextsDiffer;
}

/// The paths below `folder` at which something stands that one of `entries` would overwrite.
ZALListValZALUnicodeString FindConflicts(const ArchiveEntries& entries, const ZALUnicodeString& folder)
{
    ZALListValZALUnicodeString conflicts;
    for (unsigned int index = 0; index < entries.Count; ++index) {
        ZALUnicodeString entry = entries.Names[index];
        entry.ReplaceAll(u'/', u'\\');
        if (IsIgnoredArchiveEntry(entry))
            continue;
        const ZALUnicodeString path = PathBelow(folder, entry);
        // A directory that is already there counts too.
        ZALFileStatus status;
        if (SUCCEEDED(ZALFileStat(path, status, 0)))
            conflicts.Append(path);
    }
    return conflicts;
}

/// Shows the question whether to overwrite `conflicts`, and gives the answer.
int AskToOverwrite(const ZALListValZALUnicodeString& conflicts)
{
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    Question question(frame ? frame->GetApplicationDocument() : nullptr, "OverwriteNotify", ZALDlgNotifyYesNo);

    ZALUnicodeString list;
    for (int index = 1; index <= conflicts.Size() && index <= ListedConflicts; ++index) {
        list += conflicts[index];
        list += "\n";
    }

    ZALUnicodeString text = ZALMsgCatalog::BuildMessage(MessageCatalog, "OverwriteNotifyMessage", nullptr, 0,
                                                        "Do you want to overwrite listed files ?");
    text += "\n\n";
    text += list;
    if (conflicts.Size() > ListedConflicts) {
        ZALUnicodeString remaining;
        remaining.BuildFromNum(static_cast<std::uint64_t>(conflicts.Size() - ListedConflicts), "%u");
        text += "\n";
        text += ZALMsgCatalog::BuildMessage(MessageCatalog, "OverwriteNotifyRemaining", &remaining, 1,
                                            "and /P1 other files not listed here");
    }
    const ZALUnicodeString title =
        ZALMsgCatalog::BuildMessage(MessageCatalog, "OverwriteNotifyTitle", nullptr, 0, "Overwrite confirmation");

    return question.Ask(text, title);
}

} // namespace

void ZALVelmartFileDownloader::FinishExtraction(const ZALUnicodeString& archive, const ZALUnicodeString& folder)
{
    bool hasConflicts = false;
    bool refused = false;
    if (FAILED(CheckForExtractConflicts(archive, folder, hasConflicts, refused))) {
        EndDownload(Notification(Notification::DownloadFailed));
        return;
    }

    if (hasConflicts && refused) {
        DisplayDestinationFolderChooserDlg();
        return;
    }

    ZALListValZALUnicodeString files;
    const HRESULT extracted = ExtractFiles(archive, folder, files);

    PutRootFirst(files);

    EndDownload(
        Notification(files, FAILED(extracted) ? Notification::DownloadFailed : Notification::DownloadSucceeded));
}

bool IsIgnoredArchiveEntry(const ZALUnicodeString& entry)
{
    static const ZALUnicodeString textSuffix = ".txt";
    static const ZALUnicodeString metadataFile = "kr_metadata.csv";

    const int length = entry.GetLengthInChar();
    if (length >= 4 && entry.GetSubString(length - 4, 4).Compare(textSuffix) != ZALTextsDiffer)
        return true;
    return entry.Compare(metadataFile) != ZALTextsDiffer;
}

HRESULT ZALVelmartFileDownloader::CheckForExtractConflicts(const ZALUnicodeString& archive,
                                                           const ZALUnicodeString& folder, bool& hasConflicts,
                                                           bool& refused)
try {
    hasConflicts = false;
    refused = false;
    if (archive.GetLengthInChar() == 0 || folder.GetLengthInChar() == 0)
        return E_FAIL;

    ZALSysZipFile zip;
    if (FAILED(zip.OpenZip(archive, ZALZipRead)))
        return E_FAIL;

    const ArchiveEntries entries(zip);
    const ZALListValZALUnicodeString conflicts = FindConflicts(entries, folder);
    if (conflicts.Size() > 0) {
        hasConflicts = true;
        refused = AskToOverwrite(conflicts) == ZALDlgAnswerNo;
    }

    const HRESULT closed = zip.Close();
    return entries.Count == 0 ? E_FAIL : closed;
} catch (const std::bad_alloc&) {
    // Nothing may be overwritten without an answer. The archive is closed with its end.
    return E_FAIL;
}

HRESULT ExtractFiles(const ZALUnicodeString& archive, const ZALUnicodeString& folder, ZALListValZALUnicodeString& files)
{
    files.RemoveAll();

    if (archive.GetLengthInChar() == 0 || folder.GetLengthInChar() == 0)
        return E_FAIL;
    ZALSysZipFile zip;
    if (FAILED(zip.OpenZip(archive, ZALZipRead)))
        return E_FAIL;

    const ArchiveEntries entries(zip);
    for (unsigned int index = 0; index < entries.Count; ++index) {
        const ZALUnicodeString& entry = entries.Names[index];
        if (IsIgnoredArchiveEntry(entry))
            continue;
        zip.ExtractFile(folder, entry, ZALZipExtractReplace);
        const ZALUnicodeString path = PathBelow(folder, entry);
        ZALFileStatus status;
        if (SUCCEEDED(ZALFileStat(path, status, 0)) && (status.Mode & ZALFileTypeMask) == ZALFileTypeDirectory)
            continue;
        // A file that failed to extract is listed too; nothing here checks it again.
        files.Append(path);
        VL_TRACE("ZALVelmartFileDownloader::ExtractedFiles :" << path);
    }

    const HRESULT closed = zip.Close();
    return entries.Count == 0 ? E_FAIL : closed;
}

HRESULT FindRootProduct(const ZALListValZALUnicodeString& files, int& rootIndex)
{
    rootIndex = -1;
    std::vector<int> positions;
    std::vector<ZALUnicodeString> names;
    std::set<ZALUnicodeString> known;
    for (int index = 1; index <= files.Size(); ++index) {
        if (!IsProduct(files[index]))
            continue;
        const ZALUnicodeString name = FileNameOf(files[index]);
        if (!known.insert(name).second) {
            rootIndex = positions.front();
            return E_FAIL;
        }
        positions.push_back(index);
        names.push_back(name);
    }

    if (positions.empty())
        return S_OK;
    if (positions.size() == 1) {
        rootIndex = positions.front();
        return S_OK;
    }

    std::set<ZALUnicodeString> children;
    for (std::size_t product = 0; product < positions.size(); ++product) {
        if (children.contains(names[product]))
            continue;
        ZALListValZALUnicodeString pointed;
        if (FAILED(GetPointedProducts(files[positions[product]], pointed)))
            continue;
        // A product that refers to no other one is a leaf of the assembly, never its root.
        if (pointed.Size() == 0)
            children.insert(names[product]);
        for (int index = 1; index <= pointed.Size(); ++index)
            children.insert(pointed[index]);
    }

    for (std::size_t product = 0; product < positions.size(); ++product) {
        if (children.contains(names[product]))
            continue;
        const bool second = rootIndex != -1;
        rootIndex = positions[product];
        // The index stays at the second candidate, since nothing tells which of the two it is.
        if (second)
            return E_FAIL;
    }
    if (rootIndex != -1)
        return S_OK;

    rootIndex = positions.front();
    return E_FAIL;
}

void PutRootFirst(ZALListValZALUnicodeString& files)
{
    int rootIndex = -1;
    FindRootProduct(files, rootIndex);
    if (rootIndex > 1 && rootIndex <= files.Size())
        files.Swap(1, rootIndex);
}

HRESULT GetPointedProducts(const ZALUnicodeString& product, ZALListValZALUnicodeString& names)
{
    ZALStorage* rootStorage = nullptr;
    if (FAILED(ZALStorage::OpenRootStg(product, 0, &rootStorage, ZALStorageRead)) || !rootStorage)
        return E_FAIL;
    StorageInUse root(rootStorage);

    ZALStorage* subStorage = nullptr;
    const HRESULT opened = root->OpenStorage(ZALDocumentStorage, 0, &subStorage);
    if (FAILED(opened))
        return E_FAIL;
    StorageInUse storage(subStorage);

    const auto manager = ZALBaseUnknown_var::Take(ZALDocumentProperty::CreateDocLinkManager(storage.Get(), nullptr));
    storage.Close();
    root.Close();
    if (!manager)
        return E_FAIL;

    HRESULT result = opened;
    ZALListValZALUnicodeString paths;
    if (const ZALIPointedSymbols_var symbols(manager); symbols)
        result = symbols->GetPointedDocuments(paths);

    for (int index = 1; index <= paths.Size(); ++index)
        if (IsProduct(paths[index]))
            names.Append(FileNameOf(paths[index]));

    return result;
}
