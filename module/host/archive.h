// Archives of the host. All operations run on the user-interface thread and block.
//
// Reading takes: stored and deflated entries, Zip64, names in UTF-8 or CP437, entries with a data
// descriptor. An entry that is encrypted, damaged or larger than the limits fails by itself.
#pragma once

#include "text.h"

#include <memory>

/// Modes of ZALSysZipFile::OpenZip.
inline constexpr unsigned int ZALZipWrite = 0;
inline constexpr unsigned int ZALZipRead = 3;

/// Flags of ZALSysZipFile::ExtractFile: replace what stands there (1), keep the relative path (16).
inline constexpr unsigned int ZALZipExtractReplace = 17;

/// Most entries of an archive, and most bytes of its directory, of one extracted entry, and of all entries that
/// are extracted while it is open.
inline constexpr std::uint64_t ZALZipMaximumEntries = 500'000;
inline constexpr std::uint64_t ZALZipMaximumDirectorySize = std::uint64_t{64} << 20;
inline constexpr std::uint64_t ZALZipMaximumEntrySize = std::uint64_t{16} << 30;
inline constexpr std::uint64_t ZALZipMaximumTotalSize = std::uint64_t{64} << 30;

/// One zip file.
class ZALSysZipFile {
public:
    ZALSysZipFile();
    ZALSysZipFile(const ZALSysZipFile&) = delete;
    ZALSysZipFile& operator=(const ZALSysZipFile&) = delete;
    /// Closes the archive when it is open; one that is written is given up.
    ~ZALSysZipFile();

    /// Opens `path`. Mode 3 reads, and fails on a file that is no archive, whose directory is damaged, or that
    /// passes a limit. Mode 0 begins a new archive; a file that stands there is gone at once. It fails for a path with
    /// a ".." component and where no file can be made. Another mode, and an archive already open, is a failure.
    HRESULT OpenZip(const ZALUnicodeString& path, unsigned int mode);
    /// Gives the names of all entries in archive order, their sizes in bytes as announced, and their count. The
    /// caller frees both arrays with delete[]; they are null for an empty archive and on failure.
    HRESULT BrowseZip(ZALUnicodeString*& names, std::uint64_t*& sizes, unsigned int& count);
    /// Writes `entry`, named as BrowseZip gave it, below `folder` under its relative path and replaces the file
    /// that stands there; folders on the way are made, `folder` itself must exist. An entry that ends in a
    /// separator makes a directory. Of entries with the same name the last one counts. A file may take its place,
    /// whole, as late as with Close.
    ///
    /// Fails, and leaves everything as it was, for an entry that would land outside `folder` (absolute, with a
    /// drive letter, "..", through a link), that is itself a link, is encrypted or damaged, or passes a limit,
    /// and where something else than a file stands in its place. `flags` is ZALZipExtractReplace.
    HRESULT ExtractFile(const ZALUnicodeString& folder, const ZALUnicodeString& entry, unsigned int flags);
    /// Adds the regular file `file` to an archive that is written: deflated when `compress` is 1, stored when it is 0;
    /// under its path below `base` when `relative` is 1, under its name alone when it is 0. `options` is 0. The
    /// content is read by Close, even if the file is deleted before. Fails, and adds nothing, for a file that cannot be
    /// read, that does not stand below `base`, or whose name the archive has already.
    HRESULT AddFile(const ZALUnicodeString& file, int compress, int relative, const ZALUnicodeString& base,
                    int options);
    /// Fails when no archive is open, and when a file that was extracted could not take its place. A written archive
    /// takes its place now, whole or not at all; one without entries is no file.
    HRESULT Close();

private:
    std::unique_ptr<class ZALZipReader> reader_;
    std::unique_ptr<class ZALZipWriter> writer_;
};
