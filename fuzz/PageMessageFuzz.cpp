// A message of the page, from the panel to the request that it leads to.

#include "fuzz/RenewedHost.h"
#include "openhost/text/Utf.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    openhost::testing::ScriptedHost& host = openhost::testing::RenewedHost();
    static auto* addin = new ZALVelmartMeridiaAccessAddin;

    const ZALUnicodeString message = openhost::FromUtf8({reinterpret_cast<const char*>(bytes), size});
    addin->OnJSMessage(message);

    // A transfer that was started ends here, so that the next message finds the engine idle.
    if (host.Transport().Count() > 0 && host.Transport().Last().IsRunning())
        host.Transport().Last().End(openhost::TransferEnd::Failed);
    host.Loop().RunUntilIdle();
    return 0;
}
