// One message of the page, from OnJSMessage to the start of the request.

#include "benchmarks/Measure.h"
#include "openhost/objects/Traces.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"
#include "tests/support/ScriptedHost.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using namespace benchmarks;

/// Notes when a transfer is started; the transfer never moves.
class StampingTransport : public openhost::HttpTransport {
public:
    std::unique_ptr<openhost::HttpTransfer> Start(openhost::HttpRequestData,
                                                  openhost::HttpTransferListener& listener) override
    {
        Started = Clock::now();
        Listener = &listener;
        return std::make_unique<Transfer>();
    }

    Clock::time_point Started;
    openhost::HttpTransferListener* Listener = nullptr;

private:
    class Transfer : public openhost::HttpTransfer {
        void Cancel() override {}
    };
};

/// A message as the page sends it for an item, of about two kibibytes.
std::string Message()
{
    std::string attributes = R"("fileName":"ISO 4014 M8x40","catalog":{"name":"Fasteners"})";
    for (int dimension = 0; dimension < 40; ++dimension)
        attributes += R"(,"dimension)" + std::to_string(dimension) + R"(":{"value":12.75,"unit":"mm"})";
    return R"({"event":"velmart_download","content":{"id":4711,"attributes":{)" + attributes +
           R"(,"downloadUrls":{"ZALOR_RAW":"http://127.0.0.1:8080/files/bolt.zip"}}}})";
}

} // namespace

int main()
{
    constexpr int runs = 2001;
    openhost::testing::ScriptedHost host;
    openhost::SwitchTraces(false);
    auto installed = std::make_unique<StampingTransport>();
    StampingTransport& transport = *installed;
    openhost::HttpTransport::Install(std::move(installed));

    auto* addin = new ZALVelmartMeridiaAccessAddin;
    const ZALUnicodeString message = Message().c_str();
    std::vector<double> microseconds;
    for (int run = 0; run < runs; ++run) {
        const Clock::time_point begin = Clock::now();
        if (FAILED(addin->OnJSMessage(message)))
            return EXIT_FAILURE;
        microseconds.push_back(std::chrono::duration<double, std::micro>(transport.Started - begin).count());
        transport.Listener->OnEnd(openhost::TransferEnd::Failed, "not sent");
        host.Loop().RunUntilIdle();
    }
    addin->Release();

    std::printf("message_to_send %.3f us\n", Median(microseconds));
    return EXIT_SUCCESS;
}
