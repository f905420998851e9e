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
#include <stdexcept>
#include <string>
#include <utility>

namespace openhost {

template class Port<ArchiveServices>;

namespace {

class ZipFileReader final : public ArchiveReader {
public:
    explicit ZipFileReader(const ZALUnicodeString& path) : reader_(SystemPath(path)) {}
    ~ZipFileReader() override { PlaceFiles(); }

    HRESULT Browse(std::vector<Entry>& entries) override
    {
        const std::size_t count = reader_.Count();
        entries.reserve(count);
        for (std::size_t entry = 0; entry < count; ++entry)
            entries.push_back({FromUtf8(reader_.Name(entry)), reader_.Size(entry)});
        return S_OK;
    }

    HRESULT Extract(const ZALUnicodeString& folder, const ZALUnicodeString& entry) override
    {
        Outcome outcome{folder, entry, {}};
        try {
            if (HasParentComponent(folder))
                return E_FAIL;
            const std::string name = ToUtf8(entry);
            const std::optional<std::size_t> found = reader_.Find(name);
            if (!found)
                throw std::runtime_error("the archive has no entry of this name, or its name is not valid text");
            ExtractZipEntry(reader_, *found, OutputTo(SystemPath(folder)), name);
            if (!name.ends_with('/') && !name.ends_with('\\'))
                outcomes_.push_back(std::move(outcome));
            return S_OK;
        } catch (const std::exception& failure) {
            outcome.failure = failure.what();
            outcomes_.push_back(std::move(outcome));
            return E_FAIL;
        }
    }

    HRESULT Close() override { return PlaceFiles() ? S_OK : E_FAIL; }

private:
    /// What has become of a file.
    struct Outcome {
        ZALUnicodeString folder;
        ZALUnicodeString entry;
        std::optional<std::string> failure;
    };

    ZipOutput& OutputTo(const std::string& folder)
    {
        if (output_ && output_->Folder() == folder)
            return *output_;
        PlaceFiles();
        auto output = std::make_unique<ZipOutput>(folder);
        if (reader_.TotalSize() > output->Room())
            throw std::runtime_error("the disk has no room for the whole archive");
        output_ = std::move(output);
        return *output_;
    }

    /// Puts the files in their places, and tells what has become of each. Whether all stand there.
    bool PlaceFiles() noexcept
    try {
        const auto output = std::move(output_);
        const std::vector<Outcome> outcomes = std::exchange(outcomes_, {});
        std::vector<std::string> failures;
        std::string commonFailure;
        try {
            if (output)
                failures = output->Place();
        } catch (const std::exception& failure) {
            commonFailure = failure.what();
        }
        std::size_t file = 0;
        bool isComplete = commonFailure.empty();
        for (const Outcome& outcome : outcomes) {
            std::string failure = outcome.failure.value_or(commonFailure);
            if (!outcome.failure && commonFailure.empty())
                failure = failures[file++];
            isComplete = isComplete && (outcome.failure || failure.empty());
            Tell(outcome, failure);
        }
        return isComplete;
    } catch (const std::exception&) {
        return false;
    }

    static void Tell(const Outcome& outcome, const std::string& failure)
    {
        if (!failure.empty()) {
            journal::Write([&] { return journal::RefusedEntry{.entry = ToUtf8(outcome.entry), .reason = failure}; });
            return;
        }
        journal::Write([&] {
            ZALUnicodeString file = outcome.folder;
            ZALMakePath(file, outcome.entry);
            return journal::Extracted{.path = SystemPath(file)};
        });
    }

    ZipReader reader_;
    std::unique_ptr<ZipOutput> output_;
    std::vector<Outcome> outcomes_; ///< in the order of the calls
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
    try {
        return std::make_unique<ZipFileReader>(path);
    } catch (const std::exception& failure) {
        journal::Write(
            [&] { return journal::RefusedEntry{.entry = {}, .reason = SystemPath(path) + ": " + failure.what()}; });
        throw;
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
