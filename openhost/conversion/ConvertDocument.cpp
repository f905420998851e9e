#include "openhost/conversion/ConvertDocument.h"

#include "openhost/conversion/ConversionRequest.h"

#include <sstream>

namespace openhost {

namespace {

void Tell(const std::string& warnings, const std::function<void(const std::string& line)>& warn)
{
    std::istringstream lines(warnings);
    for (std::string line; std::getline(lines, line);)
        warn(line);
}

} // namespace

DocumentConverter::DocumentConverter(const GeometryJobLimits& limits)
    : process_(FindProgramBeside("openhost-conversion"), limits)
{
}

void DocumentConverter::ExportStep(const std::filesystem::path& document, const std::filesystem::path& output,
                                   const std::function<void(const std::string& line)>& warn)
{
    Tell(process_.Run(GeometryJob::Export, ConversionRequest{document, output, {}}.Encode()), warn);
}

void DocumentConverter::DrawPicture(const std::filesystem::path& document, const std::filesystem::path& output,
                                    PictureSize size, const std::function<void(const std::string& line)>& warn)
{
    Tell(process_.Run(GeometryJob::Draw, ConversionRequest{document, output, size}.Encode()), warn);
}

} // namespace openhost
