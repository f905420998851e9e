#include "openhost/files/ArchiveServices.h"

#include <exception>
#include <utility>

class ZALZipReader {
public:
    explicit ZALZipReader(std::unique_ptr<openhost::ArchiveReader> opened) : archive(std::move(opened)) {}
    std::unique_ptr<openhost::ArchiveReader> archive;
};

class ZALZipWriter {
public:
    explicit ZALZipWriter(std::unique_ptr<openhost::ArchiveWriter> opened) : archive(std::move(opened)) {}
    std::unique_ptr<openhost::ArchiveWriter> archive;
};

ZALSysZipFile::ZALSysZipFile() = default;
ZALSysZipFile::~ZALSysZipFile() = default;

HRESULT ZALSysZipFile::OpenZip(const ZALUnicodeString& path, unsigned int mode)
try {
    if (mode != ZALZipRead && mode != ZALZipWrite)
        return E_INVALIDARG;
    if (reader_ || writer_)
        return E_FAIL;
    auto& services = openhost::ArchiveServices::Current();
    if (mode == ZALZipWrite) {
        auto writer = std::make_unique<ZALZipWriter>(services.OpenWriter(path));
        if (!writer->archive)
            return E_FAIL;
        writer_ = std::move(writer);
        return S_OK;
    }
    auto reader = std::make_unique<ZALZipReader>(services.OpenReader(path));
    if (!reader->archive)
        return E_FAIL;
    reader_ = std::move(reader);
    return S_OK;
} catch (const std::exception&) {
    return E_FAIL;
}

HRESULT ZALSysZipFile::BrowseZip(ZALUnicodeString*& names, std::uint64_t*& sizes, unsigned int& count)
try {
    names = nullptr;
    sizes = nullptr;
    count = 0;
    std::vector<openhost::ArchiveReader::Entry> entries;
    const HRESULT browsed = reader_ ? reader_->archive->Browse(entries) : E_FAIL;
    if (FAILED(browsed) || entries.empty())
        return browsed;

    std::unique_ptr<ZALUnicodeString[]> allNames(new ZALUnicodeString[entries.size()]);
    std::unique_ptr<std::uint64_t[]> allSizes(new std::uint64_t[entries.size()]);
    for (std::size_t entry = 0; entry < entries.size(); ++entry) {
        allNames[entry] = std::move(entries[entry].name);
        allSizes[entry] = entries[entry].size;
    }
    names = allNames.release();
    sizes = allSizes.release();
    count = static_cast<unsigned int>(entries.size());
    return S_OK;
} catch (const std::exception&) {
    return E_FAIL;
}

HRESULT ZALSysZipFile::ExtractFile(const ZALUnicodeString& folder, const ZALUnicodeString& entry, unsigned int flags)
try {
    if (flags != ZALZipExtractReplace)
        return E_INVALIDARG;
    return reader_ ? reader_->archive->Extract(folder, entry) : E_FAIL;
} catch (const std::exception&) {
    return E_FAIL;
}

HRESULT ZALSysZipFile::AddFile(const ZALUnicodeString& file, int compress, int relative, const ZALUnicodeString& base,
                               int options)
try {
    if ((compress != 0 && compress != 1) || (relative != 0 && relative != 1) || options != 0)
        return E_INVALIDARG;
    return writer_ ? writer_->archive->Add(file, compress == 1, relative == 1, base) : E_FAIL;
} catch (const std::exception&) {
    return E_FAIL;
}

HRESULT ZALSysZipFile::Close()
try {
    if (const auto writer = std::move(writer_))
        return writer->archive->Close();
    if (const auto reader = std::move(reader_))
        return reader->archive->Close();
    return E_FAIL;
} catch (const std::exception&) {
    return E_FAIL;
}
