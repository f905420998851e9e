// One fetch to a file as a download does it: FetchBenchmark URL FILE.

#include "host/files.h"
#include "host/http.h"
#include "openhost/http/CurlTransport.h"
#include "openhost/loop/PollEventLoop.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// Writes the body in blocks of 1 MiB and more.
class FileHandler final : public ZALCefHttpDataHandler {
public:
    FileHandler(ZALFileHandle file, int& status) : file_(file), status_(status) { buffer_.reserve(blockSize); }

    void OnHeaders(ZALCefHttpRequest*, const ZALCefHttpHeaderMap&) override {}
    void OnData(ZALCefHttpRequest*, const void* bytes, std::size_t size) override
    {
        const auto* first = static_cast<const char*>(bytes);
        buffer_.insert(buffer_.end(), first, first + size);
        if (buffer_.size() >= blockSize)
            Flush();
    }
    void OnProgress(ZALCefHttpRequest*, std::uint64_t, std::uint64_t) override {}
    void OnComplete(ZALCefHttpRequest* request) override
    {
        Flush();
        status_ = request->GetStatus();
    }

private:
    static constexpr std::size_t blockSize = 1048576;

    void Flush()
    {
        std::uint32_t count = 0;
        if (FAILED(ZALFWrite(file_, buffer_.data(), static_cast<std::uint32_t>(buffer_.size()), count)))
            std::fprintf(stderr, "cannot write\n");
        buffer_.clear();
    }

    ZALFileHandle file_;
    int& status_;
    std::vector<char> buffer_;
};

/// A line such as "VmHWM: 1234 kB" of the process's status, in MiB.
double Memory(const char* name)
{
    std::ifstream lines("/proc/self/status");
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(name))
            return std::strtod(line.c_str() + std::strlen(name), nullptr) / 1024;
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr, "usage: FetchBenchmark URL FILE\n");
        return EXIT_FAILURE;
    }
    openhost::EventLoop::Install(std::make_unique<openhost::PollEventLoop>());
    openhost::HttpTransport::Install(std::make_unique<openhost::CurlTransport>());
    const double idle = Memory("VmRSS:");

    const Clock::time_point begin = Clock::now();
    ZALFileHandle file = 0;
    if (FAILED(ZALFOpen(arguments[2], "wb", file)))
        return EXIT_FAILURE;
    int status = ZALHttpStatusUnsent;
    auto* request = new ZALCefHttpRequest("GET", arguments[1]);
    request->GetHeaderMap().AddValue("Accept", "*/*");
    auto* handler = new FileHandler(file, status);
    const bool sent = request->Send(handler);
    handler->Release();
    openhost::EventLoop::Current().RunUntil([&] { return !sent || status != ZALHttpStatusUnsent; });
    request->Release();
    ZALFClose(file);
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();

    if (status != ZALHttpStatusFinished) {
        std::fprintf(stderr, "the transfer ended with status %d\n", status);
        return EXIT_FAILURE;
    }
    std::printf("fetch %.3f s\n", seconds);
    std::printf("fetch_memory_growth %.1f MiB\n", Memory("VmHWM:") - idle);
    return EXIT_SUCCESS;
}
