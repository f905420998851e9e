// The MD5 of a file: HashBenchmark FILE.

#include "openhost/text/Utf.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fprintf(stderr, "usage: HashBenchmark FILE\n");
        return EXIT_FAILURE;
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    const ZALUnicodeString hash = ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash(arguments[1]);
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    if (hash.GetLengthInChar() == 0)
        return EXIT_FAILURE;
    std::printf("hash %.3f s\n", seconds);
    std::printf("%s\n", openhost::ToUtf8(hash).c_str());
    return EXIT_SUCCESS;
}
