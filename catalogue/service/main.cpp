// velmart-catalogue: the catalogue service as a program.

#include "catalogue/service/CatalogueService.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <iostream>
#include <string>

#include <pthread.h>

namespace {

constexpr const char* Reference =
    R"(  GET /                  the catalogue's page, also as /categories
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
  redirect=URL       a redirection to URL; code chooses which (302))";

struct Arguments {
    int port = 0;
    std::string root;
    bool verbose = false;
};

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
    catalogue::CatalogueService service(arguments.root, log);
    service.Start(arguments.port);
    std::cout << "listening on " << service.GetAddress() << std::endl;

    int signal = 0;
    sigwait(&signals, &signal);
    // A second signal ends the program at once, whatever a client holds up.
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    service.Stop();
    return 0;
}

int Run(int count, char** values)
{
    CLI::App app("Serves a folder of catalogue items over HTTP on 127.0.0.1 until SIGTERM or SIGINT.",
                 "velmart-catalogue");
    Arguments arguments;
    app.set_help_flag("--help", "this text");
    app.set_version_flag("--version", "velmart-catalogue " VELMART_VERSION, "tell the version");
    app.add_option("--port", arguments.port, "port to listen on; 0 takes a free one")
        ->required()
        ->check(CLI::Range(0, 65535))
        ->type_name("N");
    app.add_option("--root", arguments.root,
                   "folder with index.json, items/ID.json, pictures/ID.png, files/NAME, page/NAME")
        ->required()
        ->type_name("DIR");
    app.add_flag("--verbose", arguments.verbose, "one line on standard error for each request");
    app.footer(Reference);
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string("velmart-catalogue: ") + error.what() + "\n";
    });
    try {
        app.parse(count, values);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return Serve(arguments);
}

} // namespace

int main(int count, char** values)
{
    try {
        return Run(count, values);
    } catch (const std::exception& error) {
        std::cerr << "velmart-catalogue: " << error.what() << "\n";
        return 1;
    }
}
