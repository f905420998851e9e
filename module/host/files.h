// Files of the host. All operations run on the user-interface thread and block.
//
// `\` and `/` both separate the components of a path. Writing to, deleting or renaming a path with a ".."
// component is refused.
#pragma once

#include "text.h"

/// An open file; 0 is none.
using ZALFileHandle = std::uint32_t;

/// Mode bits of a file.
inline constexpr std::uint32_t ZALFileTypeMask = 0xF000;
inline constexpr std::uint32_t ZALFileTypeDirectory = 0x4000;
inline constexpr std::uint32_t ZALFileTypeRegular = 0x8000;

/// What ZALFileStat tells.
struct ZALFileStatus {
    std::uint32_t Mode = 0;    ///< type and permission bits
    std::uint64_t Size = 0;    ///< bytes
    std::int64_t Modified = 0; ///< seconds since 1970-01-01 UTC
};

/// Opens the regular file `path`; mode "rb" or "r" reads an existing one, "wb" replaces or creates one. Fails for any
/// other mode. On failure `handle` is 0.
HRESULT ZALFOpen(const ZALUnicodeString& path, const char* mode, ZALFileHandle& handle);
/// Reads up to `size` bytes; `count` is what was read, less than `size` only at the end of the file.
HRESULT ZALFRead(ZALFileHandle handle, void* buffer, std::uint32_t size, std::uint32_t& count);
/// Writes `size` bytes; `count` is what was written, also on failure.
HRESULT ZALFWrite(ZALFileHandle handle, const void* bytes, std::uint32_t size, std::uint32_t& count);
/// Size of the open file in bytes. Fails for one of 4 GiB or more.
HRESULT ZALFSize(ZALFileHandle handle, std::uint32_t& size);
/// Closes the file. Fails for a handle that is not open.
HRESULT ZALFClose(ZALFileHandle handle);

/// Status of what `path` names, links followed. `options` is 0. Fails, and leaves `status` alone, when nothing is
/// there.
HRESULT ZALFileStat(const ZALUnicodeString& path, ZALFileStatus& status, int options);

/// Deletes the file `path`, of a link the link. Fails for a folder and where nothing is there.
HRESULT ZALDeleteFile(const ZALUnicodeString& path);
/// Gives the file `from`, of a link the link, the path `to`, both in the host's narrow encoding. 0 for success. Any
/// other value means that everything is as it was: for a folder, where something stands at `to`, and for a `to` on
/// another volume, as nothing is copied.
int ZALRenameFile(const ZALString& from, const ZALString& to);

/// Appends `name` to `folder` as a path below it, with one separator between them. An empty `name` changes nothing.
void ZALMakePath(ZALUnicodeString& folder, const ZALUnicodeString& name);
/// Splits `path` at its last separator; without one `folder` is empty. The root as a folder keeps its separator.
void ZALSplitPath(const ZALUnicodeString& path, ZALUnicodeString& folder, ZALUnicodeString& name);
/// Extension of the file name in `path`, without its dot; empty when there is none. A dot at the start of the name
/// begins no extension.
ZALUnicodeString GetFileExtensionName(const ZALUnicodeString& path);

/// Makes the folder `path` in a folder that exists. Fails when something of that name is there.
HRESULT ZALCreateDirectory(const ZALUnicodeString& path);
