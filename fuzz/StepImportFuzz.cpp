// The import of STEP over any bytes, in the program that it has for that: what comes of it are documents that can be
// read, or an error and nothing. A crash of the kernel, a job that takes too long and one that takes too much memory
// are errors like others.

#include "openhost/conversion/ConvertDocument.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace openhost;

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

/// The documents in `folder` can all be read, and name files beside them alone.
void ReadAll(const std::filesystem::path& folder)
{
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        for (const std::string& link : ReadDocument(entry.path()).links)
            Require(link.find('/') == std::string::npos && std::filesystem::exists(folder / link));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder folder;
    static DocumentConverter converter({.time = std::chrono::seconds(5)});
    const std::filesystem::path step = folder.Path() / "made.step";
    const std::filesystem::path made = folder.Path() / "made";
    std::ofstream(step, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        const std::filesystem::path root = converter.ImportStep(
            step, made, ReplaceFiles::No, [](const std::string& line) { Require(!line.empty()); }, [](int) {});
        Require(std::filesystem::is_regular_file(root));
        ReadAll(made);
        std::filesystem::remove_all(made);
    } catch (const GeometryJobError&) {
        Require(!std::filesystem::exists(made));
    }
    return 0;
}
