#include "openhost/play/ImportFile.h"

#include "openhost/commandline/ProgressLine.h"
#include "openhost/loop/Interruption.h"
#include "openhost/loop/InterruptionWatch.h"

#include <iostream>
#include <string>

namespace openhost {

int ImportFile(const ImportArguments& arguments, const GeometryJobLimits& limits,
               const std::function<void(const std::string& line)>& warn)
{
    DocumentConverter converter(limits);
    const InterruptionWatch watch([&] { converter.Interrupt(); });
    ProgressLine progress;
    std::filesystem::path root;
    try {
        root = converter.ImportStep(
            arguments.file, arguments.folder, arguments.replace ? ReplaceFiles::Yes : ReplaceFiles::No,
            [&](const std::string& line) {
                progress.Clear();
                warn(line);
            },
            [&](int percent) { progress.Tell(std::to_string(percent) + " %"); });
    } catch (const GeometryJobError&) {
        if (Interruption::Signal() == 0)
            throw;
        progress.Clear();
        std::cerr << "openhost: " << arguments.file << ": the import was interrupted; nothing is written\n";
        return 128 + Interruption::Signal();
    }
    progress.Clear();
    std::cout << root.string() << "\n";
    return 0;
}

} // namespace openhost
