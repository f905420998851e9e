// Files, hashes, archives and a clock that do what a test says and note what they were asked.
#pragma once

#include "openhost/files/ArchiveServices.h"
#include "openhost/files/FileServices.h"
#include "openhost/files/HashServices.h"
#include "openhost/files/SystemServices.h"
#include "tests/support/CallLog.h"

namespace openhost::testing {

/// One file is there under every path, and open under the handle once it has been opened.
class ScriptedFiles final : public FileServices {
public:
    explicit ScriptedFiles(CallLog& log) : log_(log) {}

    HRESULT Open(const ZALUnicodeString& path, const char* mode, ZALFileHandle& opened) override;
    HRESULT Read(ZALFileHandle file, void* buffer, std::uint32_t count, std::uint32_t& done) override;
    HRESULT Write(ZALFileHandle file, const void* bytes, std::uint32_t count, std::uint32_t& done) override;
    HRESULT Size(ZALFileHandle file, std::uint32_t& bytes) override;
    HRESULT Close(ZALFileHandle file) override;
    HRESULT MakeDirectory(const ZALUnicodeString& path) override;
    /// Is not noted but for its options.
    HRESULT Stat(const ZALUnicodeString& path, ZALFileStatus& status, int options) override;
    HRESULT Delete(const ZALUnicodeString& path) override;
    int Rename(const ZALString& from, const ZALString& to) override;

    HRESULT openResult = S_OK; ///< a failure gives the handle 0
    ZALFileHandle handle = 5;
    HRESULT sizeResult = S_OK;
    std::uint32_t size = 0;
    std::string content; ///< what is read, up to the size that was asked for
    HRESULT readResult = S_OK;
    std::uint32_t reads = 0;       ///< so far
    std::uint32_t failingRead = 0; ///< number of the read that fails, from 1
    std::uint32_t shortRead = 0;   ///< number of the read that gives a byte less
    HRESULT closeResult = S_OK;
    HRESULT writeResult = S_OK;
    std::uint32_t unwritten = 0; ///< bytes of each write that are left
    HRESULT statResult = S_OK;
    int statOptions = -1; ///< of the last time
    std::uint32_t mode = ZALFileTypeDirectory;
    HRESULT deleteResult = S_OK;
    int renameResult = 0;

private:
    CallLog& log_;
};

/// Hashes whose digest is the bytes 0xA0 to 0xAF.
class ScriptedHashes final : public HashServices {
public:
    explicit ScriptedHashes(CallLog& log) : log_(log) {}

    HRESULT Init(int algorithm, KRYSysHashContext& context) override;
    HRESULT Update(KRYSysHashContext& context, const void* bytes, std::uint32_t size) override;
    HRESULT Final(KRYSysHashContext& context, unsigned char* digest, std::uint32_t& length) override;
    int BytesToHex(const void* bytes, int count, char* text, int size, int flags) override;

    HRESULT initResult = S_OK;
    std::uint32_t updates = 0; ///< so far
    std::uint32_t failingUpdate = 0;
    HRESULT finalResult = S_OK;
    std::uint32_t digestLength = 16;
    int hexResult = 32;

private:
    CallLog& log_;
};

/// One archive with `entries` under every path. Nothing comes about of writing.
class ScriptedArchives final : public ArchiveServices {
public:
    explicit ScriptedArchives(CallLog& log) : log_(log) {}

    std::unique_ptr<ArchiveReader> OpenReader(const ZALUnicodeString& path) override;
    std::unique_ptr<ArchiveWriter> OpenWriter(const ZALUnicodeString& path) override;

    bool opens = true;
    HRESULT addResult = S_OK;
    Texts entries;
    HRESULT browseResult = S_OK;
    HRESULT extractResult = S_OK;
    HRESULT closeResult = S_OK;
    int closings = 0;       ///< so far
    int failingClosing = 0; ///< number of the closing that fails, from 1

private:
    class Reader;
    class Writer;
    HRESULT Close();

    CallLog& log_;
};

/// Waits for nothing.
class ScriptedSystem final : public SystemServices {
public:
    explicit ScriptedSystem(CallLog& log) : log_(log) {}
    void Sleep(unsigned int milliseconds) override { log_.Note("sleep " + std::to_string(milliseconds)); }

private:
    CallLog& log_;
};

} // namespace openhost::testing
