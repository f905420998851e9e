#include "tests/journeys/FrontServer.h"

namespace openhost::testing {

void FrontServer::Start()
{
    const auto passOn = [this](const httplib::Request& request, httplib::Response& response) {
        PassOn(request, response);
    };
    Routes().Get(".*", passOn);
    Routes().Post(".*", passOn);
    server_.Start();
}

void FrontServer::PassOn(const httplib::Request& request, httplib::Response& response) const
{
    httplib::Client catalogue(address_);
    // The library has taken the form of an upload apart.
    httplib::MultipartFormDataItems form;
    for (const auto& [name, field] : request.files)
        form.push_back(field);
    const httplib::Result result =
        request.method == "POST" ? catalogue.Post(request.target, form) : catalogue.Get(request.target);
    if (!result) {
        response.status = 502;
        return;
    }
    response.status = result->status;
    response.set_content(result->body, result->get_header_value("Content-Type"));
}

} // namespace openhost::testing
