// A program of jobs that go wrong.

#include "openhost/geometry_process/AnswerJobs.h"
#include "tests/openhost/geometry_process/TestJobs.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <vector>

#include <unistd.h>

namespace {

namespace jobs = openhost::testing::jobs;

std::string TakeMemory()
{
    constexpr std::size_t size = 16 << 20;
    std::vector<std::unique_ptr<char[]>> taken;
    while (taken.size() * size <= openhost::testing::TestJobMemory)
        taken.push_back(std::make_unique<char[]>(size));
    return "taken";
}

std::string ListDescriptors()
{
    std::string list;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        if (std::filesystem::exists(entry.symlink_status()))
            list += entry.path().filename().string() + "\n";
    return list;
}

std::string Meet(const std::string& places)
{
    const std::size_t end = places.find('\n');
    std::ofstream(places.substr(0, end)) << getpid() << std::endl;
    return std::ifstream(places.substr(end + 1)).get() == 'y' ? "met" : "missed";
}

std::string Work(char kind, const std::string& bytes)
{
    static int number = 0;
    ++number;
    const auto is = [&](openhost::GeometryJob job) { return kind == static_cast<char>(job); };
    if (is(jobs::Echo))
        return bytes;
    if (is(jobs::Process))
        return std::to_string(getpid());
    if (is(jobs::RefuseOddly))
        throw number;
    if (is(jobs::Signal))
        std::raise(std::stoi(bytes));
    if (is(jobs::CrashWhenUsed) && number > 1)
        std::raise(SIGSEGV);
    if (is(jobs::Leave))
        std::_Exit(EXIT_SUCCESS);
    for (volatile bool goOn = is(jobs::Spin); goOn;)
        ;
    while (is(jobs::Sleep))
        pause();
    if (is(jobs::TakeMemory))
        return TakeMemory();
    if (is(jobs::ListDescriptors))
        return ListDescriptors();
    if (is(jobs::Talk)) {
        std::cout << "noise" << std::endl;
        std::cerr << "noise" << std::endl;
    }
    for (int time = 0; is(jobs::Tell) && time < 2; ++time)
        openhost::TellProgress(bytes);
    if (is(jobs::Meet))
        return Meet(bytes);
    if (is(jobs::Refuse))
        throw std::invalid_argument(bytes);
    return "done";
}

} // namespace

int main()
{
    openhost::AnswerJobs(Work, openhost::testing::TestJobMemory);
    return EXIT_SUCCESS;
}
