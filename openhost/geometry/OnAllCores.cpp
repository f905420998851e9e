#include "openhost/geometry/OnAllCores.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>
#include <vector>

namespace openhost {

namespace {

/// Each takes some 100 MiB of the addresses that a geometry job may have.
constexpr std::size_t MaximumThreads = 8;

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
        const std::size_t threads = std::min<std::size_t>({count, std::thread::hardware_concurrency(), MaximumThreads});
        std::vector<std::jthread> others;
        try {
            while (others.size() + 1 < threads)
                others.emplace_back(takeNumbers);
        } catch (const std::exception&) {
            // The threads that there are do it all.
        }
        takeNumbers();
    }
    for (const std::exception_ptr& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
}

} // namespace openhost
