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

#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace {

constexpr int Done = 0;
constexpr int Failed = 1;
constexpr int BadUse = 2;

constexpr const char* Usage =
    R"(Usage: openhost play SESSION.json [--journal FILE] [--account] [--set NAME=VALUE]...
                     [--module FILE] [--panel]
       openhost show FILE [OTHER]
       openhost export FILE OUT.step
       openhost picture FILE OUT.png [--size WIDTHxHEIGHT]
       openhost stl FILE.lvr OUT.stl
       openhost --help

play   plays a session without a display. Exit status: 0 every step done; 1 a step failed,
       the last line of the journal says which; 2 the file is no valid session.
         --journal FILE    write the journal to FILE, not to standard output
         --account         tell on standard output what happens, for a reader; the journal
                           is written only when --journal names its file
         --set NAME=VALUE  value of the placeholder ${NAME} in the session
         --panel           show the page of the panel in a real browser, in a window when there
                           is a display; the window then stays open until the user closes it
         --module FILE     the module's shared library; by default that of the environment
                           variable OPENHOST_MODULE, then ../lib/ZALVelmartIntegration.so
                           and ../lib/libZALVelmartIntegration.so beside this program
show   prints the tree, the properties, parameters, features and cameras, and the link table of
       a document, or of two side by side. Exit status: 0, or 1 when a file is no document.
export writes a document with everything under it to OUT.step as STEP.
picture draws a document with everything under it into OUT.png.
         --size WIDTHxHEIGHT  in pixels, each from 1 to 8192; 800x600 by default
       Both tell on standard error which documents are missing and leave them out. Exit status:
       0, or 1 when a document is damaged or part of itself, or the file cannot be written,
       which is then as it was.
stl    writes the triangles of a light representation as binary STL, in millimetres. Exit
       status: 0, or 1 when the file is none or the other cannot be written.
)";

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct PlayArguments {
    std::string session;
    std::optional<std::string> journal;
    bool account = false;
    bool panel = false;
    std::optional<std::string> module;
    openhost::Placeholders placeholders;
};

PlayArguments ParsePlay(const std::vector<std::string>& words)
{
    PlayArguments arguments;
    const auto next = [&](std::size_t& index) -> const std::string& {
        if (index + 1 == words.size())
            throw UsageError(words[index] + " needs a value");
        return words[++index];
    };
    for (std::size_t index = 0; index < words.size(); ++index) {
        const std::string& word = words[index];
        if (word == "--journal") {
            arguments.journal = next(index);
        } else if (word == "--account") {
            arguments.account = true;
        } else if (word == "--panel") {
            arguments.panel = true;
        } else if (word == "--module") {
            arguments.module = next(index);
        } else if (word == "--set") {
            const std::string& pair = next(index);
            const std::size_t sign = pair.find('=');
            if (sign == std::string::npos || sign == 0)
                throw UsageError("--set needs NAME=VALUE");
            arguments.placeholders[pair.substr(0, sign)] = pair.substr(sign + 1);
        } else if (word.starts_with("--")) {
            throw UsageError("unknown option " + word);
        } else if (arguments.session.empty()) {
            arguments.session = word;
        } else {
            throw UsageError("one session file can be played");
        }
    }
    if (arguments.session.empty())
        throw UsageError("play needs a session file");
    return arguments;
}

/// Folder above that of this program, in which `lib` and `installation` lie.
std::filesystem::path FindPrefix()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

std::filesystem::path FindModule(const std::optional<std::string>& given)
{
    if (given)
        return std::filesystem::absolute(*given);
    if (const char* named = std::getenv("OPENHOST_MODULE"); named && *named)
        return std::filesystem::absolute(named);
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
        session = openhost::ReadSessionFile(arguments.session, arguments.placeholders);
    } catch (const openhost::LocatedError& error) {
        std::cerr << arguments.session << ":" << error.Line() << ": " << error.what() << "\n";
        return BadUse;
    }
    std::optional<openhost::JournalWriter> journal;
    if (arguments.journal)
        journal.emplace(*arguments.journal);
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

struct PictureArguments {
    std::vector<std::string> files; ///< the document and the output
    openhost::PictureSize size;
};

PictureArguments ParsePicture(const std::vector<std::string>& words)
{
    PictureArguments arguments;
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (words[index] != "--size") {
            if (words[index].starts_with("--"))
                throw UsageError("unknown option " + words[index]);
            arguments.files.push_back(words[index]);
            continue;
        }
        if (++index == words.size())
            throw UsageError("--size needs a value");
        try {
            arguments.size = openhost::PictureSize::Parse(words[index]);
        } catch (const openhost::PictureError& error) {
            throw UsageError(error.what());
        }
    }
    if (arguments.files.size() != 2)
        throw UsageError("picture needs a document and a file to write");
    return arguments;
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

int Run(const std::vector<std::string>& words)
{
    if (words.empty())
        throw UsageError("a command is needed");
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    if (words[0] == "--help") {
        std::cout << Usage;
        return Done;
    }
    if (words[0] == "play")
        return Play(ParsePlay(rest));
    if (words[0] == "show" && rest.size() == 1) {
        openhost::ShowDocument(rest[0], std::cout);
        return Done;
    }
    if (words[0] == "show" && rest.size() == 2) {
        openhost::ShowDocuments(rest[0], rest[1], std::cout);
        return Done;
    }
    if (words[0] == "export") {
        if (rest.size() != 2)
            throw UsageError("export needs a document and a file to write");
        GoOnApart(rest[0]);
        openhost::ExportStep(rest[0], rest[1], Warn);
        return Done;
    }
    if (words[0] == "picture") {
        const PictureArguments arguments = ParsePicture(rest);
        GoOnApart(arguments.files[0]);
        openhost::DrawDocument(arguments.files[0], arguments.files[1], arguments.size, Warn);
        return Done;
    }
    if (words[0] == "stl" && rest.size() == 2) {
        openhost::WriteStl(rest[1], openhost::ReadLvr(rest[0]));
        return Done;
    }
    if (words[0] == "stl")
        throw UsageError("stl needs a light representation and the file to write");
    throw UsageError(words[0] == "show" ? "show needs one document or two" : "unknown command " + words[0]);
}

} // namespace

int main(int count, char** values)
{
    try {
        return Run({values + 1, values + count});
    } catch (const UsageError& error) {
        std::cerr << "openhost: " << error.what() << "; openhost --help tells how it is used\n";
        return BadUse;
    } catch (const std::exception& error) {
        std::cerr << "openhost: " << error.what() << "\n";
        return Failed;
    }
}
