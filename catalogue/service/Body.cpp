#include "catalogue/service/Body.h"

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace catalogue {

namespace {

class TextBody : public Body {
public:
    explicit TextBody(std::string text) : text_(std::move(text)) {}

    std::uint64_t Size() const override { return text_.size(); }

    std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size) override
    {
        if (offset >= text_.size())
            return 0;
        return text_.copy(buffer, size, static_cast<std::size_t>(offset));
    }

private:
    std::string text_;
};

class FileBody : public Body {
public:
    FileBody(int descriptor, std::uint64_t size) : descriptor_(descriptor), size_(size) {}
    FileBody(const FileBody&) = delete;
    FileBody& operator=(const FileBody&) = delete;
    ~FileBody() override { ::close(descriptor_); }

    std::uint64_t Size() const override { return size_; }

    std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size) override
    {
        const ssize_t count = ::pread(descriptor_, buffer, size, static_cast<off_t>(offset));
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

private:
    int descriptor_;
    std::uint64_t size_;
};

} // namespace

std::string Body::ReadAll()
{
    std::string text(static_cast<std::size_t>(Size()), '\0');
    text.resize(Read(0, text.data(), text.size()));
    return text;
}

std::shared_ptr<Body> Body::FromText(std::string text)
{
    return std::make_shared<TextBody>(std::move(text));
}

std::shared_ptr<Body> Body::FromFile(const std::filesystem::path& path)
{
    // Without O_NONBLOCK a named pipe would hold the caller until somebody writes to it.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0)
        return nullptr;
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return nullptr;
    }
    return std::make_shared<FileBody>(descriptor, static_cast<std::uint64_t>(status.st_size));
}

} // namespace catalogue
