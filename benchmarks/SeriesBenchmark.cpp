// Addresses fetched one after the other into a folder: SeriesBenchmark FOLDER URL...

#include "download/ZALVLIFullDownload.h"
#include "openhost/files/PathVariables.h"
#include "openhost/http/CurlTransport.h"
#include "openhost/loop/PollEventLoop.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

int main(int count, char** arguments)
{
    if (count < 3) {
        std::fprintf(stderr, "usage: SeriesBenchmark FOLDER URL...\n");
        return EXIT_FAILURE;
    }
    using Clock = std::chrono::steady_clock;
    const std::filesystem::path folder = arguments[1];
    std::filesystem::create_directory(folder / "temp");
    openhost::SetPathVariable(openhost::TemporaryFolderVariable, folder / "temp");
    openhost::EventLoop::Install(std::make_unique<openhost::PollEventLoop>());
    openhost::HttpTransport::Install(std::make_unique<openhost::CurlTransport>());

    const Clock::time_point begin = Clock::now();
    std::vector<ZALVLIFullDownload::DownloadItem> items;
    for (int index = 2; index < count; ++index)
        items.push_back({folder.c_str(), arguments[index], std::to_string(index - 1).c_str()});
    std::optional<ZALVLIFullDownload::Status> end;
    auto* download = new ZALVLIFullDownload(std::move(items));
    download->Start([&](ZALVLIFullDownload::Status status, const std::vector<ZALVLIFullDownload::DownloadResult>&) {
        end = status;
    });
    openhost::EventLoop::Current().RunUntil([&] { return end.has_value(); });
    download->Release();
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();

    if (end != ZALVelmartFileDownloadCompleteNotification::DownloadSucceeded) {
        std::fprintf(stderr, "the download has failed\n");
        return EXIT_FAILURE;
    }
    std::printf("series %.3f s\n", seconds);
    return EXIT_SUCCESS;
}
