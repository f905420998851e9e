// How far a program is, for who waits at a terminal.
#pragma once

#include <string>

namespace openhost {

/// A line of standard error that is written over again and again; nothing where that is no terminal.
class ProgressLine {
public:
    ProgressLine() = default;
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine() { Clear(); }

    /// Whether anybody sees it.
    static bool IsSeen();
    void Tell(const std::string& text);
    /// Makes room for other output.
    void Clear();

private:
    bool isShown_ = false;
};

} // namespace openhost
