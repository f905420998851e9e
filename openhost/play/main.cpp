// openhost: plays sessions; shows, exports and draws documents; turns light representations into STL.

#include "openhost/documents/ShowDocument.h"
#include "openhost/exchange/StepExport.h"
#include "openhost/lvr/WriteStl.h"
#include "openhost/picture/RenderDocument.h"
#include "openhost/play/FreedMemory.h"
#include "openhost/play/JournalWriter.h"
#include "openhost/play/SessionAccount.h"
#include "openhost/play/SessionFile.h"
#include "openhost/play/SessionPlayer.h"

#include <CLI/CLI.hpp>

#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

constexpr int Done = 0;
constexpr int Failed = 1;
constexpr int BadUse = 2;

struct PlayArguments {
    std::string session;
    std::string journal; ///< a file; empty for standard output
    bool account = false;
    bool panel = false;
    std::string module;                    ///< empty for the one beside this program
    std::vector<std::string> placeholders; ///< NAME=VALUE
};

openhost::Placeholders ToPlaceholders(const std::vector<std::string>& pairs)
{
    openhost::Placeholders placeholders;
    for (const std::string& pair : pairs) {
        const std::size_t sign = pair.find('=');
        placeholders[pair.substr(0, sign)] = pair.substr(sign + 1);
    }
    return placeholders;
}

/// Folder above that of this program, in which `lib` and `installation` lie.
std::filesystem::path FindPrefix()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

std::filesystem::path FindModule(const std::string& given)
{
    if (!given.empty())
        return std::filesystem::absolute(given);
    const std::filesystem::path folder = FindPrefix() / "lib";
    for (const char* name : {"ZALVelmartIntegration.so", "libZALVelmartIntegration.so"})
        if (std::filesystem::exists(folder / name))
            return folder / name;
    return folder / "ZALVelmartIntegration.so";
}

/// The desktop of the library beside the program, which alone knows of windows and browser.
std::unique_ptr<openhost::Desktop> MakeDesktop()
{
    const std::string file = (FindPrefix() / "lib" / "libopenhost_desktop.so").string();
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library)
        throw std::runtime_error(std::string("there is no panel: ") + dlerror());
    const auto make = reinterpret_cast<openhost::MakeDesktopFunction>(dlsym(library, openhost::MakeDesktopName));
    if (!make)
        throw std::runtime_error(file + ": no " + openhost::MakeDesktopName);
    std::string reason;
    std::unique_ptr<openhost::Desktop> desktop(make(reason));
    if (!desktop)
        throw std::runtime_error("there is no panel: " + reason);
    return desktop;
}

int Play(const PlayArguments& arguments)
{
    openhost::Session session;
    try {
        session = openhost::ReadSessionFile(arguments.session, ToPlaceholders(arguments.placeholders));
    } catch (const openhost::LocatedError& error) {
        std::cerr << arguments.session << ":" << error.Line() << ": " << error.what() << "\n";
        return BadUse;
    }
    std::optional<openhost::JournalWriter> journal;
    if (!arguments.journal.empty())
        journal.emplace(std::filesystem::path(arguments.journal));
    else if (!arguments.account)
        journal.emplace(std::cout);
    std::optional<openhost::SessionAccount> account;
    if (arguments.account)
        account.emplace(std::cout);

    const auto receive = [&](const nlohmann::ordered_json& event) {
        if (journal)
            journal->Write(event);
        if (account)
            account->Receive(event);
    };
    openhost::KeepFreedMemory();
    const std::unique_ptr<openhost::Desktop> desktop = arguments.panel ? MakeDesktop() : nullptr;
    openhost::SessionPlayer player(
        session, {FindModule(arguments.module), FindPrefix() / "installation", desktop.get()}, receive);
    const int status = player.Play();
    if (account)
        account->Finish();
    if (journal && !journal->IsComplete())
        throw std::runtime_error("the journal could not be written");
    return status;
}

void Warn(const std::string& line)
{
    std::cerr << "openhost: " << line << "\n";
}

/// Goes on in a copy of this process, whose end is that of this one: the solid kernel may crash on the geometry of
/// `document`, which is then told like any other failure.
void GoOnApart(const std::string& document)
{
    const pid_t copy = fork();
    if (copy < 0)
        throw std::system_error(errno, std::generic_category(), "no process");
    if (copy == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        return;
    }
    int status = 0;
    while (waitpid(copy, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status))
        std::exit(WEXITSTATUS(status));
    throw std::runtime_error(document + ": the solid kernel has crashed");
}

// ---------------------------------------------------------------------------------------------
// The command line

/// How many letters must be put in, left out or replaced to make one word of the other.
std::size_t Distance(const std::string& from, const std::string& to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

/// The command or option of `app` that somebody may have meant who wrote `word`; empty when there is none.
std::string Suggest(const CLI::App& app, const std::string& word)
{
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    for (const CLI::Option* option : app.get_options())
        if (option->nonpositional())
            names.push_back(option->get_name());
    const auto nearest = std::ranges::min_element(names, {}, [&](const auto& name) { return Distance(word, name); });
    constexpr std::size_t mostSlips = 2;
    return nearest != names.end() && Distance(word, *nearest) <= mostSlips ? *nearest : "";
}

/// What is told of a wrong use of `app` or of the command of it that was given.
std::string Complain(const CLI::App* app, const CLI::Error& error)
{
    const CLI::App& used = app->get_subcommands().empty() ? *app : *app->get_subcommands().front();
    std::string text = "openhost: ";
    const std::vector<std::string> unknown = app->remaining(true);
    text += unknown.empty() ? error.what() : "unexpected: " + unknown.front();
    if (const std::string meant = unknown.empty() ? "" : Suggest(used, unknown.front()); !meant.empty())
        text += " (did you mean " + meant + "?)";
    return text + "; openhost" + (&used == app ? "" : " " + used.get_name()) + " --help tells how it is used\n";
}

CLI::App* AddPlay(CLI::App& app, PlayArguments& arguments)
{
    CLI::App* play = app.add_subcommand("play", "Plays a session without a display");
    play->add_option("SESSION.json", arguments.session, "the session")->type_name("")->required();
    play->add_option("--journal", arguments.journal, "write the journal to FILE, not to standard output")
        ->type_name("FILE");
    play->add_flag("--account", arguments.account,
                   "tell on standard output what happens, for a reader; the journal\n"
                   "is written only when --journal names its file");
    play->add_option("--set", arguments.placeholders, "value of the placeholder ${NAME} in the session; any number")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->check([](const std::string& pair) {
            return pair.find('=') == std::string::npos || pair.front() == '=' ? "needs NAME=VALUE" : "";
        });
    play->add_flag("--panel", arguments.panel,
                   "show the page of the panel in a real browser, in a window when there\n"
                   "is a display; the window then stays open until the user closes it");
    play->add_option("--module", arguments.module,
                     "the module's shared library; otherwise ../lib/ZALVelmartIntegration.so\n"
                     "or ../lib/libZALVelmartIntegration.so beside this program")
        ->type_name("FILE")
        ->envname("OPENHOST_MODULE");
    play->footer("Exit status: 0 every step is done; 1 a step has failed, the last line of the journal says which;\n"
                 "2 the file is not a valid session.\n\n"
                 "Example: openhost play bolt.json --account --set BASE=http://127.0.0.1:8080");
    return play;
}

struct Files {
    std::string document;
    std::string other; ///< a second document, or what is written
};

CLI::App* AddShow(CLI::App& app, Files& files)
{
    CLI::App* show = app.add_subcommand("show", "Prints what a document holds, or two side by side");
    show->add_option("FILE", files.document, "the document")->type_name("")->required();
    show->add_option("OTHER", files.other, "another one, shown beside it")->type_name("");
    show->footer("Prints the tree, the properties, parameters, features and cameras, and the link table.\n"
                 "Exit status: 0, or 1 when a file is not a document.\n\n"
                 "Example: openhost show bracket.ZALProduct");
    return show;
}

/// What export and picture have in common.
constexpr const char* OfWritten =
    "Documents that are missing are told on standard error and left out. Exit status: 0, or 1 when a document is\n"
    "damaged or part of itself, or the file cannot be written, which is then as it was.\n\n";

CLI::App* AddExport(CLI::App& app, Files& files)
{
    CLI::App* exported = app.add_subcommand("export", "Writes a document with everything under it as STEP");
    exported->add_option("FILE", files.document, "the document")->type_name("")->required();
    exported->add_option("OUT.step", files.other, "the file to write")->type_name("")->required();
    exported->footer(std::string(OfWritten) + "Example: openhost export bracket.ZALProduct bracket.step");
    return exported;
}

CLI::App* AddPicture(CLI::App& app, Files& files, openhost::PictureSize& size)
{
    CLI::App* picture = app.add_subcommand("picture", "Draws a document with everything under it as PNG");
    picture->add_option("FILE", files.document, "the document")->type_name("")->required();
    picture->add_option("OUT.png", files.other, "the file to write")->type_name("")->required();
    const auto readSize = [&size](const std::string& text) {
        try {
            size = openhost::PictureSize::Parse(text);
        } catch (const openhost::PictureError& error) {
            throw CLI::ValidationError("--size", error.what());
        }
    };
    picture->add_option_function<std::string>("--size", readSize, "in pixels, each from 1 to 8192; 800x600 by default")
        ->type_name("WIDTHxHEIGHT");
    picture->footer(std::string(OfWritten) + "Example: openhost picture bracket.ZALProduct bracket.png --size 400x300");
    return picture;
}

CLI::App* AddStl(CLI::App& app, Files& files)
{
    CLI::App* stl = app.add_subcommand("stl", "Writes the triangles of a light representation as binary STL");
    stl->add_option("FILE.lvr", files.document, "the light representation")->type_name("")->required();
    stl->add_option("OUT.stl", files.other, "the file to write, in millimetres")->type_name("")->required();
    stl->footer("Exit status: 0, or 1 when the file is none or the other cannot be written.\n\n"
                "Example: openhost stl bolt.lvr bolt.stl");
    return stl;
}

int Run(int count, char** values)
{
    CLI::App app("Plays sessions; shows, exports and draws documents; turns light representations into STL.",
                 "openhost");
    app.set_help_flag("--help", "tell how it is used");
    app.set_version_flag("--version", "openhost " VELMART_VERSION, "tell the version");
    app.require_subcommand(1);
    app.failure_message(Complain);
    app.footer("openhost COMMAND --help tells more about a command.");

    PlayArguments arguments;
    Files files;
    openhost::PictureSize size;
    const CLI::App* const play = AddPlay(app, arguments);
    const CLI::App* const show = AddShow(app, files);
    const CLI::App* const exported = AddExport(app, files);
    const CLI::App* const picture = AddPicture(app, files, size);
    AddStl(app, files);
    try {
        app.parse(count, values);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Done : BadUse;
    }

    if (play->parsed())
        return Play(arguments);
    if (show->parsed() && files.other.empty()) {
        openhost::ShowDocument(files.document, std::cout);
    } else if (show->parsed()) {
        openhost::ShowDocuments(files.document, files.other, std::cout);
    } else if (exported->parsed()) {
        GoOnApart(files.document);
        openhost::ExportStep(files.document, files.other, Warn);
    } else if (picture->parsed()) {
        GoOnApart(files.document);
        openhost::DrawDocument(files.document, files.other, size, Warn);
    } else {
        openhost::WriteStl(files.other, openhost::ReadLvr(files.document));
    }
    return Done;
}

} // namespace

int main(int count, char** values)
{
    try {
        return Run(count, values);
    } catch (const std::exception& error) {
        std::cerr << "openhost: " << error.what() << "\n";
        return Failed;
    }
}
