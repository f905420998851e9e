// A host's process for geometry, with a program whose jobs go wrong in every way.

#include "openhost/geometry_process/GeometryProcess.h"

#include "tests/openhost/geometry_process/TestJobs.h"
#include "tests/openhost/geometry_process/TestProcesses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <set>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace openhost::testing {

namespace {

using ::testing::HasSubstr;
using namespace std::chrono_literals;

std::string Failure(GeometryProcess& process, GeometryJob job, std::string_view bytes = {})
{
    try {
        process.Run(job, bytes);
        return {};
    } catch (const GeometryJobError& error) {
        return error.what();
    }
}

pid_t NumberOf(GeometryProcess& process)
{
    return std::stoi(process.Run(jobs::Process, {}));
}

} // namespace

TEST(GeometryProcess, GivesWhatTheJobGives)
{
    GeometryProcess process(Program);
    EXPECT_EQ(std::string("a\0b", 3), process.Run(jobs::Echo, std::string_view("a\0b", 3)));
    EXPECT_EQ("", process.Run(jobs::Echo, ""));
    const std::string large(20'000'000, 'x');
    EXPECT_TRUE(process.Run(jobs::Echo, large) == large);
}

TEST(GeometryProcess, ServesManyJobsInARow)
{
    GeometryProcess process(Program);
    const pid_t first = NumberOf(process);
    for (int job = 0; job < 2000; ++job)
        ASSERT_EQ(process.Run(jobs::Echo, std::to_string(job)), std::to_string(job));
    EXPECT_EQ(first, NumberOf(process));
    EXPECT_NE(first, getpid());
}

TEST(GeometryProcess, ARefusalIsToldAndTheNextJobHasAFreshProcess)
{
    GeometryProcess process(Program);
    const pid_t first = NumberOf(process);
    EXPECT_EQ("no shape", Failure(process, jobs::Refuse, "no shape"));
    EXPECT_NE(first, NumberOf(process));
    EXPECT_THAT(Failure(process, jobs::RefuseOddly), HasSubstr("crashed"));
}

TEST(GeometryProcess, ACrashIsAnErrorAndTheNextJobHasAFreshProcess)
{
    GeometryProcess process(Program);
    for (const int crash : {SIGSEGV, SIGABRT, SIGFPE, SIGKILL}) {
        EXPECT_THAT(Failure(process, jobs::Signal, std::to_string(crash)), HasSubstr("crashed")) << crash;
        EXPECT_EQ("next", process.Run(jobs::Echo, "next")) << crash;
        EXPECT_THAT(Failure(process, jobs::Signal, std::to_string(crash)), HasSubstr("crashed")) << "in a used process";
    }
    EXPECT_THAT(Failure(process, jobs::Leave), HasSubstr("crashed"));
    EXPECT_EQ("next", process.Run(jobs::Echo, "next"));
}

TEST(GeometryProcess, WhatAnEarlierJobHasLeftBehindIsNoFailureOfTheNext)
{
    GeometryProcess process(Program);
    process.Run(jobs::Echo, "first");
    EXPECT_EQ("done", process.Run(jobs::CrashWhenUsed, {}));
}

TEST(GeometryProcess, WorkWithoutEndIsEnded)
{
    GeometryProcess process(Program, {.time = 300ms});
    for (const GeometryJob job : {jobs::Spin, jobs::Sleep}) {
        EXPECT_THROW(process.Run(job, {}), GeometryJobTimeOut);
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)) << "the process is gone";
    }
}

TEST(GeometryProcess, AJobThatIsNotTakenInTimeIsEndedToo)
{
    GeometryProcess process(Program, {.time = 300ms});
    const pid_t number = NumberOf(process);
    kill(number, SIGSTOP);
    EXPECT_THROW(process.Run(jobs::Echo, std::string(20'000'000, 'x')), GeometryJobTimeOut);
}

TEST(GeometryProcess, WhatAJobTellsComesBeforeItsResult)
{
    GeometryProcess process(Program);
    std::vector<std::string> told;
    const auto tell = [&](const std::string& progress) { told.push_back(progress); };
    EXPECT_EQ("done", process.Run(jobs::Tell, "half", tell));
    EXPECT_EQ((std::vector<std::string>{"half", "half"}), told);
    EXPECT_EQ("done", process.Run(jobs::Tell, "half")) << "with nobody who takes it";
}

TEST(GeometryProcess, MemoryAndResultsAreBounded)
{
    GeometryProcess process(Program, {.resultSize = 1000});
    EXPECT_NE("", Failure(process, jobs::TakeMemory));
    EXPECT_EQ("", Failure(process, jobs::Echo, std::string(1000, 'x')));
    EXPECT_THAT(Failure(process, jobs::Echo, std::string(1001, 'x')), HasSubstr("too large"));
    EXPECT_EQ("next", process.Run(jobs::Echo, "next"));
}

TEST(GeometryProcess, IsRenewedWhenItIsEndedBetweenJobs)
{
    GeometryProcess process(Program);
    const pid_t first = NumberOf(process);
    kill(first, SIGKILL);
    EXPECT_EQ(1'000'000U, process.Run(jobs::Echo, std::string(1'000'000, 'x')).size());
    EXPECT_NE(first, NumberOf(process));
}

TEST(GeometryProcess, IsRenewedWhenItIsEndedInsideAJob)
{
    const MeetingPlace place;
    GeometryProcess process(Program);
    process.Run(jobs::Echo, "first");
    std::set<pid_t> met;
    std::thread outside([&] {
        const pid_t first = place.Await();
        const int descriptor = OpenProcess(first);
        kill(first, SIGKILL);
        EXPECT_TRUE(Ends(descriptor)) << "what it has open at the meeting place is closed then";
        close(descriptor);
        met = {first, place.Await()};
        place.Release();
    });
    EXPECT_EQ("met", process.Run(jobs::Meet, place.Bytes()));
    outside.join();
    EXPECT_EQ(2U, met.size());
}

TEST(GeometryProcess, AnInterruptionEndsTheJobAndRefusesAllThatFollow)
{
    const MeetingPlace place;
    for (const bool isFresh : {true, false}) {
        GeometryProcess process(Program);
        if (!isFresh)
            process.Run(jobs::Echo, "first");
        std::thread outside([&] {
            place.Await();
            process.Interrupt();
        });
        EXPECT_THROW(process.Run(jobs::Meet, place.Bytes()), GeometryJobError) << isFresh;
        outside.join();
        EXPECT_NE("", Failure(process, jobs::Echo)) << isFresh;
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)) << "no process is left";
    }
}

TEST(GeometryProcess, EndsWithItsObject)
{
    int descriptor = -1;
    {
        GeometryProcess process(Program);
        descriptor = OpenProcess(NumberOf(process));
        ASSERT_GE(descriptor, 0);
    }
    EXPECT_TRUE(Ends(descriptor));
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
    EXPECT_EQ(errno, ECHILD) << "nobody is left to be waited for";
    close(descriptor);
}

TEST(GeometryProcess, EndsWithAHostThatIsKilled)
{
    const MeetingPlace place;
    for (const bool isBusy : {false, true}) {
        const pid_t host = fork();
        ASSERT_GE(host, 0);
        if (host == 0) {
            GeometryProcess process(Program);
            if (isBusy)
                process.Run(jobs::Meet, place.Bytes());
            std::ofstream(place.Bytes().substr(0, place.Bytes().find('\n'))) << NumberOf(process) << std::endl;
            for (;;)
                pause();
        }
        const int descriptor = OpenProcess(place.Await());
        EXPECT_GE(descriptor, 0);
        kill(host, SIGKILL);
        EXPECT_EQ(host, waitpid(host, nullptr, 0));
        EXPECT_TRUE(Ends(descriptor)) << isBusy;
        close(descriptor);
    }
}

TEST(GeometryProcess, HasNoFilesOfTheHost)
{
    const int ours = open("/dev/null", O_RDONLY);
    ASSERT_GE(ours, 0);
    GeometryProcess process(Program);
    // One more is the folder in which it looks.
    EXPECT_EQ("0\n1\n2\n3\n", process.Run(jobs::ListDescriptors, {}));
    close(ours);
}

TEST(GeometryProcess, WritesNothingOnTheOutputsOfTheHost)
{
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    GeometryProcess process(Program);
    const std::string done = process.Run(jobs::Talk, {});
    EXPECT_EQ("", ::testing::internal::GetCapturedStdout());
    EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
    EXPECT_EQ("done", done);
}

TEST(GeometryProcess, AProgramThatIsMissingOrNoneIsAnError)
{
    GeometryProcess missing("/missing/program");
    EXPECT_THAT(Failure(missing, jobs::Echo), HasSubstr("/missing/program"));
    EXPECT_THAT(Failure(missing, jobs::Echo), HasSubstr("No such file")) << "again";
    GeometryProcess other("/bin/true");
    EXPECT_NE("", Failure(other, jobs::Echo));
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
}

} // namespace openhost::testing
