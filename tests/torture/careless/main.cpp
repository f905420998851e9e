// A program in the place of openhost that replaces the user's file, with the one fault that its session names. Without
// a fault it does what every program should: the file is old or new, errors are told, nothing is left.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace {

std::string fault;

bool Has(std::string_view name)
{
    return fault == name;
}

/// Ends the program as an error does.
int Fail(const std::string& left)
{
    if (Has("crashes"))
        std::abort();
    if (Has("hangs"))
        pause();
    if (Has("leaves a process") && fork() == 0)
        while (true)
            pause();
    if (!Has("leaves a file"))
        unlink(left.c_str());
    if (Has("is silent"))
        return 0;
    std::fprintf(stderr, "careless: %s\n", std::strerror(errno));
    return 1;
}

bool WriteAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

int Replace(const std::string& target)
{
    const std::string next = Has("writes in place") ? target : target + ".next";
    const int file = open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0)
        return Fail(Has("writes in place") ? "" : next);
    const bool isWritten = WriteAll(file, "The first half, ") && WriteAll(file, "and the second.\n");
    close(file);
    if (!isWritten)
        return Fail(Has("writes in place") ? "" : next);
    if (Has("deletes first"))
        unlink(target.c_str());
    if (next != target && rename(next.c_str(), target.c_str()) != 0)
        return Fail(next);
    return 0;
}

} // namespace

int main(int count, char** values)
{
    std::ifstream session(values[2]);
    std::getline(session, fault);
    session.close();
    std::string parts;
    for (int index = 3; index < count; ++index)
        if (std::strncmp(values[index], "PARTS=", 6) == 0)
            parts = values[index] + 6;

    // What a killed one has left.
    std::error_code ignored;
    std::filesystem::remove(parts + "/note.txt.next", ignored);

    std::string filler;
    if (Has("allocates often"))
        for (int repeat = 0; repeat < 100; ++repeat)
            std::string(100, 'a').swap(filler);

    const std::string lock = std::string(std::getenv("TMPDIR")) + "/lock";
    if (Has("takes a lock")) {
        const int file = open(lock.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file < 0)
            return Fail("");
        close(file);
    }
    const int status = Replace(parts + "/note.txt");
    unlink(lock.c_str());
    return status;
}
