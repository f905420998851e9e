// The command lines of the programs, which are used alike: -h and --help for each command, --version, one meaning of
// each exit status, a hint at what may have been meant, completion for shells and a manual page.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace openhost {

/// Exit statuses of the programs. One that a signal ends has 128 and the signal's number.
inline constexpr int StatusDone = 0;
inline constexpr int StatusFailed = 1; ///< what was asked for could not be done
inline constexpr int StatusBadUse = 2; ///< it was asked for wrongly, and nothing has been done

/// A word or an option of a command.
class Argument {
public:
    explicit Argument(CLI::Option* option) : option_(option) {}

    Argument Required() const;
    /// A value that `complaint` has something to say about is refused with that text.
    Argument Check(const std::function<std::string(const std::string& value)>& complaint) const;
    /// What the variable `name` of the environment holds counts where the option is not given.
    Argument OrFromEnvironment(const char* name) const;

private:
    CLI::Option* option_;
};

/// A command of a program, or the program itself. The values are written when the command line is read, and outlive
/// the command line.
class Command {
public:
    explicit Command(CLI::App* app) : app_(app) {}

    /// A word that stands for itself, in the order of these calls.
    Argument Word(const char* name, std::string& value, const char* help) const;
    /// All words that are left, any number of them.
    Argument Words(const char* name, std::vector<std::string>& values, const char* help) const;
    /// `option` such as "--journal", `placeholder` such as "FILE".
    Argument Text(const char* option, const char* placeholder, std::string& value, const char* help) const;
    /// May be given any number of times.
    Argument Texts(const char* option, const char* placeholder, std::vector<std::string>& values,
                   const char* help) const;
    Argument Number(const char* option, const char* placeholder, int& value, int lowest, int highest,
                    const char* help) const;
    Argument Flag(const char* option, bool& value, const char* help) const;
    /// What the help tells after the options.
    const Command& Footer(const std::string& text) const;

    /// Whether it is the one that the command line names.
    bool IsGiven() const;

private:
    CLI::App* app_;
};

class CommandLine {
public:
    CommandLine(const char* program, const char* description);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    ~CommandLine();

    /// The program itself.
    Command Program() const;
    /// Adds a command, one of which must then be given.
    Command Add(const char* name, const char* description) const;

    /// Reads the command line. Gives the exit status when there is nothing more to do: help, version, completion or
    /// manual is printed, or a wrong use is explained on standard error.
    std::optional<int> Read(int count, char** values);

private:
    std::unique_ptr<CLI::App> app_;
    std::string completion_; ///< the shell that is asked for
    bool manual_ = false;
};

/// Runs the program `name`: an exception of `run` is told on standard error and gives StatusFailed, as does an output
/// that cannot be written. A standard descriptor that is closed stays without use: no file that is opened takes its
/// number.
int RunProgram(const char* name, const std::function<int()>& run);

} // namespace openhost
