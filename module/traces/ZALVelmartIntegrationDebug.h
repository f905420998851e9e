// Diagnostics of the module: its one trace object and a stopwatch.
#pragma once

#include "host/text.h"

#include <new>

namespace ZALVelmartIntegrationDebug {

/// The module's trace object, there while the module is loaded. Write through VL_TRACE.
extern ZALTrace Traces;

/// One stopwatch for the process, used on the user-interface thread.
namespace Chrono {
/// Starts or restarts the stopwatch.
void Start();
/// Milliseconds since Start, rounded toward zero. Without a Start, the monotonic clock's own value.
std::uint64_t GetElapsed();
/// GetElapsed followed by " ms"; empty when memory is out.
ZALUnicodeString GetElapsedAsString();
} // namespace Chrono

} // namespace ZALVelmartIntegrationDebug

/// Whether the trace is on.
#define VL_TRACE_IS_ON (ZALVelmartIntegrationDebug::Traces.Activation && *ZALVelmartIntegrationDebug::Traces.Activation)

/// Writes one trace line; `pieces` are joined by <<. While the trace is off this tests the activation, and
/// builds nothing. A line for which there is no memory is lost, and the caller goes on.
#define VL_TRACE(pieces)                                                                                               \
    do {                                                                                                               \
        if (VL_TRACE_IS_ON) {                                                                                          \
            try {                                                                                                      \
                ZALOmxTextStream vlTraceText;                                                                          \
                vlTraceText << pieces << "\n";                                                                         \
                ZALVelmartIntegrationDebug::Traces.TraPut(vlTraceText.ToString().ConvertToChar().CastToCharPtr());     \
            } catch (const std::bad_alloc&) {                                                                          \
            }                                                                                                          \
        }                                                                                                              \
    } while (false)
