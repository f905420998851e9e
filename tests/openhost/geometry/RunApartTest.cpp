#include "openhost/geometry/RunApart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>
#include <vector>

namespace openhost::testing {

namespace {

using ::testing::HasSubstr;

std::string Failure(const std::function<std::string()>& work, const ApartLimits& limits = {})
{
    try {
        RunApart(work, limits);
        return {};
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

} // namespace

TEST(RunApart, GivesWhatTheWorkReturns)
{
    EXPECT_EQ(RunApart([] { return std::string("a\0b", 3); }), std::string("a\0b", 3));
    EXPECT_EQ(RunApart([] { return std::string(); }), "");
    EXPECT_EQ(RunApart([] { return std::string(5'000'000, 'x'); }), std::string(5'000'000, 'x'));
}

TEST(RunApart, WhatTheWorkChangesStaysInItsOwnProcess)
{
    int here = 1;
    EXPECT_EQ(RunApart([&here] { return std::to_string(++here); }), "2");
    EXPECT_EQ(here, 1);
}

TEST(RunApart, AnExceptionIsThrownHere)
{
    EXPECT_EQ(Failure([]() -> std::string { throw std::invalid_argument("no shape"); }), "no shape");
    EXPECT_NE(Failure([]() -> std::string { throw 7; }), "");
}

TEST(RunApart, ACrashIsAnError)
{
    for (const int crash : {SIGSEGV, SIGABRT, SIGKILL})
        EXPECT_THAT(Failure([crash]() -> std::string {
                        std::raise(crash);
                        return "survived";
                    }),
                    HasSubstr("crashed"))
            << crash;
}

TEST(RunApart, WorkWithoutEndIsEnded)
{
    EXPECT_THAT(Failure(
                    []() -> std::string {
                        for (volatile bool goOn = true; goOn;) {
                        }
                        return "ended";
                    },
                    {.seconds = 1}),
                HasSubstr("too long"));
}

TEST(RunApart, MemoryAndResultAreBounded)
{
    EXPECT_NE(Failure([] { return std::to_string(std::vector<char>(std::size_t{1} << 40).size()); }), "");
    EXPECT_THAT(Failure([] { return std::string(1001, 'x'); }, {.resultSize = 1000}), HasSubstr("too large"));
    EXPECT_EQ(Failure([] { return std::string(1000, 'x'); }, {.resultSize = 1000}), "");
}

} // namespace openhost::testing
