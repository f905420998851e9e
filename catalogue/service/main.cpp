// velmart-catalogue: the catalogue service as a program, and what it has to offer.

#include "catalogue/service/BuildCommand.h"
#include "catalogue/service/CatalogueService.h"
#include "catalogue/service/ItemRequest.h"
#include "catalogue/service/ShapeSearch.h"

#include "openhost/commandline/CommandLine.h"

#include <csignal>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <string>

#include <pthread.h>

namespace {

constexpr const char* Reference =
    R"(The service answers

  GET /                  the catalogue's page, also as /categories
  GET /items             items, a page at a time, and how many there are of each choice:
                      word=A|B       one of these words, at the beginning of one of the
                                     item's; any number of times
                      category=C     of this category
                      material=M     of this material
                      size=N         longest edge from N millimetres to the next range:
                                     0, 10, 30, 100, 300, 1000
                      first=N        pass over N items
                      count=N        at most N items, 50 unless told, at most 200
  GET /items/ID/entry    what is known of an item
  GET /items/ID          the request of an item, as the catalogue page sends it
  GET /items/ID/picture  the picture of an item
  GET /items/ID/shape    its light representation
  GET /files/NAME        the download of a file
  GET /archive           an archive of generated documents:
                      entries=N      documents in all, at most 1,000,000
                      products=N     how many of them are products, in a tree
                      size=N         bytes of each part (256)
                      method=M       deflated (default) or stored
  POST /upload      takes a form with a field "file", a zip archive of at most 10 MiB with one
                    file *.lvr; answers {"data": {"query": QUERY}}
  GET /search       items by their likeness to the shape of query=QUERY, the closest first;
                    at most count=N of them, 100 unless told

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

Example: velmart-catalogue serve --root items --port 8080)";

struct Arguments {
    std::string root;
    int port = 0;
    bool verbose = false;
    std::string item;
    std::string base;
    std::string query;
    std::string journal;
    int most = 8;
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
    return openhost::StatusDone;
}

std::filesystem::path StoreOf(const Arguments& arguments)
{
    return std::filesystem::path(arguments.root) / catalogue::StoreName;
}

int List(const Arguments& arguments)
{
    const catalogue::ItemStore items(StoreOf(arguments));
    catalogue::ItemQuery query;
    for (query.count = catalogue::MaximumPageItems; query.first < items.Size(); query.first += query.count)
        for (const auto& item : items.Find(query).items)
            std::cout << std::left << std::setw(27) << item.value("id", "") << " " << item.value("title", "") << "\n";
    return openhost::StatusDone;
}

int Request(const Arguments& arguments)
{
    std::cout << catalogue::ReadDownloadMessage(arguments.root, arguments.item, arguments.base) << "\n";
    return openhost::StatusDone;
}

int Search(const Arguments& arguments)
{
    const std::string query = arguments.journal.empty() ? arguments.query : catalogue::ReadLastQuery(arguments.journal);
    const catalogue::ItemStore items(StoreOf(arguments));
    const catalogue::ShapeSearch search(items);
    int place = 0;
    for (const auto& item : search.Search(query, static_cast<std::size_t>(arguments.most))) {
        std::cout << std::right << std::setw(4) << ++place << ".  " << std::fixed << std::setprecision(3)
                  << item.value("score", 0.0) << "  " << std::left << std::setw(22) << item.value("id", "") << " "
                  << item.value("title", "") << "\n";
    }
    return openhost::StatusDone;
}

openhost::Command AddCommand(const openhost::CommandLine& line, const char* name, const char* description,
                             Arguments& arguments)
{
    const openhost::Command command = line.Add(name, description);
    command.Text("--root", "DIR", arguments.root,
                 "folder with items.sqlite, items/ID.json, pictures/ID.png, files/NAME, page/NAME;\n"
                 "otherwise ../items beside this program");
    return command;
}

int Run(int count, char** values)
{
    openhost::CommandLine line("velmart-catalogue", "Serves a folder of catalogue items, and tells what it offers");
    Arguments arguments;
    // Programs find what belongs to them above the folder that they lie in.
    arguments.root = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "items";
    const openhost::Command serve =
        AddCommand(line, "serve", "Serves the items over HTTP on 127.0.0.1 until SIGTERM or SIGINT", arguments);
    serve.Number("--port", "N", arguments.port, 0, 65535, "port to listen on; otherwise a free one");
    serve.Flag("--verbose", arguments.verbose, "one line on standard error for each request");
    serve.Footer(Reference);

    const openhost::Command list = AddCommand(line, "list", "Lists the items: identifier and title", arguments);
    list.Footer("Example: velmart-catalogue list --root items");

    const openhost::Command request =
        AddCommand(line, "request", "Prints the message by which the page asks for the download of an item", arguments);
    request.Word("ID", arguments.item, "the item").Required();
    request.Text("--base", "URL", arguments.base, "address of the service").Required();
    request.Footer("Example: velmart-catalogue request bolted-joint-m8 --root items --base http://127.0.0.1:8080");

    const openhost::Command search =
        AddCommand(line, "search", "Lists the items whose shapes are the most similar to that of a query", arguments);
    search.Word("QUERY", arguments.query, "what the service has answered to an upload");
    search.Text("--journal", "FILE", arguments.journal,
                "take the query that the module has handed to the page last in the session of this journal");
    search.Number("--most", "N", arguments.most, 1, 1000, "how many items; 8 by default");
    search.Footer("Example: velmart-catalogue search --root items --journal find-similar.jsonl");

    const openhost::Command build =
        line.Add("build", "Makes a catalogue of the STEP files and documents in a folder, or brings it up to date");
    catalogue::BuildArguments building;
    catalogue::DescribeBuild(build, building);

    if (const std::optional<int> status = line.Read(count, values))
        return *status;
    if (build.IsGiven())
        return catalogue::Build(building, arguments.root);
    if (serve.IsGiven())
        return Serve(arguments);
    if (list.IsGiven())
        return List(arguments);
    return request.IsGiven() ? Request(arguments) : Search(arguments);
}

} // namespace

int main(int count, char** values)
{
    return openhost::RunProgram("velmart-catalogue", [&] { return Run(count, values); });
}
