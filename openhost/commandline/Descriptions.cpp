#include "openhost/commandline/Descriptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>
#include <vector>

namespace openhost {

namespace {

std::vector<const CLI::App*> CommandsOf(const CLI::App& app)
{
    return app.get_subcommands([](const CLI::App*) { return true; });
}

/// The options of `app` by their long names.
std::string OptionNames(const CLI::App& app)
{
    std::string names;
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames())
            names += (names.empty() ? "--" : " --") + name;
    return names;
}

/// `program` as a part of the name of a shell's function.
std::string FunctionName(std::string program)
{
    std::ranges::replace(program, '-', '_');
    return "_" + program;
}

/// A line of text for man: no character that it takes for its own.
std::string ForMan(const std::string& text)
{
    std::string result;
    bool atStart = true;
    for (const char unit : text) {
        if (atStart && (unit == '.' || unit == '\''))
            result += "\\&";
        if (unit == '\\')
            result += "\\e";
        else if (unit == '-')
            result += "\\-";
        else
            result += unit;
        atStart = unit == '\n';
    }
    return result;
}

void DescribeOptions(std::ostream& page, const CLI::App& app)
{
    for (const CLI::Option* option : app.get_options()) {
        page << ".TP\n.B " << ForMan(option->get_name(option->get_positional(), true));
        if (option->nonpositional() && !option->get_type_name().empty() && option->get_items_expected_max() > 0)
            page << " \\fI" << ForMan(option->get_type_name()) << "\\fR";
        page << "\n" << ForMan(option->get_description()) << "\n";
    }
}

void DescribeFooter(std::ostream& page, const CLI::App& app)
{
    if (!app.get_footer().empty())
        page << ".PP\n.nf\n" << ForMan(app.get_footer()) << "\n.fi\n";
}

/// Text between single quotes of a shell.
std::string Quoted(const std::string& text)
{
    std::string result = "'";
    for (const char unit : text)
        result += unit == '\'' ? std::string("'\\''") : std::string(1, unit);
    return result + "'";
}

} // namespace

std::string DescribeAsManual(const CLI::App& app, const char* version)
{
    std::ostringstream page;
    page << ".TH " << ForMan(app.get_name()) << " 1 \"\" \"" << app.get_name() << " " << version << "\"\n.SH NAME\n"
         << ForMan(app.get_name()) << " \\- " << ForMan(app.get_description()) << "\n.SH SYNOPSIS\n.B "
         << ForMan(app.get_name()) << "\n"
         << (CommandsOf(app).empty() ? "[OPTION]..." : "COMMAND [OPTION]...") << "\n.SH OPTIONS\n";
    DescribeOptions(page, app);
    DescribeFooter(page, app);
    for (const CLI::App* command : CommandsOf(app)) {
        page << ".SH " << ForMan(app.get_name() + " " + command->get_name()) << "\n"
             << ForMan(command->get_description()) << ".\n";
        DescribeOptions(page, *command);
        DescribeFooter(page, *command);
    }
    return page.str();
}

std::string CompleteInBash(const CLI::App& app)
{
    const std::string function = FunctionName(app.get_name());
    std::ostringstream script;
    std::string commands;
    for (const CLI::App* command : CommandsOf(app))
        commands += command->get_name() + " ";
    script << "# Completes command lines of " << app.get_name() << " in bash.\n"
           << function << "()\n{\n    local words=\n    case ${COMP_WORDS[1]} in\n";
    for (const CLI::App* command : CommandsOf(app))
        script << "    " << command->get_name() << ") words='" << OptionNames(*command) << "' ;;\n";
    script << "    *) words='" << commands << OptionNames(app) << "' ;;\n    esac\n"
           << "    [ \"$COMP_CWORD\" -gt 1 ] || words='" << commands << OptionNames(app) << "'\n"
           << "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"${COMP_WORDS[COMP_CWORD]}\")\n}\n"
           << "complete -o bashdefault -o default -F " << function << " " << app.get_name() << "\n";
    return script.str();
}

std::string CompleteInZsh(const CLI::App& app)
{
    const auto describe = [](std::ostream& script, const CLI::App& described) {
        for (const CLI::Option* option : described.get_options())
            for (const std::string& name : option->get_lnames()) {
                std::string help = option->get_description().substr(0, option->get_description().find('\n'));
                std::erase_if(help, [](char unit) { return unit == '[' || unit == ']' || unit == ':'; });
                const char* value = option->get_items_expected_max() > 0 ? "]:value:_files" : "]";
                script << " \\\n        "
                       << Quoted(std::string("--").append(name).append("[").append(help).append(value));
            }
        script << " \\\n        '*:file:_files'\n";
    };
    const std::string function = FunctionName(app.get_name());
    std::ostringstream script;
    script << "#compdef " << app.get_name() << "\n# Completes command lines of " << app.get_name() << " in zsh.\n"
           << function << "()\n{\n";
    if (!CommandsOf(app).empty()) {
        script << "    local -a commands=(";
        for (const CLI::App* command : CommandsOf(app))
            script << "\n        " << Quoted(command->get_name() + ":" + command->get_description());
        script << ")\n    if (( CURRENT == 2 )); then\n        _describe command commands\n    fi\n"
               << "    case $words[2] in\n";
        for (const CLI::App* command : CommandsOf(app)) {
            script << "    " << command->get_name() << ") _arguments";
            describe(script, *command);
            script << "        return ;;\n";
        }
        script << "    esac\n";
    }
    script << "    _arguments";
    describe(script, app);
    script << "}\ncompdef " << function << " " << app.get_name() << "\n";
    return script.str();
}

} // namespace openhost
