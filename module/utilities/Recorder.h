// What recorded and replayed sessions ask for.
#pragma once

#include "host/dialog_engine.h"
#include "host/system.h"

/// Whether the host records what the user does, or replays it.
inline bool IsRecorderAtWork()
{
    const ZALRecord* recorder = ZALRecord::GetMain();
    return recorder && (recorder->IsCapture() || recorder->IsReplay());
}

/// Gives a transfer that has just begun two seconds while the recorder is at work.
inline void PauseForRecorder()
{
    if (IsRecorderAtWork())
        ZALSleep(2000);
}
