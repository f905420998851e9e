#include "openhost/conversion/ConvertDocument.h"

#include "openhost/conversion/ConversionRequest.h"

#include <charconv>
#include <sstream>
#include <utility>

namespace openhost {

namespace {

std::string Run(GeometryProcess& process, GeometryJob job, const ConversionRequest& request,
                const GeometryProcess::Progress& tell = {})
{
    // A refusal names the document by itself.
    try {
        return process.Run(job, request.Encode(), tell);
    } catch (const GeometryJobCrash& error) {
        throw GeometryJobCrash(request.document.string() + ": " + error.what());
    } catch (const GeometryJobTimeOut& error) {
        throw GeometryJobTimeOut(request.document.string() + ": " + error.what());
    }
}

void TellLines(std::istream& lines, const std::function<void(const std::string& line)>& warn)
{
    for (std::string line; std::getline(lines, line);)
        warn(line);
}

void Convert(GeometryProcess& process, GeometryJob job, const ConversionRequest& request,
             const std::function<void(const std::string& line)>& warn)
{
    std::istringstream warnings(Run(process, job, request));
    TellLines(warnings, warn);
}

} // namespace

DocumentConverter::DocumentConverter(const GeometryJobLimits& limits, ConversionPrograms programs)
    : step_(std::move(programs.step), limits), pictures_(std::move(programs.pictures), limits)
{
}

void DocumentConverter::Interrupt()
{
    step_.Interrupt();
    pictures_.Interrupt();
}

void DocumentConverter::ExportStep(const std::filesystem::path& document, const std::filesystem::path& output,
                                   const std::string& author, const std::string& organization,
                                   const std::function<void(const std::string& line)>& warn)
{
    Convert(step_, GeometryJob::Export, {document, output, {}, author, organization}, warn);
}

std::filesystem::path DocumentConverter::ImportStep(const std::filesystem::path& file,
                                                    const std::filesystem::path& folder, ReplaceFiles replace,
                                                    const std::function<void(const std::string& line)>& warn,
                                                    const std::function<void(int percent)>& tell)
{
    ImportedFiles files(folder);
    std::istringstream answer(
        Run(step_, GeometryJob::Import, {file, files.Folder(), {}, {}, {}}, [&](const std::string& progress) {
            int percent = 0;
            std::from_chars(progress.data(), progress.data() + progress.size(), percent);
            tell(percent);
        }));
    std::string root;
    std::getline(answer, root);
    files.Place(replace);
    TellLines(answer, warn);
    return folder / root;
}

void DocumentConverter::DrawPicture(const std::filesystem::path& document, const std::filesystem::path& output,
                                    PictureSize size, const std::function<void(const std::string& line)>& warn)
{
    Convert(pictures_, GeometryJob::Draw, {document, output, size, {}, {}}, warn);
}

} // namespace openhost
