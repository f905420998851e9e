// openhost-picture: makes pictures of documents. A host starts it and hands it jobs over a socket.

#include "openhost/conversion/ConversionRequest.h"
#include "openhost/geometry_process/AnswerJobs.h"
#include "openhost/picture/RenderDocument.h"

#include <cstdlib>
#include <string>

namespace {

std::string Draw(const openhost::ConversionRequest& request)
{
    std::string warnings;
    openhost::DrawDocument(request.document, request.output, request.size,
                           [&](const std::string& line) { warnings += line + '\n'; });
    return warnings;
}

} // namespace

int main()
{
    openhost::AnswerJobs([](char, const std::string& bytes) { return openhost::AnswerRequest(bytes, Draw); });
    return EXIT_SUCCESS;
}
