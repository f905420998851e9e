// What stands behind the files of the host.
#pragma once

#include "openhost/ports/Port.h"

#include "host/files.h"

namespace openhost {

/// Port of the files that modules read and write, one operation for each of module/host/files.h that asks the system,
/// with its contract. Backend: the files of the system.
class FileServices : public Port<FileServices> {
public:
    virtual ~FileServices();

    /// The files of the system, which need no set-up.
    static std::unique_ptr<FileServices> WithoutBackend();

    virtual HRESULT Open(const ZALUnicodeString& path, const char* mode, ZALFileHandle& handle) = 0;
    virtual HRESULT Read(ZALFileHandle handle, void* buffer, std::uint32_t size, std::uint32_t& count) = 0;
    virtual HRESULT Write(ZALFileHandle handle, const void* bytes, std::uint32_t size, std::uint32_t& count) = 0;
    virtual HRESULT Size(ZALFileHandle handle, std::uint32_t& size) = 0;
    virtual HRESULT Close(ZALFileHandle handle) = 0;
    virtual HRESULT MakeDirectory(const ZALUnicodeString& path) = 0;
    virtual HRESULT Stat(const ZALUnicodeString& path, ZALFileStatus& status, int options) = 0;
    virtual HRESULT Delete(const ZALUnicodeString& path) = 0;
    virtual int Rename(const ZALString& from, const ZALString& to) = 0;
};

extern template class Port<FileServices>;

} // namespace openhost
