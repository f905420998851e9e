#include "catalogue/service/GeneratedArchive.h"

#include "openhost/documents/CadDocument.h"

#include <zip.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace catalogue {

namespace {

constexpr std::uint64_t MaximumEntries = 1'000'000;
constexpr std::uint64_t MaximumTotalSize = std::uint64_t{4} << 30;
constexpr std::uint64_t LineLength = 64;
constexpr zip_int32_t DeflateLevel = 1;

/// Every entry bears 2024-01-01 00:00 in any time zone.
constexpr zip_uint16_t EntryDate = ((2024 - 1980) << 9) | (1 << 5) | 1;

/// Gives the bytes of one generated part: lines of text with a number that looks random, so that they
/// shrink to about a third, as documents do.
class PartContent {
public:
    PartContent(std::uint64_t entry, std::uint64_t size) : entry_(entry), size_(size) {}

    void Rewind() { offset_ = 0; }
    std::uint64_t Size() const { return size_; }

    std::uint64_t Read(char* buffer, std::uint64_t length)
    {
        std::uint64_t count = 0;
        while (count < length && offset_ < size_) {
            const std::uint64_t position = offset_ % LineLength;
            if (position == 0)
                FillLine(offset_ / LineLength);
            const std::uint64_t piece = std::min({LineLength - position, length - count, size_ - offset_});
            std::memcpy(buffer + count, line_.data() + position, static_cast<std::size_t>(piece));
            count += piece;
            offset_ += piece;
        }
        return count;
    }

private:
    void FillLine(std::uint64_t number)
    {
        std::uint64_t mixed = entry_ * 0x9E3779B97F4A7C15U + number * 0xBF58476D1CE4E5B9U + 1;
        mixed ^= mixed >> 31;
        mixed *= 0x94D049BB133111EBU;
        mixed ^= mixed >> 29;
        static const char* const digits = "0123456789abcdef";
        std::memcpy(line_.data(), "generated part, line of numbers and letters:   ................\n", LineLength);
        for (std::size_t digit = 0; digit < 16; ++digit)
            line_[LineLength - 17 + digit] = digits[(mixed >> (4 * digit)) & 15];
    }

    std::uint64_t entry_;
    std::uint64_t size_;
    std::uint64_t offset_ = 0;
    std::array<char, LineLength> line_{};
};

zip_int64_t ServePart(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command)
{
    auto* content = static_cast<PartContent*>(state);
    switch (command) {
    case ZIP_SOURCE_OPEN:
        content->Rewind();
        return 0;
    case ZIP_SOURCE_READ:
        return static_cast<zip_int64_t>(content->Read(static_cast<char*>(data), length));
    case ZIP_SOURCE_CLOSE:
        return 0;
    case ZIP_SOURCE_STAT: {
        auto* status = static_cast<zip_stat_t*>(data);
        zip_stat_init(status);
        status->size = content->Size();
        status->valid |= ZIP_STAT_SIZE;
        return sizeof(*status);
    }
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(nullptr, data, length);
    case ZIP_SOURCE_FREE:
        delete content;
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                              ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
    default:
        return -1;
    }
}

std::string NumberedName(const char* stem, std::uint64_t number, const char* extension)
{
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), "%s-%06llu.%s", stem, static_cast<unsigned long long>(number), extension);
    return name.data();
}

std::string PartName(std::uint64_t number)
{
    return NumberedName("part", number, "ZALPart");
}
std::string ProductName(std::uint64_t number)
{
    return NumberedName("product", number, "ZALProduct");
}

std::string BuildProduct(const ArchiveDescription& description, std::uint64_t number)
{
    openhost::CadDocument document;
    document.kind = openhost::DocumentKind::Product;
    document.partNumber = "product-" + std::to_string(number);
    for (const std::uint64_t child : {2 * number, 2 * number + 1})
        if (child <= description.products)
            document.links.push_back(ProductName(child));
    const std::uint64_t parts = description.entries - description.products;
    if (document.links.empty() && parts > 0)
        document.links.push_back(PartName((number - 1) % parts + 1));
    for (std::uint32_t link = 0; link < document.links.size(); ++link)
        document.children.push_back({.name = "child." + std::to_string(link + 1), .link = link});
    return openhost::BuildDocument(document);
}

/// An archive that is being written; dropped, and nothing written, unless Close has run.
class ArchiveWriter {
public:
    ArchiveWriter(const std::filesystem::path& path, bool deflated) : method_(deflated ? ZIP_CM_DEFLATE : ZIP_CM_STORE)
    {
        int error = 0;
        archive_ = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
        if (!archive_)
            throw std::runtime_error("the archive cannot be made: libzip error " + std::to_string(error));
    }
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;
    ~ArchiveWriter()
    {
        if (archive_)
            zip_discard(archive_);
    }

    void AddPart(const std::string& name, std::uint64_t number, std::uint64_t size)
    {
        auto content = std::make_unique<PartContent>(number, size);
        zip_source_t* source = zip_source_function(archive_, ServePart, content.get());
        if (source)
            static_cast<void>(content.release()); // the archive's from here on
        Add(name, source);
    }

    void AddBytes(const std::string& name, const std::string& bytes)
    {
        // The library frees its buffer with free().
        auto* copy = static_cast<char*>(std::malloc(bytes.size()));
        if (!copy)
            throw std::bad_alloc();
        std::ranges::copy(bytes, copy);
        Add(name, zip_source_buffer(archive_, copy, bytes.size(), 1));
    }

    void Close()
    {
        if (zip_close(archive_) != 0)
            Fail();
        archive_ = nullptr;
    }

private:
    void Add(const std::string& name, zip_source_t* source)
    {
        if (!source)
            Fail();
        const zip_int64_t index = zip_file_add(archive_, name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            Fail();
        }
        const auto entry = static_cast<zip_uint64_t>(index);
        if (zip_set_file_compression(archive_, entry, method_, DeflateLevel) != 0 ||
            zip_file_set_dostime(archive_, entry, 0, EntryDate, 0) != 0)
            Fail();
    }

    [[noreturn]] void Fail()
    {
        throw std::runtime_error(std::string("the archive cannot be made: ") + zip_strerror(archive_));
    }

    zip_t* archive_ = nullptr;
    zip_int32_t method_;
};

} // namespace

ArchiveDescription ArchiveDescription::Take(QueryParameters& parameters)
{
    const std::map<std::string, std::string> given = TakeOnce(parameters);
    const auto number = [&given](const char* name, std::uint64_t most, std::uint64_t otherwise) {
        const auto found = given.find(name);
        return found == given.end() ? otherwise : ParseNumber(name, found->second, 0, most);
    };

    ArchiveDescription description;
    if (!given.contains("entries"))
        throw ParameterError("'entries' must be given");
    description.entries = number("entries", MaximumEntries, 0);
    description.products = number("products", description.entries, 0);
    description.size = number("size", MaximumTotalSize, description.size);
    if ((description.entries - description.products) * description.size > MaximumTotalSize)
        throw ParameterError("the entries must not have more than " + std::to_string(MaximumTotalSize) +
                             " bytes in all");
    if (const auto method = given.find("method"); method != given.end()) {
        if (method->second != "stored" && method->second != "deflated")
            throw ParameterError("'method' must be one of: deflated, stored");
        description.deflated = method->second == "deflated";
    }
    for (const char* name : {"entries", "products", "size", "method"})
        parameters.erase(name);
    return description;
}

std::string ArchiveDescription::GetFileName() const
{
    return "archive-" + std::to_string(entries) + "-" + std::to_string(products) + "-" + std::to_string(size) +
           (deflated ? "-deflated" : "-stored") + ".zip";
}

void GenerateArchive(const ArchiveDescription& description, const std::filesystem::path& path)
{
    // The library writes no file for an archive without entries.
    if (description.entries == 0) {
        std::ofstream file(path, std::ios::binary);
        file << "PK\x05\x06" << std::string(18, '\0');
        if (!file.flush())
            throw std::runtime_error("the archive cannot be made: " + path.string());
        return;
    }

    ArchiveWriter writer(path, description.deflated);
    const std::uint64_t parts = description.entries - description.products;
    for (std::uint64_t part = 1; part <= parts; ++part)
        writer.AddPart(PartName(part), part, description.size);
    for (std::uint64_t product = description.products; product >= 1; --product)
        writer.AddBytes(ProductName(product), BuildProduct(description, product));
    writer.Close();
}

ArchiveCache::ArchiveCache()
{
    std::string name = (std::filesystem::temp_directory_path() / "velmart-catalogue-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::runtime_error("no folder for generated archives: " + name);
    folder_ = name;
}

ArchiveCache::~ArchiveCache()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::shared_ptr<Body> ArchiveCache::Open(const ArchiveDescription& description)
{
    // One archive is made at a time, so that equal requests wait for one file.
    const std::lock_guard lock(mutex_);
    const std::filesystem::path path = folder_ / description.GetFileName();
    if (!made_.contains(path)) {
        if (made_.size() == MaximumArchives) {
            for (const std::filesystem::path& old : made_)
                std::filesystem::remove(old);
            made_.clear();
        }
        GenerateArchive(description, path);
        made_.insert(path);
    }
    std::shared_ptr<Body> body = Body::FromFile(path);
    if (!body)
        throw std::runtime_error("the generated archive has gone: " + path.string());
    return body;
}

} // namespace catalogue
