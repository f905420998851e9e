#include "openhost/commandline/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace openhost {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// A program with two commands, one of which has every kind of argument.
class CommandLineTest : public ::testing::Test {
protected:
    CommandLineTest() : line_("tool", "Makes things")
    {
        const Command make = line_.Add("make", "Makes one");
        make.Word("FILE", file_, "what is made").Required();
        make.Text("--color", "NAME", color_, "its colour\nand shade")
            .Check([](const std::string& name) { return name == "none" ? "is no colour" : ""; })
            .OrFromEnvironment("TOOL_TEST_COLOR");
        make.Texts("--set", "VALUE", values_, "a value");
        make.Number("--size", "N", size_, 1, 9, "its size");
        make.Flag("--quick", quick_, "it's quick");
        make.Footer("Example: tool make it");
        line_.Add("list", "Lists them");
    }

    /// The status of the command line `words`, or -1 to go on. What is printed stands in `out_` and `err_`.
    int Read(std::vector<std::string> words)
    {
        words.insert(words.begin(), "tool");
        std::vector<char*> values;
        for (std::string& word : words)
            values.push_back(word.data());
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const std::optional<int> status = line_.Read(static_cast<int>(values.size()), values.data());
        out_ = ::testing::internal::GetCapturedStdout();
        err_ = ::testing::internal::GetCapturedStderr();
        return status.value_or(-1);
    }

    CommandLine line_;
    std::string file_;
    std::string color_;
    std::vector<std::string> values_;
    int size_ = 5;
    bool quick_ = false;
    std::string out_;
    std::string err_;
};

TEST_F(CommandLineTest, ArgumentsAreRead)
{
    EXPECT_EQ(-1, Read({"make", "it", "--color", "red", "--set", "a", "--set", "b", "--size", "3", "--quick"}));
    EXPECT_EQ("it", file_);
    EXPECT_EQ("red", color_);
    EXPECT_THAT(values_, ElementsAre("a", "b"));
    EXPECT_EQ(3, size_);
    EXPECT_TRUE(quick_);
}

TEST_F(CommandLineTest, WhatIsNotGivenStaysAsItWas)
{
    EXPECT_EQ(-1, Read({"make", "it"}));
    EXPECT_EQ(5, size_);
    EXPECT_EQ("", color_);
}

TEST_F(CommandLineTest, AVariableStandsInForAnOption)
{
    ::setenv("TOOL_TEST_COLOR", "blue", 1);
    EXPECT_EQ(-1, Read({"make", "it"}));
    ::unsetenv("TOOL_TEST_COLOR");
    EXPECT_EQ("blue", color_);
}

TEST_F(CommandLineTest, EachCommandHasItsHelp)
{
    for (const char* option : {"-h", "--help"}) {
        EXPECT_EQ(StatusDone, Read({option}));
        EXPECT_THAT(out_, AllOf(HasSubstr("Makes things"), HasSubstr("make"), HasSubstr("Lists them")));
        EXPECT_EQ(StatusDone, Read({"make", option}));
        EXPECT_THAT(out_, AllOf(HasSubstr("--color NAME"), HasSubstr("Example: tool make it")));
    }
}

TEST_F(CommandLineTest, TheVersionIsOneLine)
{
    EXPECT_EQ(StatusDone, Read({"--version"}));
    EXPECT_THAT(out_, ::testing::MatchesRegex("tool [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

struct WrongUse {
    std::vector<std::string> words;
    std::string complaint; ///< a part of it
};

class WrongUseTest : public CommandLineTest, public ::testing::WithParamInterface<WrongUse> {};

TEST_P(WrongUseTest, IsStatus2AndToldWithAHint)
{
    EXPECT_EQ(StatusBadUse, Read(GetParam().words));
    EXPECT_THAT(err_, AllOf(StartsWith("tool: "), HasSubstr(GetParam().complaint), HasSubstr(" --help tells how")));
    EXPECT_EQ("", out_);
}

INSTANTIATE_TEST_SUITE_P(
    Each, WrongUseTest,
    ::testing::Values(WrongUse{{}, "required"}, WrongUse{{"mkae", "it"}, "unexpected: mkae (did you mean make?)"},
                      WrongUse{{"make", "it", "--colour", "red"}, "--colour (did you mean --color?); tool make --help"},
                      WrongUse{{"make", "it", "--colour=red"}, "(did you mean --color?)"},
                      WrongUse{{"make", "it", "--nothing"}, "unexpected: --nothing; tool make"},
                      WrongUse{{"make"}, "FILE"}, WrongUse{{"make", "it", "more"}, "unexpected: more"},
                      WrongUse{{"make", "it", "--color"}, "--color"},
                      WrongUse{{"make", "it", "--size", "10"}, "--size"},
                      WrongUse{{"make", "it", "--size", "two"}, "--size"},
                      WrongUse{{"make", "it", "--color", "none"}, "is no colour"},
                      WrongUse{{"--completion", "fish"}, "--completion"}),
    [](const auto& row) { return "Number" + std::to_string(row.index); });

TEST_F(CommandLineTest, BashCompletesCommandsAndTheirOptions)
{
    EXPECT_EQ(StatusDone, Read({"--completion", "bash"}));
    const std::string script = out_ + R"(
COMP_WORDS=(tool ma) COMP_CWORD=1; _tool; echo "${COMPREPLY[*]}"
COMP_WORDS=(tool make --s) COMP_CWORD=2; _tool; echo "${COMPREPLY[*]}"
COMP_WORDS=(tool list --) COMP_CWORD=2; _tool; echo "${COMPREPLY[*]}"
)";
    ::setenv("TOOL_TEST_SCRIPT", script.c_str(), 1);
    FILE* bash = ::popen("bash -c \"$TOOL_TEST_SCRIPT\"", "r");
    ASSERT_NE(nullptr, bash);
    std::string answers;
    for (int unit = std::fgetc(bash); unit != EOF; unit = std::fgetc(bash))
        answers += static_cast<char>(unit);
    EXPECT_EQ(0, ::pclose(bash));
    EXPECT_EQ("make\n--set --size\n--help\n", answers);
}

TEST_F(CommandLineTest, ZshGetsOptionsWithTheirHelpInQuotes)
{
    EXPECT_EQ(StatusDone, Read({"--completion", "zsh"}));
    EXPECT_THAT(out_, StartsWith("#compdef tool\n"));
    EXPECT_THAT(out_, HasSubstr("'make:Makes one'"));
    EXPECT_THAT(out_, HasSubstr(R"('--quick[it'\''s quick]')"));
    EXPECT_THAT(out_, HasSubstr("'--color[its colour]:value:_files'"));
}

TEST_F(CommandLineTest, TheManualHasEachCommandAndEscapesItsText)
{
    EXPECT_EQ(StatusDone, Read({"--manual"}));
    EXPECT_THAT(out_, StartsWith(".TH tool 1 "));
    for (const char* part : {".SH tool make\n", "\\-\\-color", "its colour\nand shade", "Example: tool make it"})
        EXPECT_THAT(out_, HasSubstr(part));
}

TEST(RunProgram, AnExceptionIsStatus1AndToldUnderTheProgramsName)
{
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(StatusFailed, RunProgram("tool", []() -> int { throw std::runtime_error("no things"); }));
    EXPECT_EQ("tool: no things\n", ::testing::internal::GetCapturedStderr());
    EXPECT_EQ(7, RunProgram("tool", [] { return 7; }));
}

/// Ends the process as the program would that `run` is, begun without the standard descriptors `closed`.
[[noreturn]] void RunWithout(const std::vector<int>& closed, const std::function<int()>& run)
{
    for (const int descriptor : closed)
        ::close(descriptor);
    ::_exit(RunProgram("tool", run));
}

TEST(RunProgram, NoFileTakesTheNumberOfAClosedStandardDescriptor)
{
    const auto opens = [] { return ::open("/dev/null", O_RDWR) > STDERR_FILENO ? 0 : 9; };
    for (const std::vector<int>& closed : {std::vector{0}, {1}, {2}, {0, 1}, {1, 2}, {0, 1, 2}})
        EXPECT_EXIT(RunWithout(closed, opens), ::testing::ExitedWithCode(StatusDone), "");
}

TEST(RunProgram, AnOutputThatCannotBeWrittenIsStatus1)
{
    const auto prints = [] {
        std::cout << "done";
        return 0;
    };
    EXPECT_EXIT(RunWithout({1}, prints), ::testing::ExitedWithCode(StatusFailed), "tool: the output cannot be written");
    EXPECT_EXIT(RunWithout({1, 2}, prints), ::testing::ExitedWithCode(StatusFailed), "");
    const auto printsIntoAFullDisk = [&] {
        ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO);
        return prints();
    };
    EXPECT_EXIT(RunWithout({}, printsIntoAFullDisk), ::testing::ExitedWithCode(StatusFailed), "cannot be written");
}

TEST(RunProgram, WithoutAnyDescriptorItFailsWithAStatus)
{
    const auto begins = [] {
        // A sanitizer that meets a type of exception for the first time needs descriptors.
        try {
            throw std::system_error(EMFILE, std::generic_category(), "first");
        } catch (const std::exception& error) {
            EXPECT_NE(nullptr, error.what());
        }
        const rlimit none{0, 0};
        ::setrlimit(RLIMIT_NOFILE, &none);
        RunWithout({1}, [] { return 0; });
    };
    EXPECT_EXIT(begins(), ::testing::ExitedWithCode(StatusFailed), "a closed standard descriptor cannot be replaced");
}

} // namespace openhost
