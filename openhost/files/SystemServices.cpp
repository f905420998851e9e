#include "openhost/files/SystemServices.h"

#include "host/system.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace openhost {

template class Port<SystemServices>;

namespace {

class SleepingSystem final : public SystemServices {
public:
    void Sleep(unsigned int milliseconds) override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
};

} // namespace

SystemServices::~SystemServices() = default;

std::unique_ptr<SystemServices> SystemServices::WithoutBackend()
{
    return std::make_unique<SleepingSystem>();
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

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
    openhost::SystemServices::Current().Sleep(milliseconds);
}
