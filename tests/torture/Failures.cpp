#include "tests/torture/Failures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

namespace torture {

namespace {

/// Takes one frame of a stack into the number of its place.
_Unwind_Reason_Code TakeFrame(_Unwind_Context* frame, void* place)
{
    const auto address = static_cast<std::uintptr_t>(_Unwind_GetIP(frame));
    dl_find_object found{};
    if (address == 0 || _dl_find_object(reinterpret_cast<void*>(address - 1), &found) != 0)
        return _URC_END_OF_STACK;
    auto& number = *static_cast<std::uint64_t*>(place);
    const auto take = [&number](std::uint64_t value) { number = (number ^ value) * 0x9E3779B97F4A7C15; };
    const char* const path = found.dlfo_link_map->l_name;
    const char* const slash = std::strrchr(path, '/');
    for (const char* name = slash ? slash + 1 : path; *name != 0; ++name)
        take(static_cast<unsigned char>(*name));
    take(address - found.dlfo_link_map->l_addr);
    return _URC_NO_REASON;
}

/// A number for the place that a call comes from: the offsets of its stack in programs and libraries, which are the
/// same wherever those are loaded. Asks for no memory.
std::uint64_t PlaceOfCall()
{
    std::uint64_t place = 0;
    _Unwind_Backtrace(&TakeFrame, &place);
    return place ^ (place >> 32);
}

} // namespace

/// The failure that the environment asks for, and what has been counted.
///
/// VELMART_TORTURE is PROGRAM/OPERATION:NUMBER:HOW, such as openhost/rename:3:28; a NUMBER of 0 counts only.
/// VELMART_TORTURE_COUNTS, when it is there, is the file that gets the Counts: kept in shared memory, as a process may
/// be killed at any time. VELMART_TORTURE_PLACE gets the functions that the call which has failed came from.
class Failures {
public:
    static Failures& Instance()
    {
        static Failures failures;
        return failures;
    }

    void Begin()
    {
        const char* text = std::getenv("VELMART_TORTURE");
        const char* place = std::getenv("VELMART_TORTURE_PLACE");
        if (!text || !place || std::strlen(place) >= sizeof placeFile_)
            return;
        std::strcpy(placeFile_, place);
        std::string_view rest = text;
        const std::string_view program = program_invocation_short_name;
        if (!rest.starts_with(program) || !rest.substr(program.size()).starts_with('/'))
            return;
        rest.remove_prefix(program.size() + 1);
        how_ = TakeNumber(rest);
        number_ = TakeNumber(rest);
        operation_ = rest;
        // The first backtrace loads a library.
        std::array<void*, 1> caller{};
        backtrace(caller.data(), 1);
        FindLibraries();
        // libcrypto uses its first context whether or not there was memory for it, and crashes. It gets it beforehand.
        if (void* const make = dlsym(RTLD_DEFAULT, "OSSL_LIB_CTX_get0_global_default"))
            reinterpret_cast<void* (*)()>(make)();
        if (const char* counts = std::getenv("VELMART_TORTURE_COUNTS"))
            MapCounts(counts);
        counts_ = true;
    }

    void End() { counts_ = false; }

    int Judge(Operation& operation)
    {
        if (!counts_ || isInside_)
            return 0;
        const int call = ++operation.calls_;
        if (shared_)
            Count(operation, call);
        if (call != number_ || operation.name_ != operation_)
            return 0;
        isInside_ = true;
        Tell();
        if (how_ == Kill)
            kill(getpid(), SIGKILL);
        isInside_ = false;
        return how_;
    }

private:
    /// Takes the number after the last colon off `text`.
    static int TakeNumber(std::string_view& text)
    {
        const std::size_t colon = text.rfind(':');
        if (colon == std::string_view::npos)
            return 0;
        const int number = std::atoi(text.data() + colon + 1);
        text = text.substr(0, colon);
        return number;
    }
    void MapCounts(const char* path)
    {
        const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CREAT | O_CLOEXEC, 0666));
        syscall(SYS_ftruncate, file, sizeof(Counts));
        void* const memory = mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        syscall(SYS_close, file);
        if (memory == MAP_FAILED)
            std::abort();
        shared_ = static_cast<Counts*>(memory);
    }
    void Count(Operation& operation, int call)
    {
        if (!operation.isListed_.exchange(true)) {
            const std::uint32_t index = shared_->operationCount++;
            if (index >= shared_->operations.size())
                std::abort();
            Counts::Operation& entry = shared_->operations[index];
            std::strncpy(entry.name, operation.name_, sizeof entry.name - 1);
            operation.entry_ = &entry;
        }
        // Null while another thread lists it.
        Counts::Operation* const entry = operation.entry_;
        if (entry)
            entry->calls = call;
        if (operation.what_ != What::Allocation || !entry)
            return;
        isInside_ = true;
        const std::uint32_t index = shared_->allocationCount++;
        if (index >= shared_->allocations.size())
            std::abort();
        shared_->allocations[index] = {static_cast<std::uint32_t>(entry - shared_->operations.data()),
                                       static_cast<std::uint32_t>(call), PlaceOfCall()};
        isInside_ = false;
    }
    /// Writes where the call comes from.
    void Tell() const
    {
        const auto file = static_cast<int>(
            syscall(SYS_openat, AT_FDCWD, placeFile_, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
        syscall(SYS_write, file, "failed:\n", 8);
        std::array<void*, 40> places{};
        backtrace_symbols_fd(places.data(), backtrace(places.data(), static_cast<int>(places.size())), file);
        syscall(SYS_close, file);
    }

    std::atomic<bool> counts_ = false;
    static thread_local bool isInside_;
    Counts* shared_ = nullptr;
    char placeFile_[4096] = {};
    std::string_view operation_;
    int number_ = 0;
    int how_ = 0;
};

thread_local bool Failures::isInside_ = false;

int Operation::Fails()
{
    return Failures::Instance().Judge(*this);
}

// ---------------------------------------------------------------------------------------------
// Where libraries lie

namespace {

struct Range {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

/// Libraries whose failed allocations reach the project as errors. Not those of GLib, which ends the process itself
/// when memory runs out (its documentation of memory allocation), nor the loader and the C library, which have no words
/// for it.
constexpr std::array LibraryNames = {"libcurl", "libzip", "libcrypto", "libssl", "libnghttp2"};
std::array<Range, LibraryNames.size()> libraries;
Range module;

bool IsIn(const Range& range, const void* address)
{
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    return range.begin <= place && place < range.end;
}

int Note(dl_phdr_info* info, std::size_t, void*)
{
    const char* slash = std::strrchr(info->dlpi_name, '/');
    const std::string_view name = slash ? slash + 1 : info->dlpi_name;
    Range range{UINTPTR_MAX, 0};
    for (int index = 0; index < info->dlpi_phnum; ++index) {
        const auto& segment = info->dlpi_phdr[index];
        if (segment.p_type != PT_LOAD)
            continue;
        range.begin = std::min<std::uintptr_t>(range.begin, info->dlpi_addr + segment.p_vaddr);
        range.end = std::max<std::uintptr_t>(range.end, info->dlpi_addr + segment.p_vaddr + segment.p_memsz);
    }
    if (name.starts_with("ZALVelmartIntegration"))
        module = range;
    for (std::size_t index = 0; index < LibraryNames.size(); ++index)
        if (name.starts_with(LibraryNames[index]))
            libraries[index] = range;
    return 0;
}

} // namespace

bool IsInModule(const void* address)
{
    return IsIn(module, address);
}

bool IsInLibrary(const void* address)
{
    for (const Range& range : libraries)
        if (IsIn(range, address))
            return true;
    return false;
}

void FindLibraries()
{
    dl_iterate_phdr(&Note, nullptr);
}

void* Next(const void* address)
{
    Dl_info info{};
    dladdr(address, &info);
    return dlsym(RTLD_NEXT, info.dli_sname);
}

// ---------------------------------------------------------------------------------------------
// From the beginning of main to its end

namespace {

using Main = int (*)(int, char**, char**);
Main realMain;

int CountedMain(int count, char** values, char** environment)
{
    Failures::Instance().Begin();
    const int status = realMain(count, values, environment);
    Failures::Instance().End();
    return status;
}

} // namespace

} // namespace torture

extern "C" int __libc_start_main(torture::Main main, int count, char** values, void (*init)(), void (*fini)(),
                                 void (*rtldFini)(), void* stackEnd)
{
    torture::realMain = main;
    const auto original = reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return original(&torture::CountedMain, count, values, init, fini, rtldFini, stackEnd);
}
