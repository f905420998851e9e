// What stands behind the archives of the host.
#pragma once

#include "openhost/ports/Port.h"

#include "host/archive.h"

#include <vector>

namespace openhost {

/// An archive that is read, until its end. The contracts are those of ZALSysZipFile.
class ArchiveReader {
public:
    struct Entry {
        ZALUnicodeString name;
        std::uint64_t size;
    };

    virtual ~ArchiveReader() = default;
    virtual HRESULT Browse(std::vector<Entry>& entries) = 0;
    virtual HRESULT Extract(const ZALUnicodeString& folder, const ZALUnicodeString& entry) = 0;
    virtual HRESULT Close() = 0;
};

/// An archive that is written; one that ends without Close is given up.
class ArchiveWriter {
public:
    virtual ~ArchiveWriter() = default;
    virtual HRESULT Add(const ZALUnicodeString& file, bool compress, bool relative, const ZALUnicodeString& base) = 0;
    virtual HRESULT Close() = 0;
};

/// Port of archives. Backend: zip files. What ZALSysZipFile refuses by itself, such as unknown modes and flags, does
/// not come here.
class ArchiveServices : public Port<ArchiveServices> {
public:
    virtual ~ArchiveServices();

    /// Zip files, which need no set-up.
    static std::unique_ptr<ArchiveServices> WithoutBackend();

    /// Null, or a std::exception, where `path` cannot be opened.
    virtual std::unique_ptr<ArchiveReader> OpenReader(const ZALUnicodeString& path) = 0;
    virtual std::unique_ptr<ArchiveWriter> OpenWriter(const ZALUnicodeString& path) = 0;
};

extern template class Port<ArchiveServices>;

} // namespace openhost
