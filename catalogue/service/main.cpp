// velmart-catalogue: the catalogue service as a program.

#include "catalogue/service/CatalogueService.h"

#include <charconv>
#include <csignal>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>

#include <pthread.h>

namespace {

constexpr const char* Usage =
    R"(Usage: velmart-catalogue --port N --root DIR [--verbose]

Serves a folder of catalogue items over HTTP on 127.0.0.1 until SIGTERM or SIGINT.

  --port N     port to listen on; 0 takes a free one
  --root DIR   folder with index.json, items/ID.json, pictures/ID.png, files/NAME, page/NAME
  --verbose    one line on standard error for each request
  --help       this text

  GET /                  the catalogue's page, also as /categories
  GET /items             the index
  GET /items/ID          the request of an item, as the catalogue page sends it
  GET /items/ID/picture  the picture of an item
  GET /files/NAME        the download of a file
  GET /archive           an archive of generated documents:
                      entries=N      documents in all, at most 1,000,000
                      products=N     how many of them are products, in a tree
                      size=N         bytes of each part (256)
                      method=M       deflated (default) or stored
  POST /upload      takes a form with a field "file", a zip archive of at most 10 MiB with one
                    file *.lvr; answers {"data": {"query": QUERY}}
  GET /search       all items by their likeness to the shape of query=QUERY

Parameters of /files/NAME and /archive choose the form of the reply:
  disposition=F      attachment, inline, none, unquoted, late (after another parameter),
                     extended (filename*=), custom (the text of filename as it stands)
  filename=TEXT      name in the disposition
  type=TEXT          content type
  code=N             HTTP code, 200 or 300 to 599
  body=B             file, json or text; text is what an error code has by default
  empty=1            no body
  length=none        no announced length, the end of the connection ends the body
  chunked=1          chunked transfer
  cut=N              the connection ends after N bytes of the body
  slow=N             N bytes a second
  piece=N&pause=MS   MS milliseconds between pieces of N bytes
  redirect=N         N redirections before the reply
  redirect=URL       a redirection to URL; code chooses which (302)
)";

struct Arguments {
    std::optional<int> port;
    std::optional<std::string> root;
    bool verbose = false;
    bool help = false;
};

/// Reads the arguments; throws std::runtime_error with what is wrong.
Arguments Parse(int count, char** values)
{
    Arguments arguments;
    const auto next = [&](int& index) -> std::string {
        if (index + 1 >= count)
            throw std::runtime_error(std::string(values[index]) + " needs a value");
        return values[++index];
    };
    for (int index = 1; index < count; ++index) {
        const std::string name = values[index];
        if (name == "--help") {
            arguments.help = true;
        } else if (name == "--verbose") {
            arguments.verbose = true;
        } else if (name == "--root") {
            arguments.root = next(index);
        } else if (name == "--port") {
            const std::string value = next(index);
            int port = -1;
            const auto [stop, error] = std::from_chars(value.data(), value.data() + value.size(), port);
            if (error != std::errc() || stop != value.data() + value.size() || port < 0 || port > 65535)
                throw std::runtime_error("--port needs a number from 0 to 65535");
            arguments.port = port;
        } else {
            throw std::runtime_error("unknown argument " + name);
        }
    }
    if (!arguments.help && (!arguments.port || !arguments.root))
        throw std::runtime_error("--port and --root must be given");
    return arguments;
}

int Serve(const Arguments& arguments)
{
    // Blocked before the service starts its threads, so that the signals reach sigwait alone.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    catalogue::CatalogueService::Log log;
    if (arguments.verbose)
        log = [](const std::string& line) { std::cerr << line + "\n" << std::flush; };
    catalogue::CatalogueService service(*arguments.root, log);
    service.Start(*arguments.port);
    std::cout << "listening on " << service.GetAddress() << std::endl;

    int signal = 0;
    sigwait(&signals, &signal);
    // A second signal ends the program at once, whatever a client holds up.
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    service.Stop();
    return 0;
}

} // namespace

int main(int count, char** values)
{
    try {
        const Arguments arguments = Parse(count, values);
        if (arguments.help) {
            std::cout << Usage;
            return 0;
        }
        return Serve(arguments);
    } catch (const std::exception& error) {
        std::cerr << "velmart-catalogue: " << error.what() << "\n";
        return 1;
    }
}
