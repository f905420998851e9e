#include "openhost/geometry/OnAllCores.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <semaphore>
#include <thread>
#include <vector>

namespace openhost {

namespace {

/// Each takes some 100 MiB of the addresses that a geometry job may have.
constexpr std::size_t MaximumThreads = 8;

/// Those that all calls have beside the threads of their callers.
std::counting_semaphore<> otherThreads(MaximumThreads - 1);

} // namespace

void OnAllCores(std::size_t count, const std::function<void(std::size_t number)>& work)
{
    std::atomic<std::size_t> next = 0;
    std::vector<std::exception_ptr> failures(count);
    const auto takeNumbers = [&] {
        for (std::size_t number = next++; number < count; number = next++)
            try {
                work(number);
            } catch (...) {
                failures[number] = std::current_exception();
            }
    };
    {
        const std::size_t threads = std::min<std::size_t>(count, std::thread::hardware_concurrency());
        std::vector<std::jthread> others;
        others.reserve(threads);
        while (others.size() + 1 < threads && otherThreads.try_acquire())
            try {
                others.emplace_back([&] {
                    takeNumbers();
                    otherThreads.release();
                });
            } catch (const std::exception&) {
                otherThreads.release();
                break; // the threads that there are do it all
            }
        takeNumbers();
    }
    for (const std::exception_ptr& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
}

} // namespace openhost
