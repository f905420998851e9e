#include "tests/support/ScriptedFiles.h"

#include "openhost/text/Utf.h"

#include <cstring>

namespace openhost::testing {

// ---------------------------------------------------------------------------------------------
// Files

HRESULT ScriptedFiles::Open(const ZALUnicodeString& path, const char* openMode, ZALFileHandle& opened)
{
    opened = SUCCEEDED(openResult) ? handle : 0;
    log_.Note("open " + ToUtf8(path) + " " + openMode);
    return openResult;
}

HRESULT ScriptedFiles::Size(ZALFileHandle file, std::uint32_t& bytes)
{
    log_.Note("size " + std::to_string(file));
    bytes = size;
    return sizeResult;
}

HRESULT ScriptedFiles::Read(ZALFileHandle file, void* buffer, std::uint32_t count, std::uint32_t& done)
{
    log_.Note("read " + std::to_string(file) + " " + std::to_string(count));
    ++reads;
    done = std::min(count, static_cast<std::uint32_t>(content.size()));
    std::memcpy(buffer, content.data(), done);
    if (reads == shortRead)
        --done;
    return reads == failingRead ? E_FAIL : readResult;
}

HRESULT ScriptedFiles::Write(ZALFileHandle file, const void* bytes, std::uint32_t count, std::uint32_t& done)
{
    const std::string first(static_cast<const char*>(bytes), std::min(count, 1U));
    log_.Note("write " + std::to_string(file) + " " + std::to_string(count) + " from " + first);
    done = count - std::min(count, unwritten);
    return writeResult;
}

HRESULT ScriptedFiles::Close(ZALFileHandle file)
{
    log_.Note("close " + std::to_string(file));
    return closeResult;
}

HRESULT ScriptedFiles::MakeDirectory(const ZALUnicodeString& path)
{
    log_.Note("make " + ToUtf8(path));
    return S_OK;
}

HRESULT ScriptedFiles::Stat(const ZALUnicodeString&, ZALFileStatus& status, int options)
{
    statOptions = options;
    status.Mode = mode;
    return statResult;
}

HRESULT ScriptedFiles::Delete(const ZALUnicodeString& path)
{
    log_.Note("delete " + ToUtf8(path));
    return deleteResult;
}

int ScriptedFiles::Rename(const ZALString& from, const ZALString& to)
{
    log_.Note(std::string("rename ") + from.CastToCharPtr() + " to " + to.CastToCharPtr());
    return renameResult;
}

// ---------------------------------------------------------------------------------------------
// Hashes

HRESULT ScriptedHashes::Init(int algorithm, KRYSysHashContext&)
{
    log_.Note("init " + std::to_string(algorithm));
    return initResult;
}

HRESULT ScriptedHashes::Update(KRYSysHashContext&, const void*, std::uint32_t size)
{
    log_.Note("update " + std::to_string(size));
    return ++updates == failingUpdate ? E_FAIL : S_OK;
}

HRESULT ScriptedHashes::Final(KRYSysHashContext&, unsigned char* digest, std::uint32_t& length)
{
    log_.Note("final");
    for (unsigned char position = 0; position < 16; ++position)
        digest[position] = static_cast<unsigned char>(0xA0 + position);
    length = digestLength;
    return finalResult;
}

int ScriptedHashes::BytesToHex(const void* bytes, int count, char* text, int size, int flags)
{
    log_.Note("hex " + std::to_string(count) + " " + std::to_string(size) + " " + std::to_string(flags));
    WithoutBackend()->BytesToHex(bytes, count, text, size, flags);
    return hexResult;
}

// ---------------------------------------------------------------------------------------------
// Archives

class ScriptedArchives::Reader final : public ArchiveReader {
public:
    explicit Reader(ScriptedArchives& archives) : archives_(archives) {}
    HRESULT Browse(std::vector<Entry>& list) override
    {
        archives_.log_.Note("browse");
        for (const std::string& name : archives_.entries)
            list.push_back({FromUtf8(name), 0});
        return archives_.browseResult;
    }
    HRESULT Extract(const ZALUnicodeString& folder, const ZALUnicodeString& entry) override
    {
        archives_.log_.Note("extract " + ToUtf8(folder) + " " + ToUtf8(entry));
        return archives_.extractResult;
    }
    HRESULT Close() override { return archives_.Close(); }

private:
    ScriptedArchives& archives_;
};

class ScriptedArchives::Writer final : public ArchiveWriter {
public:
    explicit Writer(ScriptedArchives& archives) : archives_(archives) {}
    HRESULT Add(const ZALUnicodeString& file, bool compress, bool relative, const ZALUnicodeString& base) override
    {
        archives_.log_.Note("add " + ToUtf8(file) + (compress ? " deflated" : " stored") +
                            (relative ? " below " : " flat, not below ") + ToUtf8(base));
        return archives_.addResult;
    }
    HRESULT Close() override { return archives_.Close(); }

private:
    ScriptedArchives& archives_;
};

HRESULT ScriptedArchives::Close()
{
    log_.Note("end");
    return ++closings == failingClosing ? E_FAIL : closeResult;
}

std::unique_ptr<ArchiveReader> ScriptedArchives::OpenReader(const ZALUnicodeString& path)
{
    log_.Note("unzip " + ToUtf8(path));
    return opens ? std::make_unique<Reader>(*this) : nullptr;
}

std::unique_ptr<ArchiveWriter> ScriptedArchives::OpenWriter(const ZALUnicodeString& path)
{
    log_.Note("zip " + ToUtf8(path));
    return opens ? std::make_unique<Writer>(*this) : nullptr;
}

} // namespace openhost::testing
