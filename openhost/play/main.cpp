// openhost: plays sessions, in a window too; shows, exports, draws and imports documents; turns light representations
// into STL.

#include "openhost/cad/MeasureSolids.h"
#include "openhost/commandline/CommandLine.h"
#include "openhost/conversion/ConvertDocument.h"
#include "openhost/documents/ShowDocument.h"
#include "openhost/files/AtomicFile.h"
#include "openhost/loop/Interruption.h"
#include "openhost/lvr/WriteStl.h"
#include "openhost/play/CatalogueProcess.h"
#include "openhost/play/FreedMemory.h"
#include "openhost/play/ImportFile.h"
#include "openhost/play/JournalWriter.h"
#include "openhost/play/MemoryReserve.h"
#include "openhost/play/SessionAccount.h"
#include "openhost/play/SessionFile.h"
#include "openhost/play/SessionPlayer.h"
#include "openhost/play/SessionReport.h"
#include "openhost/play/VerboseAccount.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// The catalogue's page as the host shows it, below the catalogue's address.
constexpr const char* CataloguePage = "/categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true";

/// Languages by their codes.
constexpr std::pair<const char*, const char*> Languages[] = {{"en", "English"}, {"de", "German"}};

struct PlayArguments {
    std::string session;
    std::string journal; ///< a file; empty for standard output
    bool account = false;
    bool verbose = false;
    std::string report; ///< a file; empty for none
    std::string record; ///< a file; empty for none
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

/// Whether standard output is a terminal whose user has not asked for text without colours (https://no-color.org).
bool ShowsColours()
{
    const char* refusal = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) == 1 && (!refusal || *refusal == '\0');
}

/// Throws when no `kind` can take the place of `file`.
void CheckOutputFile(const std::string& kind, const std::filesystem::path& file)
{
    const std::filesystem::path folder = file.parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder))
        throw std::runtime_error("the " + kind + " cannot be written: there is no folder " + folder.string());
    if (std::filesystem::exists(file) && !std::filesystem::is_regular_file(file))
        throw std::runtime_error("the " + kind + " cannot be written: " + file.string() + " is not a file");
}

/// A picture for the report, which need not be as large as one of its own.
void Draw(const std::filesystem::path& document, const std::filesystem::path& picture)
{
    constexpr std::chrono::seconds limit(20);
    if (openhost::Interruption::Signal() != 0)
        throw std::runtime_error("the program was asked to end");
    openhost::DocumentConverter({.time = limit}).DrawPicture(document, picture, {640, 480}, [](const std::string&) {});
}

/// Plays `session` with the journal, account, report and record that the arguments ask for.
int PlaySession(const openhost::Session& session, const PlayArguments& arguments,
                openhost::SessionPlayer::Places places)
{
    std::optional<openhost::JournalWriter> journal;
    if (!arguments.journal.empty())
        journal.emplace(std::filesystem::path(arguments.journal));
    else if (!arguments.account)
        journal.emplace(std::cout);
    std::optional<openhost::SessionAccount> account;
    std::optional<openhost::VerboseAccount> verboseAccount;
    if (arguments.account && arguments.verbose)
        verboseAccount.emplace(std::cout);
    else if (arguments.account)
        account.emplace(std::cout, ShowsColours());

    std::optional<openhost::SessionReport> report;
    if (!arguments.report.empty()) {
        CheckOutputFile("report", arguments.report);
        report.emplace(std::filesystem::path(arguments.session).filename().string(), std::time(nullptr));
    }
    if (!arguments.record.empty())
        CheckOutputFile("record", arguments.record);

    const auto receive = [&](const nlohmann::ordered_json& event) {
        const auto now = std::chrono::steady_clock::now();
        if (journal)
            journal->Write(event);
        if (account)
            account->Receive(event, now);
        if (verboseAccount)
            verboseAccount->Receive(event);
        if (report)
            report->Receive(event, now);
    };
    openhost::KeepFreedMemory();
    openhost::Interruption::Catch();
    places.module = FindModule(arguments.module);
    places.installation = FindPrefix() / "installation";
    places.record = arguments.record;
    openhost::SessionPlayer player(session, std::move(places), receive);
    const int status = player.Play();
    if (account)
        account->Finish();
    if (verboseAccount)
        verboseAccount->Finish();
    if (report)
        openhost::WriteFileAtomically(arguments.report, report->Page(Draw));
    if (journal && !journal->IsComplete())
        throw std::runtime_error("the journal could not be written");
    if (arguments.account && !std::cout.flush())
        throw std::runtime_error("the account could not be written");
    return status;
}

int Play(const PlayArguments& arguments)
{
    if (arguments.verbose && !arguments.account) {
        std::cerr << "openhost: --verbose goes with --account\n";
        return openhost::StatusBadUse;
    }
    openhost::Session session;
    try {
        session = openhost::ReadSessionFile(arguments.session, ToPlaceholders(arguments.placeholders));
    } catch (const openhost::LocatedError& error) {
        std::cerr << arguments.session << ":" << error.Line() << ": " << error.what() << "\n";
        return openhost::StatusBadUse;
    }
    const std::unique_ptr<openhost::Desktop> desktop = arguments.panel ? MakeDesktop() : nullptr;
    return PlaySession(session, arguments, {.desktop = desktop.get()});
}

// ---------------------------------------------------------------------------------------------
// The window

struct WindowArguments {
    std::vector<std::string> documents;
    std::string catalogue; ///< address; empty for one of the program's own
    std::string folder;    ///< of downloads; empty for the one in the settings
    std::string language;  ///< code; empty for the user's
    PlayArguments play;
};

/// Where the settings of the host stay from run to run.
std::filesystem::path SettingsFile()
{
    const char* configured = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    const std::filesystem::path folder = configured && *configured == '/'
                                             ? std::filesystem::path(configured)
                                             : std::filesystem::path(home ? home : "/") / ".config";
    std::filesystem::create_directories(folder / "openhost");
    return folder / "openhost" / "settings.json";
}

/// The session of a window that opens: a page of the catalogue, and nothing done yet.
openhost::Session MakeWindowSession(const WindowArguments& arguments, const std::string& catalogue)
{
    nlohmann::ordered_json session = {{"steps", nlohmann::json::array()}};
    if (!arguments.folder.empty()) {
        std::filesystem::create_directories(arguments.folder);
        session["settings"] = {{"DownloadLocation", "${PARTS}"}, {"DoNotRemindDownloadLocation", true}};
    } else {
        session["settingsFile"] = SettingsFile().string();
    }
    if (!catalogue.empty()) {
        session["environment"] = {{"ZAL_MERIDIADIALOG_VLURL_CHECK", "${BASE}/categories"}, {"VL_Test_Url", "${BASE}"}};
        session["steps"] = {{{"page", "${BASE}" + std::string(CataloguePage)}}};
    }
    openhost::Placeholders given;
    if (!catalogue.empty())
        given["BASE"] = catalogue;
    if (!arguments.folder.empty())
        given["PARTS"] = std::filesystem::canonical(arguments.folder).string();
    return openhost::ParseSession(session.dump(), std::filesystem::current_path(), given);
}

int ShowWindow(WindowArguments arguments)
{
    const std::unique_ptr<openhost::Desktop> desktop = MakeDesktop();
    if (!desktop->HasDisplay())
        throw std::runtime_error("a window needs a display: neither DISPLAY nor WAYLAND_DISPLAY is set");
    std::optional<openhost::CatalogueProcess> own;
    if (arguments.catalogue.empty())
        own.emplace(openhost::FindProgramBeside("velmart-catalogue"));
    const std::string catalogue = own ? own->Address() : arguments.catalogue;
    const openhost::Session session = MakeWindowSession(arguments, catalogue);
    std::string language;
    for (const auto& [code, name] : Languages)
        if (arguments.language == code)
            language = name;
    std::vector<std::filesystem::path> documents;
    for (const std::string& document : arguments.documents)
        documents.push_back(std::filesystem::absolute(document));
    if (arguments.play.journal.empty())
        arguments.play.journal = "/dev/null";
    return PlaySession(session, arguments.play,
                       {.desktop = desktop.get(),
                        .home = catalogue.empty() ? "" : catalogue + CataloguePage,
                        .language = language,
                        .documents = documents});
}

void Warn(const std::string& line)
{
    std::cerr << "openhost: " << line << "\n";
}

// ---------------------------------------------------------------------------------------------
// The command line

openhost::Command AddPlay(const openhost::CommandLine& line, PlayArguments& arguments)
{
    const openhost::Command play = line.Add("play", "Plays a session without a display");
    play.Word("SESSION.json", arguments.session, "the session").Required();
    play.Text("--journal", "FILE", arguments.journal, "write the journal to FILE, not to standard output");
    play.Flag("--account", arguments.account,
              "tell on standard output what happens, for a reader; the journal\n"
              "is written only when --journal names its file");
    play.Text("--report", "FILE", arguments.report, "write what happened as one page of HTML to FILE");
    play.Flag("--verbose", arguments.verbose, "with --account: tell everything, in the names of the module");
    play.Text("--record", "FILE", arguments.record,
              "write what is done as a session to FILE, which plays without a display");
    play.Texts("--set", "NAME=VALUE", arguments.placeholders,
               "value of the placeholder ${NAME} in the session; any number")
        .Check([](const std::string& pair) {
            return pair.find('=') == std::string::npos || pair.front() == '=' ? "needs NAME=VALUE" : "";
        });
    play.Flag("--panel", arguments.panel,
              "show the page of the panel in a real browser; with a display in the\n"
              "main window, which then stays open until the user closes it");
    play.Text("--module", "FILE", arguments.module,
              "the module's shared library; otherwise ../lib/ZALVelmartIntegration.so\n"
              "or ../lib/libZALVelmartIntegration.so beside this program")
        .OrFromEnvironment("OPENHOST_MODULE");
    play.Footer("Exit status: 0 every step is done; 1 a step has failed, the last line of the journal says which;\n"
                "2 the file is not a valid session.\n\n"
                "Example: openhost play bolt.json --account --set BASE=http://127.0.0.1:8080");
    return play;
}

openhost::Command AddDesktop(const openhost::CommandLine& line, WindowArguments& arguments)
{
    const openhost::Command desktop = line.Add("desktop", "Opens the window in which everything can be done");
    desktop.Words("DOCUMENT", arguments.documents, "documents to open; any number");
    desktop.Text("--catalogue", "ADDRESS", arguments.catalogue,
                 "the catalogue, such as http://127.0.0.1:8080; otherwise one is started\n"
                 "beside the window and ends with it");
    desktop.Text("--folder", "DIR", arguments.folder,
                 "where downloads go, without a question; otherwise as the options say");
    desktop.Text("--language", "CODE", arguments.language, "en or de; otherwise the one used last, or the system's")
        .Check([](const std::string& code) { return code == "en" || code == "de" ? "" : "is en or de"; });
    desktop.Text("--record", "FILE", arguments.play.record,
                 "write what is done as a session to FILE, which plays without a display");
    desktop.Text("--journal", "FILE", arguments.play.journal, "write the journal to FILE");
    desktop.Text("--report", "FILE", arguments.play.report, "write what happened as one page of HTML to FILE");
    desktop.Text("--module", "FILE", arguments.play.module, "the module's shared library, as for play")
        .OrFromEnvironment("OPENHOST_MODULE");
    desktop.Footer("Exit status: 0 the window was closed; 1 it could not be opened.\n\n"
                   "Example: openhost desktop bracket.ZALProduct --folder parts --record done.json");
    return desktop;
}

struct Files {
    std::string document;
    std::string other; ///< a second document, or what is written
};

openhost::Command AddShow(const openhost::CommandLine& line, Files& files)
{
    const openhost::Command show = line.Add("show", "Prints what a document holds, or two side by side");
    show.Word("FILE", files.document, "the document").Required();
    show.Word("OTHER", files.other, "another one, shown beside it");
    show.Footer("Prints the tree, the properties, parameters, features and cameras, and the link table.\n"
                "Exit status: 0, or 1 when a file is not a document.\n\n"
                "Example: openhost show bracket.ZALProduct");
    return show;
}

/// The name of the user: in full, otherwise the one that he logs in by.
std::string UserName()
{
    const passwd* user = getpwuid(geteuid());
    if (!user)
        return {};
    const std::string name = user->pw_gecos ? user->pw_gecos : "";
    // Room and telephone follow.
    const std::string inFull = name.substr(0, name.find(','));
    return inFull.empty() ? user->pw_name : inFull;
}

/// Longest time that is given to the solid kernel, in seconds.
constexpr int MaximumSeconds = 86'400;

/// What export and picture have in common. Returns their last paragraph but one.
std::string AddConversion(const openhost::Command& command, int& seconds)
{
    command.Number("--seconds", "N", seconds, 1, MaximumSeconds, "how long it may take; 60 by default");
    return "Documents that are missing are told on standard error and left out. Exit status: 0, or 1 when a document\n"
           "is damaged or part of itself, takes too long or too much memory, or the file cannot be written, which is\n"
           "then as it was.\n\n";
}

/// Who stands in the header of a STEP file.
struct StepAuthor {
    std::string name = UserName();
    std::string organization;
};

openhost::Command AddExport(const openhost::CommandLine& line, Files& files, StepAuthor& author, int& seconds)
{
    const openhost::Command exported = line.Add("export", "Writes a document with everything under it as STEP");
    exported.Word("FILE", files.document, "the document").Required();
    exported.Word("OUT.step", files.other, "the file to write").Required();
    exported.Text("--author", "NAME", author.name, "who stands as the author in the file; your name by default");
    exported.Text("--organization", "NAME", author.organization, "where the author belongs; nothing by default");
    exported.Footer(AddConversion(exported, seconds) + "Example: openhost export bracket.ZALProduct bracket.step");
    return exported;
}

openhost::Command AddImport(const openhost::CommandLine& line, openhost::ImportArguments& arguments, int& seconds)
{
    const openhost::Command import = line.Add("import", "Makes documents of a STEP file of another system");
    import.Word("FILE.step", arguments.file, "the file: AP203, AP214 or AP242").Required();
    import.Word("FOLDER", arguments.folder, "where the documents go; made where it is not").Required();
    import.Flag("--replace", arguments.replace, "take the places of documents that stand there");
    import.Number("--seconds", "N", seconds, 1, MaximumSeconds, "how long it may take; 600 by default");
    import.Footer(
        "Each product becomes a document once, in a file with the name of its part number: a part document, or a\n"
        "product document with the names and places of what it holds. Lengths become millimetres. Prints the path\n"
        "of the root. What is left out, repaired or renamed is told on standard error.\n"
        "Exit status: 0, or 1 when the file is damaged, takes too long or too much memory, or a document of that\n"
        "name stands there; nothing is then written.\n\n"
        "Example: openhost import gearbox.step parts");
    return import;
}

openhost::Command AddPicture(const openhost::CommandLine& line, Files& files, std::string& size, int& seconds)
{
    const openhost::Command picture = line.Add("picture", "Draws a document with everything under it as PNG");
    picture.Word("FILE", files.document, "the document").Required();
    picture.Word("OUT.png", files.other, "the file to write").Required();
    picture.Text("--size", "WIDTHxHEIGHT", size, "in pixels, each from 1 to 8192; 800x600 by default")
        .Check([](const std::string& text) {
            try {
                openhost::PictureSize::Parse(text);
            } catch (const std::invalid_argument& error) {
                return std::string(error.what());
            }
            return std::string();
        });
    picture.Footer(AddConversion(picture, seconds) +
                   "Example: openhost picture bracket.ZALProduct bracket.png --size 400x300");
    return picture;
}

void AddStl(const openhost::CommandLine& line, Files& files)
{
    const openhost::Command stl = line.Add("stl", "Writes the triangles of a light representation as binary STL");
    stl.Word("FILE.lvr", files.document, "the light representation").Required();
    stl.Word("OUT.stl", files.other, "the file to write, in millimetres").Required();
    stl.Footer("Exit status: 0, or 1 when the file is none or the other cannot be written.\n\n"
               "Example: openhost stl bolt.lvr bolt.stl");
}

int Run(int count, char** values)
{
    const openhost::MemoryReserve memory;
    openhost::CommandLine line("openhost", "Plays sessions; shows, exports, draws and imports documents");
    PlayArguments arguments;
    WindowArguments window;
    Files files;
    openhost::ImportArguments importArguments;
    std::string size = openhost::PictureSize().Text();
    int seconds = 60;
    const openhost::Command play = AddPlay(line, arguments);
    const openhost::Command desktop = AddDesktop(line, window);
    const openhost::Command show = AddShow(line, files);
    StepAuthor author;
    const openhost::Command exported = AddExport(line, files, author, seconds);
    int importSeconds = 600; // an assembly of some thousand parts takes a minute, and tells meanwhile how far it is
    const openhost::Command import = AddImport(line, importArguments, importSeconds);
    const openhost::Command picture = AddPicture(line, files, size, seconds);
    AddStl(line, files);
    line.Program().Footer("openhost COMMAND --help tells more about a command.");
    if (const std::optional<int> status = line.Read(count, values))
        return *status;

    const openhost::GeometryJobLimits limits{.time = std::chrono::seconds(seconds)};
    if (play.IsGiven())
        return Play(arguments);
    if (desktop.IsGiven())
        return ShowWindow(std::move(window));
    if (import.IsGiven())
        return openhost::ImportFile(importArguments, {.time = std::chrono::seconds(importSeconds)}, Warn);
    if (show.IsGiven() && files.other.empty())
        openhost::ShowDocument(files.document, openhost::MeasureSolids, std::cout);
    else if (show.IsGiven())
        openhost::ShowDocuments(files.document, files.other, openhost::MeasureSolids, std::cout);
    else if (exported.IsGiven())
        openhost::DocumentConverter(limits).ExportStep(files.document, files.other, author.name, author.organization,
                                                       Warn);
    else if (picture.IsGiven())
        openhost::DocumentConverter(limits).DrawPicture(files.document, files.other, openhost::PictureSize::Parse(size),
                                                        Warn);
    else
        openhost::WriteStl(files.other, openhost::ReadLvr(files.document));
    return openhost::StatusDone;
}

} // namespace

int main(int count, char** values)
{
    return openhost::RunProgram("openhost", [&] { return Run(count, values); });
}
