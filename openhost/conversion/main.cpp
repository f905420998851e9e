// openhost-conversion: makes STEP files of documents, and documents of STEP files. A host starts it and
// hands it jobs over a socket.

#include "openhost/conversion/ConversionRequest.h"
#include "openhost/exchange/StepExport.h"
#include "openhost/exchange/StepImport.h"
#include "openhost/geometry_process/AnswerJobs.h"
#include "openhost/geometry_process/GeometryJob.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

/// Gives the warnings, a line each, of an import after the name of the root.
std::string Convert(openhost::GeometryJob job, const openhost::ConversionRequest& request)
{
    std::string warnings;
    const auto warn = [&](const std::string& line) { warnings += line + '\n'; };
    switch (job) {
    case openhost::GeometryJob::Export:
        openhost::ExportStep(request.document, request.output, {request.author, request.organization}, warn);
        return warnings;
    case openhost::GeometryJob::Import: {
        const std::string root = openhost::ImportStep(request.document, request.output, warn, [](int percent) {
            openhost::TellProgress(std::to_string(percent));
        });
        return root + '\n' + warnings;
    }
    default:
        throw std::invalid_argument("the job is unknown");
    }
}

} // namespace

int main()
{
    openhost::AnswerJobs([](char job, const std::string& bytes) {
        return openhost::AnswerRequest(bytes, [job](const openhost::ConversionRequest& request) {
            return Convert(static_cast<openhost::GeometryJob>(job), request);
        });
    });
    return EXIT_SUCCESS;
}
