// What benchmarks share: times, their medians, and the end of a program whose work has gone wrong.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace benchmarks {

using Clock = std::chrono::steady_clock;

inline double MillisecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

inline double MicrosecondsSince(Clock::time_point begin)
{
    return 1000 * MillisecondsSince(begin);
}

inline double Milliseconds(const std::function<void()>& work)
{
    const Clock::time_point begin = Clock::now();
    work();
    return MillisecondsSince(begin);
}

/// The upper one of an even number; there must be one value at least.
inline double Median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// Ends the program unless `condition` holds: a benchmark of work that has failed tells nothing.
inline void Require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::exit(EXIT_FAILURE);
}

/// Times by name, in milliseconds.
class Times {
public:
    void Measure(const std::string& name, const std::function<void()>& work)
    {
        times_[name].push_back(Milliseconds(work));
    }

    void Forget() { times_.clear(); }

    /// A line for each.
    void Print() const
    {
        for (const auto& [name, times] : times_)
            for (const double time : times)
                std::printf("%s %.3f ms\n", name.c_str(), time);
    }

private:
    std::map<std::string, std::vector<double>> times_;
};

} // namespace benchmarks
