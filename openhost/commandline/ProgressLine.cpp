#include "openhost/commandline/ProgressLine.h"

#include <iostream>
#include <utility>

#include <unistd.h>

namespace openhost {

bool ProgressLine::IsSeen()
{
    return isatty(STDERR_FILENO) == 1;
}

void ProgressLine::Tell(const std::string& text)
{
    if (!IsSeen())
        return;
    std::cerr << "\r\033[K" << text << std::flush;
    isShown_ = true;
}

void ProgressLine::Clear()
{
    if (std::exchange(isShown_, false))
        std::cerr << "\r\033[K" << std::flush;
}

} // namespace openhost
