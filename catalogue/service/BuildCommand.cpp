#include "catalogue/service/BuildCommand.h"

#include "catalogue/sources/CatalogueBuild.h"
#include "openhost/commandline/ProgressLine.h"
#include "openhost/files/AtomicFile.h"
#include "openhost/loop/Interruption.h"
#include "openhost/loop/InterruptionWatch.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <thread>

namespace catalogue {

namespace {

using Clock = std::chrono::steady_clock;

/// Between two lines where there is no terminal.
constexpr std::chrono::seconds TimeBetweenLines{10};
/// Files after which the time that is left is guessed.
constexpr std::size_t FilesBeforeGuess = 4;
/// Longest list of what is left out that is told; all of it stands in the file.
constexpr std::size_t MostTold = 20;
constexpr const char* ReportName = "left-out.txt";

std::string Counted(std::size_t count, const std::string& one, const std::string& many)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

std::string DurationText(double seconds)
{
    if (seconds < 90)
        return Counted(static_cast<std::size_t>(std::ceil(seconds)), "second", "seconds");
    return Counted(static_cast<std::size_t>(std::ceil(seconds / 60)), "minute", "minutes");
}

/// Tells how far a build is.
class BuildReport {
public:
    void Tell(const BuildProgress& progress)
    {
        if (progress.files == 0)
            return;
        const Clock::time_point now = Clock::now();
        if (!openhost::ProgressLine::IsSeen() && now - told_ < TimeBetweenLines)
            return;
        told_ = now;
        std::string text = std::to_string(progress.done) + " of " + Counted(progress.files, "file", "files");
        if (progress.leftOut > 0)
            text += ", " + std::to_string(progress.leftOut) + " left out";
        const double seconds = std::chrono::duration<double>(now - begun_).count();
        // Time goes with the length of the files more than with their number.
        if (progress.done >= FilesBeforeGuess && progress.done < progress.files && progress.doneSize > 0)
            text += ", " +
                    DurationText(seconds * static_cast<double>(progress.size - progress.doneSize) /
                                 static_cast<double>(progress.doneSize)) +
                    " left";
        if (openhost::ProgressLine::IsSeen())
            line_.Tell(text);
        else if (progress.done > 0)
            std::cerr << text << std::endl;
    }
    void Clear() { line_.Clear(); }

private:
    Clock::time_point begun_ = Clock::now();
    Clock::time_point told_ = begun_;
    openhost::ProgressLine line_;
};

std::string LineOf(const SourceRemark& remark)
{
    return remark.name + ": " + remark.text + "\n";
}

void TellLeftOut(const BuildResult& result, const std::filesystem::path& root)
{
    const std::filesystem::path report = root / ReportName;
    std::error_code ignored;
    if (result.leftOut.empty() && result.remarks.empty()) {
        std::filesystem::remove(report, ignored);
        return;
    }
    std::string text;
    if (!result.leftOut.empty())
        text += "Left out:\n\n";
    for (const SourceRemark& remark : result.leftOut)
        text += LineOf(remark);
    if (!result.remarks.empty())
        text += std::string(text.empty() ? "" : "\n") + "Left out of items, or changed:\n\n";
    for (const SourceRemark& remark : result.remarks)
        text += LineOf(remark);
    openhost::ReplaceFile(report, text);

    for (std::size_t number = 0; number < std::min(result.leftOut.size(), MostTold); ++number)
        std::cerr << "left out: " << LineOf(result.leftOut[number]);
    if (result.leftOut.size() > MostTold)
        std::cerr << "and " << Counted(result.leftOut.size() - MostTold, "other", "others") << "\n";
    std::cerr << "All that was left out stands in " << report.string() << "\n";
}

} // namespace

void DescribeBuild(const openhost::Command& command, BuildArguments& arguments)
{
    command.Word("FOLDER", arguments.folder, "with STEP files and documents, also in folders below it").Required();
    command.Word("ROOT", arguments.root, "folder of the catalogue").Required();
    command.Number("--workers", "N", arguments.workers, 1, 256, "files that are read at the same time; one a core");
    command.Number("--seconds", "N", arguments.seconds, 1, 86400, "longest time for a file; 60 by default");
    command.Flag("--retry", arguments.retry, "reads files again that were left out before");
    command.Footer("Each file becomes an item: its category is the folder that it lies in. Only what is new or has\n"
                   "changed is read; a build that was stopped goes on with the next one.\n\n"
                   "Example: velmart-catalogue build parts items && velmart-catalogue serve --root items");
}

int Build(const BuildArguments& arguments, const std::filesystem::path& base)
{
    BuildOptions options{arguments.folder, arguments.root, base};
    options.workers = arguments.workers > 0 ? static_cast<std::size_t>(arguments.workers)
                                            : std::max(1U, std::thread::hardware_concurrency());
    options.retry = arguments.retry;
    options.limits.time = std::chrono::seconds(arguments.seconds);
    BuildReport report;
    CatalogueBuild build(options, [&](const BuildProgress& progress) { report.Tell(progress); });
    const openhost::InterruptionWatch watch([&] { build.Interrupt(); });
    const BuildResult result = build.Run();
    report.Clear();
    if (!result.isComplete) {
        std::cerr << "velmart-catalogue: the build was stopped; "
                  << Counted(result.made, "item is made", "items are made")
                  << ", and the next build goes on with the others\n";
        return 128 + openhost::Interruption::Signal();
    }
    TellLeftOut(result, arguments.root);
    if (result.items == 0)
        throw std::runtime_error("no file of " + arguments.folder + " became an item");
    std::cout << Counted(result.items, "item", "items") << " in " << arguments.root << ": " << result.made
              << " new or changed, " << result.removed << " removed\n";
    return openhost::StatusDone;
}

} // namespace catalogue
