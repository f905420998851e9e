// SIGINT, SIGTERM and SIGHUP, which end what the loop runs, in order.
#pragma once

namespace openhost {

/// Belongs to the process. The loop is left as soon as a signal has come, and left again at once each time that it is
/// run, until somebody takes the signal. A second signal ends the process as if there were none of this.
class Interruption {
public:
    /// Catches the signals from now on, those that are not ignored. SIGPIPE ends nothing any more: who writes is told.
    /// Throws std::system_error.
    static void Catch();
    /// The signal that has come and that nobody has taken; 0 for none.
    static int Signal();
    /// The same, and it is taken.
    static int Take();
    /// Readable when a signal has come; -1 before Catch. Stays the process's.
    static int Descriptor();
    /// Takes what is readable.
    static void Drain();
};

} // namespace openhost
