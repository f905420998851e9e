#include "openhost/documents/CompoundFile.h"

#include <gsf/gsf-infile-impl.h>
#include <gsf/gsf.h>

#include <array>
#include <cstdio>
#include <mutex>

namespace openhost {

namespace {

struct Unreference {
    void operator()(void* object) const { g_object_unref(object); }
};
using Input = std::unique_ptr<GsfInput, Unreference>;

/// libgsf writes what it finds wrong in a file to standard error; the reader reports it as an error instead.
void PrepareLibrary()
{
    static std::once_flag once;
    std::call_once(once, [] {
        gsf_init();
        const auto all = static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_RECURSION);
        for (const char* domain : {"libgsf", "libgsf:msole"})
            g_log_set_handler(
                domain, all, [](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
    });
}

std::string TakeMessage(GError* error)
{
    if (!error)
        return "unknown reason";
    std::string message = error->message;
    g_error_free(error);
    return message;
}

// ---------------------------------------------------------------------------------------------
// What libgsf does not look at itself: it walks the directory by recursion with no limit of its own, and loses what
// the root names as its siblings.

constexpr std::uint32_t DirectoryEntrySize = 128;
constexpr std::uint32_t NoEntry = 0xFFFFFFFF;
constexpr std::uint32_t LastRegularSector = 0xFFFFFFFA;
constexpr std::uint32_t SectorsInHeader = 109;

class SectorTable {
public:
    SectorTable(GsfInput* input, const std::string& name) : input_(input), name_(name)
    {
        static constexpr std::array<unsigned char, 8> signature{0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
        for (std::uint32_t i = 0; i < signature.size(); ++i)
            if (ReadByte(i) != signature[i])
                throw CompoundFileError(name_ + ": no compound file");
        shift_ = ReadByte(30);
        if (shift_ < 9 || shift_ > 12 || ReadByte(31) != 0)
            throw CompoundFileError(name_ + ": damaged compound file: sector size");
    }

    void CheckDirectory()
    {
        const std::uint32_t entriesInSector = (1U << shift_) / DirectoryEntrySize;
        std::uint32_t sector = ReadNumber(48);
        if (sector <= LastRegularSector &&
            (ReadNumber(OffsetOf(sector) + 68) != NoEntry || ReadNumber(OffsetOf(sector) + 72) != NoEntry))
            throw CompoundFileError(name_ + ": damaged compound file: the root has siblings");
        for (std::uint32_t entries = 0; sector <= LastRegularSector; sector = SectorAfter(sector)) {
            entries += entriesInSector;
            if (entries > CompoundStorage::MaximumEntries)
                throw CompoundFileError(name_ + ": damaged compound file: too many directory entries");
        }
    }

private:
    const guint8* Read(std::uint64_t offset, std::size_t size)
    {
        const guint8* bytes = nullptr;
        if (offset + size <= static_cast<std::uint64_t>(gsf_input_size(input_)) &&
            !gsf_input_seek(input_, static_cast<gsf_off_t>(offset), G_SEEK_SET))
            bytes = gsf_input_read(input_, size, nullptr);
        if (!bytes)
            throw CompoundFileError(name_ + ": damaged compound file: cut short");
        return bytes;
    }

    unsigned char ReadByte(std::uint64_t offset) { return *Read(offset, 1); }

    std::uint32_t ReadNumber(std::uint64_t offset)
    {
        const guint8* bytes = Read(offset, 4);
        return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
    }

    std::uint64_t OffsetOf(std::uint32_t sector) const { return (std::uint64_t{sector} + 1) << shift_; }

    void CheckInside(std::uint32_t sector)
    {
        if (OffsetOf(sector) >= static_cast<std::uint64_t>(gsf_input_size(input_)))
            throw CompoundFileError(name_ + ": damaged compound file: cut short");
    }

    /// The sector that holds part `index` of the allocation table.
    std::uint32_t TableSector(std::uint32_t index)
    {
        if (index < SectorsInHeader)
            return ReadNumber(76 + std::uint64_t{index} * 4);
        const std::uint32_t numbersInSector = (1U << shift_) / 4 - 1;
        index -= SectorsInHeader;
        std::uint32_t list = ReadNumber(68);
        for (; index >= numbersInSector; index -= numbersInSector)
            list = ReadNumber(OffsetOf(list) + std::uint64_t{numbersInSector} * 4);
        return ReadNumber(OffsetOf(list) + std::uint64_t{index} * 4);
    }

    std::uint32_t SectorAfter(std::uint32_t sector)
    {
        CheckInside(sector);
        const std::uint32_t numbersInSector = (1U << shift_) / 4;
        const std::uint32_t table = TableSector(sector / numbersInSector);
        return ReadNumber(OffsetOf(table) + std::uint64_t{sector % numbersInSector} * 4);
    }

    GsfInput* input_;
    const std::string& name_;
    unsigned shift_ = 0;
};

} // namespace

// ---------------------------------------------------------------------------------------------
// Reading

namespace {

/// Files below this many bytes are read at once: libgsf asks the system some forty times for the pieces of a document.
constexpr std::uintmax_t SmallFile = 1 << 20;

/// The content of `file`, of `size` bytes; null when it is not small, or cannot be read whole. `file` stands at its
/// beginning then.
GsfInput* ReadSmallFile(std::FILE* file, std::uintmax_t size)
{
    if (size == 0 || size >= SmallFile)
        return nullptr;
    auto* bytes = static_cast<guint8*>(g_try_malloc(size));
    if (!bytes)
        return nullptr;
    if (std::fread(bytes, 1, size, file) == size)
        return gsf_input_memory_new(bytes, static_cast<gsf_off_t>(size), TRUE);
    g_free(bytes);
    std::rewind(file);
    return nullptr;
}

} // namespace

struct CompoundStorage::Opened {
    std::unique_ptr<GsfInfile, Unreference> storage;
    std::string fileName;
    std::uint64_t fileSize;

    /// Null when there is none. Asks the class of the object, since gsf_infile_child_by_name prints what it finds
    /// wrong in a file instead of telling its caller.
    Input FindChild(const std::string& name) const
    {
        GError* error = nullptr;
        const auto* operations = G_TYPE_INSTANCE_GET_CLASS(storage.get(), GSF_INFILE_TYPE, GsfInfileClass);
        Input child(operations->child_by_name(storage.get(), name.c_str(), &error));
        if (error)
            throw CompoundFileError(fileName + ": " + name + ": " + TakeMessage(error));
        return child;
    }
};

CompoundStorage::CompoundStorage(std::shared_ptr<Opened> opened) : opened_(std::move(opened)) {}

CompoundStorage CompoundStorage::OpenFile(const std::filesystem::path& path)
{
    PrepareLibrary();
    std::error_code failure;
    if (!std::filesystem::is_regular_file(path, failure))
        throw CompoundFileError(path.string() + ": no such file");
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        throw CompoundFileError(path.string() + ": cannot be opened");
    Input input(ReadSmallFile(file, std::filesystem::file_size(path, failure)));
    if (input)
        std::fclose(file);
    else
        input.reset(gsf_input_stdio_new_FILE(path.c_str(), file, FALSE));
    if (!input)
        throw CompoundFileError(path.string() + ": cannot be read");
    return Open(input.get(), path.string());
}

CompoundStorage CompoundStorage::OpenBytes(std::string_view bytes, std::string name)
{
    PrepareLibrary();
    if (bytes.empty())
        throw CompoundFileError(name + ": no compound file");
    Input input(gsf_input_memory_new_clone(reinterpret_cast<const guint8*>(bytes.data()),
                                           static_cast<gsf_off_t>(bytes.size())));
    if (!input)
        throw CompoundFileError(name + ": cannot be read");
    return Open(input.get(), std::move(name));
}

CompoundStorage CompoundStorage::Open(void* source, std::string name)
{
    auto* input = static_cast<GsfInput*>(source);
    SectorTable(input, name).CheckDirectory();

    GError* error = nullptr;
    GsfInfile* storage = gsf_infile_msole_new(input, &error);
    if (!storage)
        throw CompoundFileError(name + ": damaged compound file: " + TakeMessage(error));
    const auto size = static_cast<std::uint64_t>(gsf_input_size(input));
    return CompoundStorage(std::make_shared<Opened>(Opened{{storage, {}}, std::move(name), size}));
}

std::optional<CompoundStorage> CompoundStorage::FindStorage(const std::string& name) const
{
    Input child = opened_->FindChild(name);
    if (!child || !GSF_IS_INFILE(child.get()) || gsf_infile_num_children(GSF_INFILE(child.get())) < 0)
        return std::nullopt;
    GsfInfile* storage = GSF_INFILE(child.release());
    return CompoundStorage(std::make_shared<Opened>(Opened{{storage, {}}, opened_->fileName, opened_->fileSize}));
}

std::optional<std::string> CompoundStorage::ReadStream(const std::string& name, std::uint64_t maximumSize) const
{
    Input stream = opened_->FindChild(name);
    if (!stream || (GSF_IS_INFILE(stream.get()) && gsf_infile_num_children(GSF_INFILE(stream.get())) >= 0))
        return std::nullopt;

    const auto size = static_cast<std::uint64_t>(gsf_input_size(stream.get()));
    if (size > maximumSize)
        throw CompoundFileError(opened_->fileName + ": stream " + name + " is too long");
    if (size > opened_->fileSize)
        throw CompoundFileError(opened_->fileName + ": stream " + name + " is cut short");
    std::string bytes(size, '\0');
    if (size > 0 && !gsf_input_read(stream.get(), size, reinterpret_cast<guint8*>(bytes.data())))
        throw CompoundFileError(opened_->fileName + ": stream " + name + " is cut short");
    return bytes;
}

const std::string& CompoundStorage::GetFileName() const
{
    return opened_->fileName;
}

// ---------------------------------------------------------------------------------------------
// Writing

namespace {

void Fill(GsfOutfile* storage, const CompoundContents& contents)
{
    const auto finish = [](GsfOutput* child, bool written, const std::string& name) {
        const bool closed = child && gsf_output_close(child);
        if (child)
            g_object_unref(child);
        if (!written || !closed)
            throw CompoundFileError("compound file: " + name + " cannot be written");
    };
    for (const auto& [name, bytes] : contents.streams) {
        GsfOutput* stream = gsf_outfile_new_child(storage, name.c_str(), FALSE);
        const bool written =
            stream && gsf_output_write(stream, bytes.size(), reinterpret_cast<const guint8*>(bytes.data()));
        finish(stream, written, name);
    }
    for (const CompoundContents& inner : contents.storages) {
        GsfOutput* child = gsf_outfile_new_child(storage, inner.name.c_str(), TRUE);
        if (child)
            Fill(GSF_OUTFILE(child), inner);
        finish(child, true, inner.name);
    }
}

} // namespace

std::string BuildCompoundFile(const CompoundContents& root)
{
    PrepareLibrary();
    const std::unique_ptr<GsfOutput, Unreference> sink(gsf_output_memory_new());
    const std::unique_ptr<GsfOutfile, Unreference> storage(gsf_outfile_msole_new(sink.get()));
    Fill(storage.get(), root);
    if (!gsf_output_close(GSF_OUTPUT(storage.get())))
        throw CompoundFileError("compound file: cannot be written");
    const auto* bytes = gsf_output_memory_get_bytes(GSF_OUTPUT_MEMORY(sink.get()));
    return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(gsf_output_size(sink.get()))};
}

} // namespace openhost
