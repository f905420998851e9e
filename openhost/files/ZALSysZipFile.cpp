#include "host/archive.h"

#include "Paths.h"
#include "ZipExtraction.h"
#include "ZipWriter.h"
#include "openhost/journal/Events.h"
#include "openhost/text/Utf.h"

#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

class ZALZipReader : public openhost::ZipReader {
    using ZipReader::ZipReader;
};

class ZALZipWriter : public openhost::ZipWriter {
    using ZipWriter::ZipWriter;
};

ZALSysZipFile::ZALSysZipFile() = default;
ZALSysZipFile::~ZALSysZipFile() = default;

HRESULT ZALSysZipFile::OpenZip(const ZALUnicodeString& path, unsigned int mode)
try {
    if (mode != ZALZipRead && mode != ZALZipWrite)
        return E_INVALIDARG;
    if (reader_ || writer_)
        return E_FAIL;
    if (mode == ZALZipWrite) {
        if (openhost::HasParentComponent(path))
            return E_FAIL;
        writer_ = std::make_unique<ZALZipWriter>(openhost::SystemPath(path));
        return S_OK;
    }
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

    const std::size_t entries = reader_->Count();
    if (entries == 0)
        return S_OK;

    std::unique_ptr<ZALUnicodeString[]> allNames(new ZALUnicodeString[entries]);
    std::unique_ptr<std::uint64_t[]> allSizes(new std::uint64_t[entries]);
    for (std::size_t entry = 0; entry < entries; ++entry) {
        allNames[entry] = openhost::FromUtf8(reader_->Name(entry));
        allSizes[entry] = reader_->Size(entry);
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
    const std::string name = openhost::ToUtf8(entry);
    const std::optional<std::size_t> found = reader_->Find(name);
    if (!found)
        return E_FAIL;

    openhost::ExtractZipEntry(*reader_, *found, openhost::SystemPath(folder), name);

    if (!name.ends_with('/') && !name.ends_with('\\'))
        openhost::journal::Write([&] {
            ZALUnicodeString file = folder;
            ZALMakePath(file, entry);
            return openhost::journal::Extracted{.path = openhost::SystemPath(file)};
        });
    return S_OK;
} catch (const std::exception& failure) {
    openhost::journal::Write(
        [&] { return openhost::journal::RefusedEntry{.entry = openhost::ToUtf8(entry), .reason = failure.what()}; });
    return E_FAIL;
}

HRESULT ZALSysZipFile::AddFile(const ZALUnicodeString& file, int compress, int relative, const ZALUnicodeString& base,
                               int options)
try {
    if ((compress != 0 && compress != 1) || (relative != 0 && relative != 1) || options != 0)
        return E_INVALIDARG;
    if (!writer_ || openhost::HasParentComponent(file) || openhost::HasParentComponent(base))
        return E_FAIL;

    const std::filesystem::path path = openhost::SystemPath(file);
    const std::filesystem::path below = path.lexically_normal().lexically_relative(
        std::filesystem::path(openhost::SystemPath(base)).lexically_normal());
    if (below.empty() || below.begin()->string() == "..")
        return E_FAIL;
    writer_->Add(path.string(), relative == 1 ? below.string() : path.filename().string(), compress == 1);
    return S_OK;
} catch (const std::exception&) {
    return E_FAIL;
}

HRESULT ZALSysZipFile::Close()
try {
    if (const std::unique_ptr<ZALZipWriter> writer = std::move(writer_)) {
        writer->Finish();
        return S_OK;
    }
    if (!reader_)
        return E_FAIL;
    reader_.reset();
    return S_OK;
} catch (const std::exception&) {
    return E_FAIL;
}
