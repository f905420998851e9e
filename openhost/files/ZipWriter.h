// Zip archives in the making.
#pragma once

#include <string>

struct zip;

namespace openhost {

/// An archive that stands at its path once it is finished, whole or not at all.
class ZipWriter {
public:
    /// Deletes the file that stands at `path`. Throws std::runtime_error where no file can be made.
    explicit ZipWriter(const std::string& path);
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;
    /// Gives up an archive that is not finished.
    ~ZipWriter();

    /// Adds the regular file `file` under `name`, in UTF-8. It is opened now and read by Finish. Throws
    /// std::runtime_error, and adds nothing, for a file that cannot be opened and a name that is there.
    void Add(const std::string& file, const std::string& name, bool deflated);
    /// Writes the archive; one without entries is no file. To be called once, as the last. Throws std::runtime_error,
    /// and leaves no file.
    void Finish();

private:
    ::zip* archive_ = nullptr;
};

} // namespace openhost
