#include "openhost/files/FileServices.h"

#include "openhost/files/Descriptor.h"
#include "openhost/files/Origin.h"
#include "openhost/files/Paths.h"

#include "openhost/journal/Events.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unordered_map>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost {

template class Port<FileServices>;

namespace {

/// The open files. A number is given once, so that a handle kept too long never meets the file of another one.
class OpenFiles {
public:
    /// Takes `descriptor` over.
    ZALFileHandle Add(int descriptor)
    {
        do
            ++last_;
        while (last_ == 0 || descriptors_.count(last_) != 0);
        descriptors_.emplace(last_, descriptor);
        return last_;
    }

    /// The descriptor of `handle`, or -1.
    int Find(ZALFileHandle handle) const
    {
        const auto found = descriptors_.find(handle);
        return found == descriptors_.end() ? -1 : found->second;
    }

    void Remove(ZALFileHandle handle) { descriptors_.erase(handle); }

private:
    std::unordered_map<ZALFileHandle, int> descriptors_;
    ZALFileHandle last_ = 0;
};

OpenFiles& Files()
{
    static OpenFiles files;
    return files;
}

/// Repeats a call that a signal interrupted.
template <class Call>
auto Retry(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// Whether `descriptor` is that of a file, which is made empty when it is to be written.
bool Prepare(int descriptor, bool isWriting)
{
    struct stat status;
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    // To close one that was truncated takes ext4 the time to find places on the disk: a new one never is.
    return !isWriting || status.st_size == 0 || Retry([&] { return ::ftruncate(descriptor, 0); }) == 0;
}

// One call of the system takes no more than this, which is below its own limit on every platform.
constexpr std::size_t MaximumTransferSize = std::size_t{1} << 30;

class SystemFiles final : public FileServices {
public:
    HRESULT Open(const ZALUnicodeString& path, const char* mode, ZALFileHandle& handle) override
    {
        handle = 0;
        const std::string_view wanted = mode ? mode : "";
        const bool isWriting = wanted == "wb";
        if (!isWriting && wanted != "rb" && wanted != "r")
            return E_FAIL;
        if (isWriting && HasParentComponent(path))
            return E_FAIL;

        // Without blocking, because a path may name a pipe that nobody else ever opens.
        // Writing follows no link: what it leads to is no file that anybody has asked for.
        const int access = isWriting ? O_WRONLY | O_CREAT | O_NOFOLLOW : O_RDONLY;
        const int flags = access | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
        const std::string file = SystemPath(path);
        const int descriptor = Retry([&] { return ::open(file.c_str(), flags, 0666); });
        if (descriptor < 0)
            return E_FAIL;

        if (!Prepare(descriptor, isWriting)) {
            ::close(descriptor);
            return E_FAIL;
        }
        // Modules write what they load.
        if (isWriting)
            MarkFromOutside(descriptor);
        try {
            handle = Files().Add(descriptor);
        } catch (...) {
            ::close(descriptor);
            throw;
        }
        return S_OK;
    }

    HRESULT Read(ZALFileHandle handle, void* buffer, std::uint32_t size, std::uint32_t& count) override
    {
        count = 0;
        const int descriptor = Files().Find(handle);
        if (descriptor < 0 || (!buffer && size > 0))
            return E_FAIL;

        char* const bytes = static_cast<char*>(buffer);
        while (count < size) {
            const std::size_t wanted = std::min<std::size_t>(size - count, MaximumTransferSize);
            const ssize_t done = Retry([&] { return ::read(descriptor, bytes + count, wanted); });
            if (done < 0)
                return E_FAIL;
            if (done == 0)
                break;
            count += static_cast<std::uint32_t>(done);
        }
        return S_OK;
    }

    HRESULT Write(ZALFileHandle handle, const void* bytes, std::uint32_t size, std::uint32_t& count) override
    {
        count = 0;
        const int descriptor = Files().Find(handle);
        if (descriptor < 0 || (!bytes && size > 0))
            return E_FAIL;

        const char* const source = static_cast<const char*>(bytes);
        while (count < size) {
            const std::size_t wanted = std::min<std::size_t>(size - count, MaximumWriteSize);
            const ssize_t done = Retry([&] { return ::write(descriptor, source + count, wanted); });
            if (done <= 0)
                return E_FAIL;
            count += static_cast<std::uint32_t>(done);
        }
        return S_OK;
    }

    HRESULT Size(ZALFileHandle handle, std::uint32_t& size) override
    {
        const int descriptor = Files().Find(handle);
        struct stat status;
        if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
            return E_FAIL;
        if (status.st_size > std::int64_t{UINT32_MAX})
            return E_FAIL;

        size = static_cast<std::uint32_t>(status.st_size);
        return S_OK;
    }

    HRESULT Close(ZALFileHandle handle) override
    {
        const int descriptor = Files().Find(handle);
        if (descriptor < 0)
            return E_FAIL;

        Files().Remove(handle);
        // The descriptor is gone even when an interruption or a late write error is reported.
        return ::close(descriptor) == 0 || errno == EINTR ? S_OK : E_FAIL;
    }

    HRESULT MakeDirectory(const ZALUnicodeString& path) override
    {
        if (HasParentComponent(path))
            return E_FAIL;
        return ::mkdir(SystemPath(path).c_str(), 0777) == 0 ? S_OK : E_FAIL;
    }

    HRESULT Stat(const ZALUnicodeString& path, ZALFileStatus& status, int) override
    {
        struct stat found;
        if (::stat(SystemPath(path).c_str(), &found) != 0)
            return E_FAIL;

        static_assert(S_IFMT == ZALFileTypeMask && S_IFDIR == ZALFileTypeDirectory && S_IFREG == ZALFileTypeRegular);
        status.Mode = found.st_mode;
        status.Size = static_cast<std::uint64_t>(found.st_size);
        status.Modified = found.st_mtime;
        return S_OK;
    }

    HRESULT Delete(const ZALUnicodeString& path) override
    {
        if (HasParentComponent(path))
            return E_FAIL;
        return ::unlink(SystemPath(path).c_str()) == 0 ? S_OK : E_FAIL;
    }

    int Rename(const ZALString& from, const ZALString& to) override
    {
        constexpr int refused = -1;
        if (HasParentComponent(from) || HasParentComponent(to))
            return refused;
        const std::string source = SystemPath(from);
        const std::string target = SystemPath(to);

        struct stat found;
        if (::lstat(source.c_str(), &found) != 0 || S_ISDIR(found.st_mode))
            return refused;
        if (::lstat(target.c_str(), &found) == 0)
            return refused;
        if (::rename(source.c_str(), target.c_str()) != 0)
            return refused;
        journal::Write([&] { return journal::Moved{.from = source, .to = target}; });
        return 0;
    }
};

} // namespace

FileServices::~FileServices() = default;

std::unique_ptr<FileServices> FileServices::WithoutBackend()
{
    return std::make_unique<SystemFiles>();
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

HRESULT ZALFOpen(const ZALUnicodeString& path, const char* mode, ZALFileHandle& handle)
{
    return openhost::FileServices::Current().Open(path, mode, handle);
}

HRESULT ZALFRead(ZALFileHandle handle, void* buffer, std::uint32_t size, std::uint32_t& count)
{
    return openhost::FileServices::Current().Read(handle, buffer, size, count);
}

HRESULT ZALFWrite(ZALFileHandle handle, const void* bytes, std::uint32_t size, std::uint32_t& count)
{
    return openhost::FileServices::Current().Write(handle, bytes, size, count);
}

HRESULT ZALFSize(ZALFileHandle handle, std::uint32_t& size)
{
    return openhost::FileServices::Current().Size(handle, size);
}

HRESULT ZALFClose(ZALFileHandle handle)
{
    return openhost::FileServices::Current().Close(handle);
}

HRESULT ZALCreateDirectory(const ZALUnicodeString& path)
{
    return openhost::FileServices::Current().MakeDirectory(path);
}

HRESULT ZALFileStat(const ZALUnicodeString& path, ZALFileStatus& status, int options)
{
    return openhost::FileServices::Current().Stat(path, status, options);
}

HRESULT ZALDeleteFile(const ZALUnicodeString& path)
{
    return openhost::FileServices::Current().Delete(path);
}

int ZALRenameFile(const ZALString& from, const ZALString& to)
{
    return openhost::FileServices::Current().Rename(from, to);
}
