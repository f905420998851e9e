#include "tests/torture/Failures.h"

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

namespace torture {

/// The failure that the environment asks for, and what has been counted.
///
/// VELMART_TORTURE is PROGRAM/OPERATION:NUMBER:HOW, such as openhost/rename:3:28; a NUMBER of 0 counts only.
/// VELMART_TORTURE_COUNTS, when it is there, is the file that gets an entry for each operation, its name and the number
/// of its calls: kept in shared memory, as a process may be killed at any time. VELMART_TORTURE_PLACE gets the places
/// that the call which has failed came from.
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
        if (!operation.isListed_.exchange(true)) {
            if (entries_) {
                operation.entry_ = entries_ + entryCount_++;
                std::strncpy(operation.entry_->name, operation.name_, sizeof operation.entry_->name - 1);
            }
        }
        if (operation.entry_)
            operation.entry_->calls = call;
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
        constexpr std::size_t most = 1024;
        const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CREAT | O_CLOEXEC, 0666));
        syscall(SYS_ftruncate, file, most * sizeof(Entry));
        entries_ =
            static_cast<Entry*>(mmap(nullptr, most * sizeof(Entry), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
        syscall(SYS_close, file);
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
    Entry* entries_ = nullptr;
    std::atomic<std::size_t> entryCount_ = 0;
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
constexpr std::array LibraryNames = {"libcurl", "libzip", "libuv", "libcrypto", "libssl", "libnghttp2"};
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
