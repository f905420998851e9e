#include "ZipReader.h"

#include "ZipSource.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>
#include <unordered_map>
#include <utility>
#include <vector>

namespace openhost {

namespace {

// The end record, which every archive has.
constexpr std::uint64_t MinimumArchiveSize = 22;

// What is read to find the directory: the end record with the longest comment, and the records of Zip64.
constexpr std::uint64_t ReadingBesideDirectory = std::uint64_t{256} << 10;

constexpr std::size_t InputSize = std::size_t{128} << 10;

constexpr std::uint64_t NoLimit = ~std::uint64_t{0};

struct CloseArchive {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct CloseEntry {
    void operator()(zip_file_t* entry) const { zip_fclose(entry); }
};

[[noreturn]] void Fail(const char* reason)
{
    throw std::runtime_error(reason);
}

std::uint8_t* Bytes(char* bytes)
{
    return reinterpret_cast<std::uint8_t*>(bytes);
}

} // namespace

class ZipReader::Implementation {
public:
    Implementation(const std::string& path, const ZipLimits& limits);

    std::uint64_t Size(std::size_t entry) const { return entry < count_ ? statuses_[entry].size : 0; }
    std::uint64_t TotalSize() const { return announced_; }
    void Start(std::size_t entry);
    Piece Next();

    std::size_t Count() const { return count_; }
    std::string_view Name(std::size_t entry) const;
    std::optional<std::size_t> Find(std::string_view name);

private:
    /// What the directory says of an entry.
    struct Status {
        explicit Status(const zip_stat_t& told);

        std::uint64_t size = 0;
        std::uint64_t packedSize = 0;
        std::uint32_t checksum = 0;
        std::uint16_t method = 0;
        const char* fault = nullptr; ///< why it cannot be unpacked
    };

    void CheckBytes();
    std::size_t ReadPacked(char* bytes, std::size_t size);
    void Inflate();
    void Copy();

    ZipLimits limits_;
    ZipSource source_;
    std::unique_ptr<zip_t, CloseArchive> archive_;
    std::size_t count_ = 0;
    std::vector<Status> statuses_; ///< kept, because libzip works out the local time of an entry each time it is asked
    std::unordered_map<std::string_view, std::size_t> entries_; ///< by name; empty until one is looked for
    std::uint64_t announced_ = 0;                               ///< bytes of all entries
    std::uint64_t total_ = 0;                                   ///< bytes of all entries that were read to their end

    /// Bytes of the file that an entry has.
    struct Range {
        std::uint64_t end;
        std::size_t entry;
    };
    std::map<std::uint64_t, Range> ranges_; ///< of the entries that were read to their end, by their beginning

    // The entry in hand.
    std::size_t entry_ = 0;
    Status status_ = Status(zip_stat_t{});
    std::uint64_t begin_ = 0; ///< of its header, in the file
    std::uint64_t end_ = 0;   ///< of its packed data; 0 until that has been found
    std::unique_ptr<zip_file_t, CloseEntry> packed_;
    inflate_state inflation_{};
    std::vector<char> input_ = std::vector<char>(InputSize);
    std::vector<char> output_ = std::vector<char>(PieceSize);
    std::size_t filled_ = 0;  ///< bytes of the output that hold something
    bool isComplete_ = false; ///< whether the packed data has come to its end
    std::uint64_t unpacked_ = 0;
    std::uint32_t checksum_ = 0;
};

// ---------------------------------------------------------------------------------------------
// The archive

ZipReader::Implementation::Implementation(const std::string& path, const ZipLimits& limits)
    : limits_(limits), source_(path)
{
    // libzip takes an empty file for an archive without entries.
    if (source_.Size() < MinimumArchiveSize)
        Fail("no archive");

    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const source = zip_source_function_create(&ZipSource::Serve, &source_, &error);
    if (!source)
        throw std::bad_alloc();

    source_.LimitReading(limits_.directorySize + ReadingBesideDirectory);
    archive_.reset(zip_open_from_source(source, ZIP_RDONLY, &error));
    if (!archive_) {
        zip_source_free(source);
        const std::string reason = zip_error_strerror(&error);
        zip_error_fini(&error);
        throw std::runtime_error(reason);
    }
    source_.LimitReading(NoLimit);

    count_ = static_cast<std::size_t>(zip_get_num_entries(archive_.get(), 0));
    if (count_ > limits_.entries)
        Fail("too many entries");
    statuses_.reserve(count_);
    for (std::size_t entry = 0; entry < count_; ++entry) {
        zip_stat_t told{};
        zip_stat_index(archive_.get(), entry, 0, &told);
        statuses_.emplace_back(told);
        if (Size(entry) <= limits_.entrySize)
            announced_ += Size(entry);
    }
    if (announced_ > limits_.totalSize)
        Fail("larger than all entries together may be");
    isal_inflate_init(&inflation_);
}

ZipReader::Implementation::Status::Status(const zip_stat_t& told)
    : size((told.valid & ZIP_STAT_SIZE) != 0 ? told.size : 0), packedSize(told.comp_size), checksum(told.crc),
      method(told.comp_method)
{
    constexpr zip_uint64_t wanted = ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_COMP_METHOD;
    if ((told.valid & wanted) != wanted)
        fault = "damaged directory entry";
    else if ((told.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && told.encryption_method != ZIP_EM_NONE)
        fault = "encrypted";
    else if ((told.valid & ZIP_STAT_CRC) == 0)
        fault = "no checksum";
    else if (method != ZIP_CM_STORE && method != ZIP_CM_DEFLATE)
        fault = "unknown compression method";
}

std::string_view ZipReader::Implementation::Name(std::size_t entry) const
{
    // libzip keeps the name as long as the archive is open.
    const char* const name = zip_get_name(archive_.get(), entry, ZIP_FL_ENC_GUESS);
    return name ? std::string_view(name) : std::string_view();
}

std::optional<std::size_t> ZipReader::Implementation::Find(std::string_view name)
{
    if (entries_.empty()) {
        entries_.reserve(count_);
        for (std::size_t entry = 0; entry < count_; ++entry)
            entries_[Name(entry)] = entry;
    }
    const auto found = entries_.find(name);
    if (found == entries_.end())
        return std::nullopt;
    return found->second;
}

// ---------------------------------------------------------------------------------------------
// An entry

void ZipReader::Implementation::Start(std::size_t entry)
{
    if (entry >= count_)
        Fail("no such entry");
    status_ = statuses_[entry];
    if (status_.fault)
        Fail(status_.fault);

    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(archive_.get(), entry, 0, &system, &attributes) != 0)
        Fail("damaged directory entry");
    const mode_t type = (attributes >> 16) & S_IFMT;
    if (type != 0 && type != S_IFREG && type != S_IFDIR)
        Fail("neither a file nor a folder");

    if (status_.size > limits_.entrySize)
        Fail("larger than an entry may be");
    if (status_.size > limits_.totalSize - total_)
        Fail("larger than all entries together may be");

    source_.ForgetReading();
    packed_.reset(zip_fopen_index(archive_.get(), entry, ZIP_FL_COMPRESSED));
    if (!packed_)
        Fail(zip_strerror(archive_.get()));
    entry_ = entry;
    begin_ = source_.LowestRead();
    source_.ForgetReading();
    end_ = 0;
    isal_inflate_reset(&inflation_);
    inflation_.avail_in = 0;
    isComplete_ = false;
    unpacked_ = 0;
    checksum_ = 0;
}

ZipReader::Piece ZipReader::Implementation::Next()
{
    filled_ = 0;
    if (status_.method == ZIP_CM_DEFLATE)
        Inflate();
    else
        Copy();

    unpacked_ += filled_;
    checksum_ = crc32_gzip_refl(checksum_, Bytes(output_.data()), filled_);
    if (unpacked_ > status_.size || (isComplete_ && unpacked_ != status_.size))
        Fail("another size than announced");
    if (isComplete_ && checksum_ != status_.checksum)
        Fail("wrong checksum");
    if (isComplete_) {
        total_ += unpacked_;
        if (end_ != 0)
            ranges_.insert_or_assign(begin_, Range{end_, entry_});
    }
    return {{output_.data(), filled_}, isComplete_};
}

void ZipReader::Implementation::Inflate()
{
    while (!isComplete_ && filled_ < output_.size()) {
        if (inflation_.avail_in == 0) {
            inflation_.next_in = Bytes(input_.data());
            inflation_.avail_in = static_cast<std::uint32_t>(ReadPacked(input_.data(), input_.size()));
        }
        const std::uint32_t waiting = inflation_.avail_in;
        const std::size_t room = output_.size() - filled_;
        inflation_.next_out = Bytes(output_.data() + filled_);
        inflation_.avail_out = static_cast<std::uint32_t>(room);
        if (isal_inflate(&inflation_) != ISAL_DECOMP_OK)
            Fail("damaged data");

        filled_ = output_.size() - inflation_.avail_out;
        isComplete_ = inflation_.block_state == ISAL_BLOCK_FINISH;
        if (!isComplete_ && inflation_.avail_in == waiting && inflation_.avail_out == room)
            Fail("data cut short");
    }
}

void ZipReader::Implementation::Copy()
{
    filled_ = ReadPacked(output_.data(), output_.size());
    isComplete_ = filled_ < output_.size();
}

/// Refuses an entry with bytes of one that was read before: so a small file would announce as much as it wants. To be
/// called once the first of the packed data has been read.
void ZipReader::Implementation::CheckBytes()
{
    if (end_ != 0)
        return;
    end_ = source_.LowestRead() + status_.packedSize;
    const auto after = ranges_.lower_bound(end_);
    if (after != ranges_.begin() && std::prev(after)->second.end > begin_ && std::prev(after)->second.entry != entry_)
        Fail("its data is that of another entry, too");
}

/// Reads up to `size` bytes, fewer only at the end of the packed data.
std::size_t ZipReader::Implementation::ReadPacked(char* bytes, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const zip_int64_t count = zip_fread(packed_.get(), bytes + done, size - done);
        if (count < 0)
            Fail("data cut short");
        if (count == 0)
            break;
        CheckBytes();
        done += static_cast<std::size_t>(count);
    }
    return done;
}

// ---------------------------------------------------------------------------------------------

ZipReader::ZipReader(const std::string& path, const ZipLimits& limits)
    : implementation_(std::make_unique<Implementation>(path, limits))
{
}

ZipReader::~ZipReader() = default;

std::size_t ZipReader::Count() const
{
    return implementation_->Count();
}

std::string_view ZipReader::Name(std::size_t entry) const
{
    return implementation_->Name(entry);
}

std::uint64_t ZipReader::Size(std::size_t entry) const
{
    return implementation_->Size(entry);
}

std::uint64_t ZipReader::TotalSize() const
{
    return implementation_->TotalSize();
}

std::optional<std::size_t> ZipReader::Find(std::string_view name)
{
    return implementation_->Find(name);
}

void ZipReader::Start(std::size_t entry)
{
    implementation_->Start(entry);
}

ZipReader::Piece ZipReader::Next()
{
    return implementation_->Next();
}

} // namespace openhost
