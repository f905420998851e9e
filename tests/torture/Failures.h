// Calls that are made to fail, each counted by the name of its operation.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace torture {

/// How a call fails that gets or gives fewer bytes than it was asked for; any other positive number is an error of the
/// system, or a way that the operation knows.
inline constexpr int Short = 1000;
/// The process ends by SIGKILL before the call.
inline constexpr int Kill = 1001;

/// What others see of the calls.
struct Counts {
    struct Operation {
        char name[124];
        std::atomic<std::uint32_t> calls;
    };
    struct Allocation {
        std::uint32_t operation; ///< index
        std::uint32_t call;      ///< from 1
        std::uint64_t place;     ///< the same for calls from the same functions
    };
    std::atomic<std::uint32_t> operationCount;
    std::atomic<std::uint32_t> allocationCount;
    std::array<Operation, 1024> operations;
    std::array<Allocation, 1 << 18> allocations;
};

enum class What { Call, Allocation };

/// An operation whose calls are counted, as a static object of the function that stands in for it. Calls count from the
/// beginning of main to its end, those of all threads together.
class Operation {
public:
    constexpr explicit Operation(const char* name, What what = What::Call) : name_(name), what_(what) {}

    /// Counts a call. 0 when it is to be done as ever, otherwise how it fails.
    int Fails();

private:
    friend class Failures;
    const char* name_;
    What what_;
    std::atomic<int> calls_ = 0;
    std::atomic<bool> isListed_ = false;
    std::atomic<Counts::Operation*> entry_ = nullptr; ///< what others see of it
};

/// Whether `address`, to which a call returns, lies in the module under test.
bool IsInModule(const void* address);
/// Whether it lies in a library in C whose allocations may fail.
bool IsInLibrary(const void* address);
/// Looks anew where libraries lie.
void FindLibraries();

/// What stands behind the operation at `address`, which is one of this library.
void* Next(const void* address);

} // namespace torture
