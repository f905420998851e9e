#include "ZipSource.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace openhost {

namespace {
constexpr std::size_t BufferSize = std::size_t{128} << 10;
} // namespace

ZipSource::ZipSource(const std::string& path) : buffer_(BufferSize)
{
    zip_error_init(&error_);
    // Without blocking, because a path may name a pipe that nobody else ever opens.
    file_ = Descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status;
    if (!file_ || fstat(file_.Number(), &status) != 0)
        throw std::system_error(errno, std::generic_category(), "it cannot be opened");
    if (!S_ISREG(status.st_mode))
        throw std::system_error(EINVAL, std::generic_category(), "it is not a regular file");
    size_ = static_cast<std::uint64_t>(status.st_size);
}

zip_int64_t ZipSource::Serve(void* source, void* data, zip_uint64_t length, zip_source_cmd_t command)
{
    ZipSource& self = *static_cast<ZipSource*>(source);
    switch (command) {
    case ZIP_SOURCE_OPEN:
        self.position_ = 0;
        return 0;
    case ZIP_SOURCE_READ:
        return self.Read(static_cast<char*>(data), length);
    case ZIP_SOURCE_SEEK: {
        const zip_int64_t position =
            zip_source_seek_compute_offset(self.position_, self.size_, data, length, &self.error_);
        if (position < 0)
            return -1;
        self.position_ = static_cast<std::uint64_t>(position);
        return 0;
    }
    case ZIP_SOURCE_TELL:
        return static_cast<zip_int64_t>(self.position_);
    case ZIP_SOURCE_STAT: {
        zip_stat_t* const status = static_cast<zip_stat_t*>(data);
        zip_stat_init(status);
        status->size = self.size_;
        status->valid = ZIP_STAT_SIZE;
        return sizeof(zip_stat_t);
    }
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&self.error_, data, length);
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_FREE:
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_SEEKABLE;
    default:
        zip_error_set(&self.error_, ZIP_ER_OPNOTSUPP, 0);
        return -1;
    }
}

zip_int64_t ZipSource::Read(char* bytes, std::uint64_t length)
{
    length = std::min(length, size_ - std::min(position_, size_));
    if (length > allowance_) {
        zip_error_set(&error_, ZIP_ER_INCONS, 0); // a directory larger than the limit
        return -1;
    }
    allowance_ -= length;
    if (length > 0)
        lowestRead_ = std::min(lowestRead_, position_);

    std::uint64_t done = 0;
    while (done < length) {
        if (position_ < bufferStart_ || position_ >= bufferStart_ + buffered_) {
            if (!Fill())
                return -1;
            if (buffered_ == 0)
                break;
        }
        const std::uint64_t offset = position_ - bufferStart_;
        const std::uint64_t count = std::min(length - done, buffered_ - offset);
        std::memcpy(bytes + done, buffer_.data() + offset, count);
        done += count;
        position_ += count;
    }
    return static_cast<zip_int64_t>(done);
}

bool ZipSource::Fill()
{
    ssize_t count = 0;
    do
        count = pread(file_.Number(), buffer_.data(), buffer_.size(), static_cast<off_t>(position_));
    while (count < 0 && errno == EINTR);

    bufferStart_ = position_;
    buffered_ = count > 0 ? static_cast<std::size_t>(count) : 0;
    if (count < 0)
        zip_error_set(&error_, ZIP_ER_READ, errno);
    return count >= 0;
}

} // namespace openhost
