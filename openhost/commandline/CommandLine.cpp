#include "openhost/commandline/CommandLine.h"

#include "openhost/commandline/Descriptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iostream>
#include <numeric>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace openhost {

namespace {

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
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    // What follows a sign of equality is the option's value.
    const std::string given = word.substr(0, word.find('='));
    const auto nearest = std::ranges::min_element(names, {}, [&](const auto& name) { return Distance(given, name); });
    constexpr std::size_t mostSlips = 2;
    return nearest != names.end() && Distance(given, *nearest) <= mostSlips ? *nearest : "";
}

/// What is told of a wrong use of `app` or of the command of it that was given.
std::string Complain(const CLI::App* app, const CLI::Error& error)
{
    const CLI::App& used = app->get_subcommands().empty() ? *app : *app->get_subcommands().front();
    std::string text = app->get_name() + ": ";
    const std::vector<std::string> unknown = app->remaining(true);
    text += unknown.empty() ? error.what() : "unexpected: " + unknown.front();
    if (const std::string meant = unknown.empty() ? "" : Suggest(used, unknown.front()); !meant.empty())
        text += " (did you mean " + meant + "?)";
    return text + "; " + app->get_name() + (&used == app ? "" : " " + used.get_name()) +
           " --help tells how it is used\n";
}

/// Puts something in the place of the standard descriptors that are closed.
void FillStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) >= 0)
            continue;
        // The wrong way round, so that its use fails as before.
        const int way = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", way) != descriptor)
            throw std::system_error(errno, std::generic_category(), "a closed standard descriptor cannot be replaced");
    }
}

} // namespace

Argument Argument::Required() const
{
    option_->required();
    return *this;
}

Argument Argument::Check(const std::function<std::string(const std::string& value)>& complaint) const
{
    option_->check(complaint);
    return *this;
}

Argument Argument::OrFromEnvironment(const char* name) const
{
    option_->envname(name);
    return *this;
}

Argument Command::Word(const char* name, std::string& value, const char* help) const
{
    return Argument(app_->add_option(name, value, help)->type_name(""));
}

Argument Command::Words(const char* name, std::vector<std::string>& values, const char* help) const
{
    return Argument(app_->add_option(name, values, help)->type_name(""));
}

Argument Command::Text(const char* option, const char* placeholder, std::string& value, const char* help) const
{
    return Argument(app_->add_option(option, value, help)->type_name(placeholder));
}

Argument Command::Texts(const char* option, const char* placeholder, std::vector<std::string>& values,
                        const char* help) const
{
    return Argument(app_->add_option(option, values, help)->type_name(placeholder)->allow_extra_args(false));
}

Argument Command::Number(const char* option, const char* placeholder, int& value, int lowest, int highest,
                         const char* help) const
{
    return Argument(app_->add_option(option, value, help)->check(CLI::Range(lowest, highest))->type_name(placeholder));
}

Argument Command::Flag(const char* option, bool& value, const char* help) const
{
    return Argument(app_->add_flag(option, value, help));
}

const Command& Command::Footer(const std::string& text) const
{
    app_->footer(text);
    return *this;
}

bool Command::IsGiven() const
{
    return app_->parsed();
}

CommandLine::CommandLine(const char* program, const char* description)
    : app_(std::make_unique<CLI::App>(description, program))
{
    app_->set_help_flag("-h,--help", "tell how it is used");
    app_->set_version_flag("--version", std::string(program) + " " VELMART_VERSION, "tell the version");
    app_->add_option("--completion", completion_, "print what completes command lines in a shell: bash or zsh")
        ->type_name("SHELL")
        ->check(CLI::IsMember({"bash", "zsh"}));
    app_->add_flag("--manual", manual_, "print the manual page, for man");
    app_->failure_message(Complain);
}

CommandLine::~CommandLine() = default;

Command CommandLine::Program() const
{
    return Command(app_.get());
}

Command CommandLine::Add(const char* name, const char* description) const
{
    return Command(app_->add_subcommand(name, description));
}

std::optional<int> CommandLine::Read(int count, char** values)
{
    const bool hasCommands = !app_->get_subcommands([](const CLI::App*) { return true; }).empty();
    // They describe the program, and need neither a command nor what is required otherwise.
    const auto describes = [](std::string_view word) { return word == "--manual" || word.starts_with("--completion"); };
    try {
        if (count > 1 && describes(values[1])) {
            for (CLI::Option* option : app_->get_options())
                option->required(false);
        } else if (hasCommands) {
            app_->require_subcommand(1);
        }
        app_->parse(count, values);
    } catch (const CLI::ParseError& error) {
        return app_->exit(error) == 0 ? StatusDone : StatusBadUse;
    }
    if (manual_)
        std::cout << DescribeAsManual(*app_, VELMART_VERSION);
    else if (completion_ == "bash")
        std::cout << CompleteInBash(*app_);
    else if (completion_ == "zsh")
        std::cout << CompleteInZsh(*app_);
    else
        return std::nullopt;
    return StatusDone;
}

int RunProgram(const char* name, const std::function<int()>& run)
{
    try {
        FillStandardDescriptors();
        const int status = run();
        if (std::cout.flush() || status != StatusDone)
            return status;
        throw std::runtime_error("the output cannot be written");
    } catch (const std::exception& error) {
        std::cerr << name << ": " << error.what() << "\n";
        return StatusFailed;
    }
}

} // namespace openhost
