#include "openhost/conversion/ConvertDocument.h"

#include "openhost/conversion/ConversionRequest.h"

#include <sstream>
#include <utility>

namespace openhost {

namespace {

void Convert(GeometryProcess& process, GeometryJob job, const ConversionRequest& request,
             const std::function<void(const std::string& line)>& warn)
{
    std::string warnings;
    // A refusal names the document by itself.
    try {
        warnings = process.Run(job, request.Encode());
    } catch (const GeometryJobCrash& error) {
        throw GeometryJobCrash(request.document.string() + ": " + error.what());
    } catch (const GeometryJobTimeOut& error) {
        throw GeometryJobTimeOut(request.document.string() + ": " + error.what());
    }
    std::istringstream lines(warnings);
    for (std::string line; std::getline(lines, line);)
        warn(line);
}

} // namespace

DocumentConverter::DocumentConverter(const GeometryJobLimits& limits, std::filesystem::path program)
    : process_(std::move(program), limits)
{
}

void DocumentConverter::ExportStep(const std::filesystem::path& document, const std::filesystem::path& output,
                                   const std::function<void(const std::string& line)>& warn)
{
    Convert(process_, GeometryJob::Export, {document, output, {}}, warn);
}

void DocumentConverter::DrawPicture(const std::filesystem::path& document, const std::filesystem::path& output,
                                    PictureSize size, const std::function<void(const std::string& line)>& warn)
{
    Convert(process_, GeometryJob::Draw, {document, output, size}, warn);
}

} // namespace openhost
