// A file on its way into a form, and its upload: FormBenchmark FILE [URL].

#include "benchmarks/Measure.h"
#include "host/http.h"
#include "openhost/http/CurlTransport.h"
#include "openhost/loop/PollEventLoop.h"
#include "openhost/play/FreedMemory.h"
#include "web/FormData.h"
#include "web/ZALVliHttpUtils.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace benchmarks;
using ZALVliHttpUtils::FormData;

FormData FormOf(const char* file)
{
    FormData form;
    form.AddZipFile("file", file, "upload.zip");
    return form;
}

/// The file in memory, as the shortest program has it.
std::string ContentOf(const char* file)
{
    const int descriptor = open(file, O_RDONLY | O_CLOEXEC);
    struct stat status {};
    fstat(descriptor, &status);
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    if (read(descriptor, content.data(), content.size()) != status.st_size)
        std::exit(EXIT_FAILURE);
    close(descriptor);
    return content;
}

int MeasureForm(const char* file)
{
    constexpr int runs = 101;
    std::vector<double> ours;
    std::vector<double> peers;
    for (int run = 0; run < runs; ++run) {
        Clock::time_point begin = Clock::now();
        {
            std::string body;
            if (FAILED(FormOf(file).GenContent(body)))
                return EXIT_FAILURE;
        }
        ours.push_back(MillisecondsSince(begin));
        begin = Clock::now();
        ContentOf(file);
        peers.push_back(MillisecondsSince(begin));
    }
    std::printf("form %.3f ms\n", Median(ours));
    std::printf("file_in_memory %.3f ms\n", Median(peers));
    return EXIT_SUCCESS;
}

/// From the file to the end of the transfer, in milliseconds; negative when it fails.
double TimeUpload(const char* file, const char* url)
{
    const Clock::time_point begin = Clock::now();
    auto* request = new ZALCefHttpRequest("POST", url);
    {
        std::string body;
        if (FAILED(FormOf(file).GenContent(body)))
            return -1;
        request->GetHeaderMap().AddValue("Content-Type", FormData::GetContentTypeHeaderValue());
        request->GetBody().SetContents(body.data(), body.size());
    }
    bool done = false;
    ZALVliHttpUtils::SendRequest(request, [&](const std::vector<char>&) { done = true; });
    openhost::EventLoop::Current().RunUntil([&] { return done; });
    const int status = request->GetStatus();
    request->Release();
    return status == ZALHttpStatusFinished ? MillisecondsSince(begin) : -1;
}

/// The first upload, with what the host sets up once in its life and with memory that is fresh, and the median of those
/// that follow.
int Upload(const char* file, const char* url)
{
    openhost::EventLoop::Install(std::make_unique<openhost::PollEventLoop>());
    openhost::HttpTransport::Install(std::make_unique<openhost::CurlTransport>());

    constexpr int runs = 5;
    const double first = TimeUpload(file, url);
    std::vector<double> others;
    for (int run = 0; run < runs; ++run)
        others.push_back(TimeUpload(file, url));
    if (first < 0 || *std::min_element(others.begin(), others.end()) < 0) {
        std::fprintf(stderr, "the transfer has failed\n");
        return EXIT_FAILURE;
    }
    std::printf("upload_first %.3f ms\nupload %.3f ms\n", first, Median(others));
    return EXIT_SUCCESS;
}

} // namespace

int main(int count, char** arguments)
{
    openhost::KeepFreedMemory(); // as the program does that plays sessions
    if (count == 2)
        return MeasureForm(arguments[1]);
    if (count == 3)
        return Upload(arguments[1], arguments[2]);
    std::fprintf(stderr, "usage: FormBenchmark FILE [URL]\n");
    return EXIT_FAILURE;
}
