#include "host/system.h"

#include <chrono>
#include <cstdlib>
#include <thread>

HRESULT ZALGetEnv(const char* name, ZALUnicodeString& value)
{
    const char* const text = name ? std::getenv(name) : nullptr;
    if (!text)
        return E_FAIL;

    value = text;
    return S_OK;
}

void ZALSleep(unsigned int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
