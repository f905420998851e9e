// Jobs beside each other, by the program whose jobs go wrong in every way.

#include "openhost/geometry_process/GeometryPool.h"

#include "tests/openhost/geometry_process/TestJobs.h"
#include "tests/openhost/geometry_process/TestProcesses.h"

#include <gmock/gmock.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace openhost::testing {

namespace {

class Pool : public ::testing::Test {
protected:
    std::future<std::string> Start(GeometryJob job, const std::string& bytes, const void* owner)
    {
        return pool_->Start(owner, [job, bytes](GeometryProcess& process) { return process.Run(job, bytes); });
    }
    std::future<std::string> Start(GeometryJob job, const std::string& bytes) { return Start(job, bytes, this); }

    std::unique_ptr<GeometryPool> pool_ = std::make_unique<GeometryPool>(Program);
};

TEST_F(Pool, GivesEachWhatItsJobGives)
{
    std::vector<std::future<std::string>> results;
    for (int number = 0; number < 100; ++number)
        results.push_back(Start(jobs::Echo, std::to_string(number)));
    EXPECT_EQ("own", pool_->Own().Run(jobs::Echo, "own"));
    for (std::size_t number = results.size(); number-- > 0;)
        EXPECT_EQ(std::to_string(number), results[number].get());
}

TEST_F(Pool, WorksOnAsManyJobsAsItHasThreads)
{
    const std::vector<MeetingPlace> places(GeometryPool::MostWorkers());
    std::vector<std::future<std::string>> results;
    for (const MeetingPlace& place : places)
        results.push_back(Start(jobs::Meet, place.Bytes()));
    std::set<pid_t> processes;
    for (const MeetingPlace& place : places)
        processes.insert(place.Await());
    EXPECT_EQ(places.size(), processes.size());
    for (const MeetingPlace& place : places)
        place.Release();
    for (std::future<std::string>& result : results)
        EXPECT_NO_THROW(result.get());
}

TEST_F(Pool, AFailureIsThatOfItsJobAlone)
{
    std::vector<std::future<std::string>> refused;
    std::vector<std::future<std::string>> crashed;
    std::vector<std::future<std::string>> sound;
    for (int turn = 0; turn < 10; ++turn) {
        refused.push_back(Start(jobs::Refuse, "a reason"));
        crashed.push_back(Start(jobs::Signal, std::to_string(SIGSEGV)));
        sound.push_back(Start(jobs::Echo, "sound"));
    }
    for (std::size_t turn = 0; turn < sound.size(); ++turn) {
        EXPECT_THROW(refused[turn].get(), GeometryJobError);
        EXPECT_THROW(crashed[turn].get(), GeometryJobCrash);
        EXPECT_EQ("sound", sound[turn].get());
    }
}

TEST_F(Pool, WhatIsDroppedEndsAndTheRestGoesOn)
{
    const int other = 0;
    const MeetingPlace dropped;
    auto first = Start(jobs::Meet, dropped.Bytes(), &other);
    const Descriptor process(OpenProcess(dropped.Await()));
    std::vector<std::future<std::string>> kept;
    for (int turn = 0; turn < 20; ++turn) {
        Start(jobs::Sleep, "", &other);
        kept.push_back(Start(jobs::Echo, "kept"));
    }
    pool_->Drop(&other);
    EXPECT_TRUE(Ends(process.Number()));
    for (std::future<std::string>& result : kept)
        EXPECT_EQ("kept", result.get());
}

TEST_F(Pool, EndsWithWhatItWorksOn)
{
    const MeetingPlace place;
    auto result = Start(jobs::Meet, place.Bytes());
    for (int turn = 0; turn < 20; ++turn)
        Start(jobs::Sleep, "");
    const Descriptor process(OpenProcess(place.Await()));
    pool_.reset();
    EXPECT_TRUE(Ends(process.Number()));
    EXPECT_THROW(result.get(), std::exception);
}

TEST_F(Pool, AProgramThatIsMissingIsAnErrorOfEachJob)
{
    pool_ = std::make_unique<GeometryPool>("/missing/program");
    EXPECT_THROW(Start(jobs::Echo, "").get(), GeometryJobError);
    EXPECT_THROW(Start(jobs::Echo, "").get(), GeometryJobError);
}

} // namespace

} // namespace openhost::testing
