// The hash of a file step by step, on services that do what a test says. What is defined here takes the place of the
// host's own operations in this program.

#include "events/FileHash.h"
#include "host/files.h"
#include "host/hash.h"
#include "openhost/text/Utf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

/// What the services do and what they were asked.
struct Services {
    HRESULT openResult = S_OK;
    ZALFileHandle handle = 5;
    HRESULT sizeResult = S_OK;
    std::uint32_t size = 1;
    std::uint32_t failingRead = 0; ///< number of the read that fails, from 1
    std::uint32_t shortRead = 0;   ///< number of the read that gives a byte less
    std::uint32_t failingUpdate = 0;
    HRESULT initResult = S_OK;
    HRESULT finalResult = S_OK;
    std::uint32_t digestLength = 16;
    int hexResult = 32;

    std::vector<std::string> calls;
    std::uint32_t reads = 0;
    std::uint32_t updates = 0;
};

Services services;

std::string Hash(const char* path = "/file")
{
    return openhost::ToUtf8(ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash(path));
}

class FileHashSteps : public ::testing::Test {
protected:
    FileHashSteps() { services = {}; }
    ~FileHashSteps() override { services = {}; }
};

} // namespace

HRESULT ZALFOpen(const ZALUnicodeString& path, const char* mode, ZALFileHandle& handle)
{
    services.calls.push_back("open " + openhost::ToUtf8(path) + " " + mode);
    handle = services.handle;
    return services.openResult;
}

HRESULT ZALFSize(ZALFileHandle, std::uint32_t& size)
{
    services.calls.push_back("size");
    size = services.size;
    return services.sizeResult;
}

HRESULT ZALFRead(ZALFileHandle handle, void* buffer, std::uint32_t size, std::uint32_t& count)
{
    services.calls.push_back("read " + std::to_string(handle) + " " + std::to_string(size));
    ++services.reads;
    count = services.reads == services.shortRead ? size - 1 : size;
    std::memset(buffer, 'a', count);
    return services.reads == services.failingRead ? E_FAIL : S_OK;
}

HRESULT ZALFClose(ZALFileHandle handle)
{
    services.calls.push_back("close " + std::to_string(handle));
    return S_OK;
}

HRESULT KRYSysHash_Init(int algorithm, KRYSysHashContext&)
{
    services.calls.push_back("init " + std::to_string(algorithm));
    return services.initResult;
}

HRESULT KRYSysHash_Update(KRYSysHashContext&, const void*, std::uint32_t size)
{
    services.calls.push_back("update " + std::to_string(size));
    return ++services.updates == services.failingUpdate ? E_FAIL : S_OK;
}

HRESULT KRYSysHash_Final(KRYSysHashContext&, unsigned char* digest, std::uint32_t& length)
{
    services.calls.push_back("final");
    for (unsigned char position = 0; position < 16; ++position)
        digest[position] = static_cast<unsigned char>(0xA0 + position);
    length = services.digestLength;
    return services.finalResult;
}

int ZALOmx::BytesToHex(const void* bytes, int count, char* text, int size, int flags)
{
    services.calls.push_back("hex " + std::to_string(count) + " " + std::to_string(size) + " " + std::to_string(flags));
    const auto* byte = static_cast<const unsigned char*>(bytes);
    for (int position = 0; position < count; ++position) {
        text[2 * position] = "0123456789ABCDEF"[byte[position] >> 4];
        text[2 * position + 1] = "0123456789ABCDEF"[byte[position] & 15];
    }
    return services.hexResult;
}

namespace {

TEST_F(FileHashSteps, RunInTheirOrder)
{
    EXPECT_EQ(Hash("/a/b"), "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf");
    EXPECT_THAT(services.calls, ElementsAre("open /a/b rb", "size", "init 0", "read 5 1", "update 1", "final",
                                            "hex 16 32 0", "close 5"));
}

TEST_F(FileHashSteps, ReadThroughABufferOf16384Bytes)
{
    const auto reads = [](std::uint32_t size) {
        services = {};
        services.size = size;
        EXPECT_EQ(Hash().size(), 32u);
        std::vector<std::string> found;
        for (const std::string& call : services.calls)
            if (call.starts_with("read") || call.starts_with("update"))
                found.push_back(call);
        return found;
    };
    EXPECT_THAT(reads(16383), ElementsAre("read 5 16383", "update 16383"));
    EXPECT_THAT(reads(16384), ElementsAre("read 5 16384", "update 16384"));
    EXPECT_THAT(reads(16385), ElementsAre("read 5 16384", "update 16384", "read 5 1", "update 1"));
    EXPECT_THAT(reads(32768), ElementsAre("read 5 16384", "update 16384", "read 5 16384", "update 16384"));
}

TEST_F(FileHashSteps, OfTheLargestSizeGoThroughTheWholeFile)
{
    services.size = UINT32_MAX;
    services.calls.reserve(600'000);
    EXPECT_EQ(Hash().size(), 32u);
    EXPECT_EQ(services.reads, 262'144u);
    EXPECT_EQ(services.calls[services.calls.size() - 5], "read 5 16383");
}

TEST_F(FileHashSteps, OpenNothingForAnEmptyPath)
{
    EXPECT_EQ(Hash(""), "");
    EXPECT_THAT(services.calls, IsEmpty());
}

TEST_F(FileHashSteps, EndWhereTheFileCannotBeOpened)
{
    services.openResult = E_FAIL;
    services.handle = 0;
    EXPECT_EQ(Hash(), "");
    EXPECT_THAT(services.calls, ElementsAre("open /file rb"));
}

TEST_F(FileHashSteps, EndWithoutAHandle)
{
    services.handle = 0;
    EXPECT_EQ(Hash(), "");
    EXPECT_THAT(services.calls, ElementsAre("open /file rb"));
}

/// A failure, and the calls up to it. The file is closed in each case.
struct Failure {
    const char* name;
    void (*cause)();
    std::vector<std::string> calls;

    friend std::ostream& operator<<(std::ostream& stream, const Failure& failure) { return stream << failure.name; }
};

class FailedFileHashStep : public FileHashSteps, public ::testing::WithParamInterface<Failure> {};

TEST_P(FailedFileHashStep, GivesNothingAndClosesTheFile)
{
    services.size = 16385;
    GetParam().cause();
    EXPECT_EQ(Hash(), "");

    std::vector<std::string> expected = {"open /file rb", "size"};
    expected.insert(expected.end(), GetParam().calls.begin(), GetParam().calls.end());
    expected.push_back("close 5");
    EXPECT_THAT(services.calls, ElementsAreArray(expected));
}

const std::vector<std::string> AllRead = {"init 0", "read 5 16384", "update 16384", "read 5 1", "update 1", "final"};

std::vector<std::string> First(std::size_t count)
{
    return {AllRead.begin(), AllRead.begin() + static_cast<std::ptrdiff_t>(count)};
}

INSTANTIATE_TEST_SUITE_P(Steps, FailedFileHashStep,
                         ::testing::Values(Failure{"NoSize", [] { services.sizeResult = E_FAIL; }, {}},
                                           Failure{"EmptyFile", [] { services.size = 0; }, {}},
                                           Failure{"NoHash", [] { services.initResult = E_FAIL; }, First(1)},
                                           Failure{"FirstReadFails", [] { services.failingRead = 1; }, First(2)},
                                           Failure{"FirstReadIsShort", [] { services.shortRead = 1; }, First(2)},
                                           Failure{"FirstUpdateFails", [] { services.failingUpdate = 1; }, First(3)},
                                           Failure{"LastReadFails", [] { services.failingRead = 2; }, First(4)},
                                           Failure{"LastReadIsShort", [] { services.shortRead = 2; }, First(4)},
                                           Failure{"LastUpdateFails", [] { services.failingUpdate = 2; }, First(5)},
                                           Failure{"NoDigest", [] { services.finalResult = E_FAIL; }, First(6)},
                                           Failure{"LongerDigest", [] { services.digestLength = 20; }, First(6)},
                                           Failure{"ShorterDigest", [] { services.digestLength = 15; }, First(6)}));

TEST_F(FileHashSteps, GiveNothingWhereTheDigitsAreNot32)
{
    for (const int digits : {0, 31, 33, -1}) {
        services = {};
        services.hexResult = digits;
        EXPECT_EQ(Hash(), "") << digits;
        EXPECT_EQ(services.calls.back(), "close 5");
    }
}

} // namespace
