#include "openhost/files/ArchiveServices.h"

#include "openhost/files/Paths.h"
#include "openhost/files/ZipExtraction.h"
#include "openhost/files/ZipReader.h"
#include "openhost/files/ZipWriter.h"
#include "openhost/journal/Events.h"
#include "openhost/text/Utf.h"

#include <exception>
#include <filesystem>
#include <optional>
#include <string>

namespace openhost {

template class Port<ArchiveServices>;

namespace {

class ZipFileReader final : public ArchiveReader {
public:
    explicit ZipFileReader(const ZALUnicodeString& path) : reader_(SystemPath(path)) {}

    HRESULT Browse(std::vector<Entry>& entries) override
    {
        const std::size_t count = reader_.Count();
        entries.reserve(count);
        for (std::size_t entry = 0; entry < count; ++entry)
            entries.push_back({FromUtf8(reader_.Name(entry)), reader_.Size(entry)});
        return S_OK;
    }

    HRESULT Extract(const ZALUnicodeString& folder, const ZALUnicodeString& entry) override
    try {
        if (HasParentComponent(folder))
            return E_FAIL;
        const std::string name = ToUtf8(entry);
        const std::optional<std::size_t> found = reader_.Find(name);
        if (!found)
            return E_FAIL;

        ExtractZipEntry(reader_, *found, SystemPath(folder), name);

        if (!name.ends_with('/') && !name.ends_with('\\'))
            journal::Write([&] {
                ZALUnicodeString file = folder;
                ZALMakePath(file, entry);
                return journal::Extracted{.path = SystemPath(file)};
            });
        return S_OK;
    } catch (const std::exception& failure) {
        journal::Write([&] { return journal::RefusedEntry{.entry = ToUtf8(entry), .reason = failure.what()}; });
        return E_FAIL;
    }

    HRESULT Close() override { return S_OK; }

private:
    ZipReader reader_;
};

class ZipFileWriter final : public ArchiveWriter {
public:
    explicit ZipFileWriter(const ZALUnicodeString& path) : writer_(SystemPath(path)) {}

    HRESULT Add(const ZALUnicodeString& file, bool compress, bool relative, const ZALUnicodeString& base) override
    {
        if (HasParentComponent(file) || HasParentComponent(base))
            return E_FAIL;

        const std::filesystem::path path = SystemPath(file);
        const std::filesystem::path below =
            path.lexically_normal().lexically_relative(std::filesystem::path(SystemPath(base)).lexically_normal());
        if (below.empty() || below.begin()->string() == "..")
            return E_FAIL;
        writer_.Add(path.string(), relative ? below.string() : path.filename().string(), compress);
        return S_OK;
    }

    HRESULT Close() override
    {
        writer_.Finish();
        return S_OK;
    }

private:
    ZipWriter writer_;
};

class ZipFiles final : public ArchiveServices {
public:
    std::unique_ptr<ArchiveReader> OpenReader(const ZALUnicodeString& path) override
    {
        return std::make_unique<ZipFileReader>(path);
    }
    std::unique_ptr<ArchiveWriter> OpenWriter(const ZALUnicodeString& path) override
    {
        if (HasParentComponent(path))
            return nullptr;
        return std::make_unique<ZipFileWriter>(path);
    }
};

} // namespace

ArchiveServices::~ArchiveServices() = default;

std::unique_ptr<ArchiveServices> ArchiveServices::WithoutBackend()
{
    return std::make_unique<ZipFiles>();
}

} // namespace openhost
