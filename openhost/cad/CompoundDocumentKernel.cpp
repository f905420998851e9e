#include "openhost/cad/CompoundDocumentKernel.h"

#include "host/files.h"
#include "openhost/cad/PointedSymbols.h"
#include "openhost/documents/LinkTable.h"
#include "openhost/files/Paths.h"
#include "openhost/text/Utf.h"

#include <optional>
#include <set>

namespace openhost {

namespace {

class CompoundDocumentStorage : public ZALStorage {
public:
    CompoundDocumentStorage(CompoundStorage storage, const ZALUnicodeString& folder)
        : storage_(std::move(storage)), folder_(folder)
    {
    }

    HRESULT OpenStorage(const ZALUnicodeString& name, int create, ZALStorage** storage) override
    {
        if (!storage)
            return E_INVALIDARG;
        *storage = nullptr;
        if (create != 0)
            return E_INVALIDARG;
        if (!storage_)
            return E_FAIL;
        auto found = storage_->FindStorage(ToUtf8(name));
        if (!found)
            return E_FAIL;
        *storage = new CompoundDocumentStorage(std::move(*found), folder_);
        return S_OK;
    }

    HRESULT Close(int) override
    {
        if (!storage_)
            return E_FAIL;
        storage_.reset();
        return S_OK;
    }

    ZALBaseUnknown* CreateLinkManager() const
    {
        if (!storage_)
            return nullptr;
        try {
            std::vector<ZALUnicodeString> paths;
            std::set<ZALUnicodeString> given; // links of different folders may resolve to one file
            for (const std::string& link : ReadLinkTable(*storage_))
                if (ZALUnicodeString path = Resolve(link); given.insert(path).second)
                    paths.push_back(std::move(path));
            return new PointedSymbols(std::move(paths), S_OK);
        } catch (const CompoundFileError&) {
            return nullptr;
        }
    }

private:
    ZALUnicodeString Resolve(const std::string& link) const
    {
        const ZALUnicodeString stored = FromUtf8(link);
        ZALUnicodeString storedFolder;
        ZALUnicodeString name;
        ZALSplitPath(stored, storedFolder, name);

        ZALUnicodeString beside = folder_;
        ZALMakePath(beside, name);
        ZALFileStatus status;
        return SUCCEEDED(ZALFileStat(beside, status, 0)) ? beside : stored;
    }

    std::optional<CompoundStorage> storage_; ///< empty once closed
    ZALUnicodeString folder_;                ///< of the document
};

} // namespace

HRESULT CompoundDocumentKernel::OpenRoot(const ZALUnicodeString& path, ZALStorage** storage)
{
    ZALUnicodeString folder;
    ZALUnicodeString name;
    ZALSplitPath(path, folder, name);
    try {
        *storage = new CompoundDocumentStorage(CompoundStorage::OpenFile(SystemPath(path)), folder);
        return S_OK;
    } catch (const CompoundFileError&) {
        return E_FAIL;
    }
}

ZALBaseUnknown* CompoundDocumentKernel::CreateLinkManager(ZALStorage& storage)
{
    const auto* opened = dynamic_cast<CompoundDocumentStorage*>(&storage);
    return opened ? opened->CreateLinkManager() : nullptr;
}

} // namespace openhost
