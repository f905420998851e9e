#include "traces/ZALVelmartIntegrationDebug.h"

#include <chrono>
#include <new>

namespace ZALVelmartIntegrationDebug::Chrono {

namespace {

std::int64_t ChronoStart = 0; // nanoseconds of the monotonic clock

std::int64_t Now()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

void Start()
{
    ChronoStart = Now();
}

std::uint64_t GetElapsed()
{
    return static_cast<std::uint64_t>((Now() - ChronoStart) / 1000000);
}

ZALUnicodeString GetElapsedAsString()
try {
    ZALUnicodeString text;
    text.BuildFromNum(GetElapsed(), "%I64u");
    text += " ms";
    return text;
} catch (const std::bad_alloc&) {
    return {};
}

} // namespace ZALVelmartIntegrationDebug::Chrono
