#include "host/archive.h"

#include "Paths.h"
#include "ZipExtraction.h"
#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"

#include <exception>
#include <string_view>
#include <unordered_map>
#include <vector>

/// An archive with the names of its entries as the host's texts.
class ZALZipReader {
public:
    explicit ZALZipReader(const std::string& path) : archive(path) {}

    ZALUnicodeString Name(std::size_t entry) const { return openhost::FromUtf8(archive.Name(entry)); }

    /// The last entry of the name; Count() when there is none.
    std::size_t Find(const ZALUnicodeString& name)
    {
        if (entries_.empty())
            ReadNames();
        const auto found = entries_.find(openhost::View(name));
        return found == entries_.end() ? archive.Count() : found->second;
    }

    openhost::ZipReader archive;

private:
    void ReadNames()
    {
        names_.resize(archive.Count());
        entries_.reserve(archive.Count());
        for (std::size_t entry = 0; entry < archive.Count(); ++entry) {
            names_[entry] = Name(entry);
            entries_[openhost::View(names_[entry])] = entry;
        }
    }

    std::vector<ZALUnicodeString> names_;
    std::unordered_map<std::u16string_view, std::size_t> entries_;
};

ZALSysZipFile::ZALSysZipFile() = default;
ZALSysZipFile::~ZALSysZipFile() = default;

HRESULT ZALSysZipFile::OpenZip(const ZALUnicodeString& path, unsigned int mode)
try {
    if (mode != ZALZipRead)
        return E_INVALIDARG;
    if (reader_)
        return E_FAIL;
    reader_ = std::make_unique<ZALZipReader>(openhost::SystemPath(path));
    return S_OK;
} catch (const std::exception&) {
    return E_FAIL;
}

HRESULT ZALSysZipFile::BrowseZip(ZALUnicodeString*& names, std::uint64_t*& sizes, unsigned int& count)
try {
    names = nullptr;
    sizes = nullptr;
    count = 0;
    if (!reader_)
        return E_FAIL;

    const std::size_t entries = reader_->archive.Count();
    if (entries == 0)
        return S_OK;

    std::unique_ptr<ZALUnicodeString[]> allNames(new ZALUnicodeString[entries]);
    std::unique_ptr<std::uint64_t[]> allSizes(new std::uint64_t[entries]);
    for (std::size_t entry = 0; entry < entries; ++entry) {
        allNames[entry] = reader_->Name(entry);
        allSizes[entry] = reader_->archive.Size(entry);
    }
    names = allNames.release();
    sizes = allSizes.release();
    count = static_cast<unsigned int>(entries);
    return S_OK;
} catch (const std::exception&) {
    return E_FAIL;
}

HRESULT ZALSysZipFile::ExtractFile(const ZALUnicodeString& folder, const ZALUnicodeString& entry, unsigned int flags)
try {
    if (flags != ZALZipExtractReplace)
        return E_INVALIDARG;
    if (!reader_ || openhost::HasParentComponent(folder))
        return E_FAIL;
    const std::size_t number = reader_->Find(entry);
    if (number == reader_->archive.Count())
        return E_FAIL;

    const std::string path = openhost::SystemPath(entry);
    openhost::ExtractZipEntry(reader_->archive, number, openhost::SystemPath(folder), path);

    if (openhost::journal::IsOpen() && !path.ends_with('/')) {
        ZALUnicodeString file = folder;
        ZALMakePath(file, entry);
        openhost::journal::Write("extracted", {{"path", openhost::SystemPath(file)}});
    }
    return S_OK;
} catch (const std::exception& failure) {
    if (openhost::journal::IsOpen())
        openhost::journal::Write("refused", {{"entry", openhost::ToUtf8(entry)}, {"reason", failure.what()}});
    return E_FAIL;
}

HRESULT ZALSysZipFile::Close()
{
    if (!reader_)
        return E_FAIL;
    reader_.reset();
    return S_OK;
}
