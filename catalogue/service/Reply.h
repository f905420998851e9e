// Writes a reply in the form that its request asks for.
#pragma once

#include "catalogue/service/Body.h"
#include "catalogue/service/ReplyOptions.h"
#include "catalogue/service/StopSignal.h"

#include <httplib.h>

#include <memory>
#include <string>

namespace catalogue {

/// What is offered for download.
struct Download {
    std::shared_ptr<Body> body;
    std::string fileName;    ///< plain name, with its extension
    std::string contentType; ///< when the request names none
    bool attached = false;   ///< whether the usual reply carries a disposition
};

/// Fills `response` with `download` in the form of `options`. `stop` outlives the service's requests.
void WriteReply(const ReplyOptions& options, Download download, const httplib::Request& request,
                httplib::Response& response, StopSignal& stop);

/// Fills `response` with an error: an object with "error" and "code".
void WriteError(httplib::Response& response, int code, const std::string& reason);

} // namespace catalogue
