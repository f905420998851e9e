#include "ZipWriter.h"

#include "Descriptor.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

namespace openhost {

namespace {

/// Empties the place of the archive, and shows that a file can be made there.
void MakeRoom(const std::string& path)
{
    unlink(path.c_str());
    const Descriptor made(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!made)
        throw std::runtime_error("cannot make " + path);
    unlink(path.c_str());
}

std::FILE* OpenRegularFile(const std::string& path)
{
    // Without blocking, because a path may name a pipe.
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status;
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        if (std::FILE* file = fdopen(descriptor, "rb"))
            return file;
    if (descriptor >= 0)
        close(descriptor);
    throw std::runtime_error("cannot read " + path);
}

} // namespace

ZipWriter::ZipWriter(const std::string& path)
{
    MakeRoom(path);
    archive_ = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    if (!archive_)
        throw std::runtime_error("cannot make " + path);
}

ZipWriter::~ZipWriter()
{
    if (archive_)
        zip_discard(archive_);
}

void ZipWriter::Add(const std::string& file, const std::string& name, bool deflated)
{
    std::FILE* const opened = OpenRegularFile(file);
    zip_source_t* source = zip_source_filep(archive_, opened, 0, -1);
    if (!source) {
        std::fclose(opened);
        throw std::runtime_error("cannot read " + file);
    }
    const zip_int64_t entry = zip_file_add(archive_, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (entry < 0) {
        zip_source_free(source);
        throw std::runtime_error("cannot add " + name);
    }
    const zip_int32_t method = deflated ? ZIP_CM_DEFLATE : ZIP_CM_STORE;
    zip_set_file_compression(archive_, static_cast<zip_uint64_t>(entry), method, 0);
}

void ZipWriter::Finish()
{
    if (zip_close(archive_) == 0) {
        archive_ = nullptr;
        return;
    }
    const std::string reason = zip_strerror(archive_);
    zip_discard(std::exchange(archive_, nullptr));
    throw std::runtime_error("cannot write the archive: " + reason);
}

} // namespace openhost
