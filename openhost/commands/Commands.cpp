#include "openhost/commands/Commands.h"

#include "openhost/journal/Events.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/objects/Owned.h"

#include "host/dialog_engine.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace openhost {

namespace {

// Available where the command may be started from the menus: in the global mode.
class HostHeader : public ZALCommandHeader {
public:
    explicit HostHeader(std::string name) : name_(std::move(name)) {}

    int IsAvailable() const override { return (modes_ & ZALHeaderInGlobalMode) ? 1 : 0; }
    void SetAvailability(int mask, int state) override
    {
        modes_ = state ? modes_ | mask : modes_ & ~mask;
        journal::Write([&] {
            return journal::CommandHeader{
                .header = name_, .mask = mask, .state = state, .available = IsAvailable() == 1};
        });
    }
    bool IsAvailableIn(int mask) const { return (modes_ & mask) == mask; }

private:
    std::string name_;
    int modes_ = 0;
};

class HostApplication : public ZALInteractiveApplication {
public:
    HostApplication() = default;
    HostApplication(const HostApplication&) = delete;
    HostApplication& operator=(const HostApplication&) = delete;
    ~HostApplication() override
    {
        for (const TimeOut& timeOut : timeOuts_)
            EventLoop::Current().CancelTimer(timeOut.timer);
    }

    void UpdateDisplay() override { ++updates; }

    void AddTimeOut(unsigned int milliseconds, ZALBaseUnknown* client, void* data, ZALTimeOutFunction function) override
    {
        if (!client || !function)
            return;
        const std::uint64_t number = ++lastNumber_;
        const EventLoop::Timer timer =
            EventLoop::Current().CallAfter(std::chrono::milliseconds(milliseconds), [this, number] { Fire(number); });
        timeOuts_.push_back({number, timer, milliseconds, client, ZALBaseUnknown_WR(client), data, function});
    }

    void RemoveTimeOut(unsigned int milliseconds, ZALBaseUnknown* client, void* data,
                       ZALTimeOutFunction function) override
    {
        std::erase_if(timeOuts_, [&](const TimeOut& timeOut) {
            const bool isMeant = timeOut.milliseconds == milliseconds && timeOut.client == client &&
                                 timeOut.data == data && timeOut.function == function;
            if (isMeant)
                EventLoop::Current().CancelTimer(timeOut.timer);
            return isMeant;
        });
    }

    int updates = 0;

private:
    struct TimeOut {
        std::uint64_t number;
        EventLoop::Timer timer;
        unsigned int milliseconds;
        const ZALBaseUnknown* client; ///< compared only: a client that ends removes its time-outs by this
        ZALBaseUnknown_WR reference;
        void* data;
        ZALTimeOutFunction function;
    };

    void Fire(std::uint64_t number)
    {
        const auto found = std::ranges::find(timeOuts_, number, &TimeOut::number);
        if (found == timeOuts_.end())
            return;
        const TimeOut timeOut = *found;
        timeOuts_.erase(found);
        if (const Owned<ZALBaseUnknown> client = Lock(timeOut.reference))
            timeOut.function(client.get(), timeOut.data);
    }

    std::vector<TimeOut> timeOuts_;
    std::uint64_t lastNumber_ = 0;
};

class HostRecorder : public ZALRecord {
public:
    HostRecorder(bool capture, bool replay) : capture_(capture), replay_(replay) {}

    bool IsCapture() const override { return capture_; }
    bool IsReplay() const override { return replay_; }

private:
    bool capture_;
    bool replay_;
};

struct Run {
    std::map<std::string, std::unique_ptr<HostHeader>> headers;
    std::map<std::string, ZALCommandHeader*> replacements;
    std::unique_ptr<HostApplication> application;
    std::unique_ptr<HostRecorder> recorder;

    explicit Run(const CommandOptions& options)
    {
        if (options.findSimilarHeader)
            headers.emplace(FindSimilarHeader, std::make_unique<HostHeader>(FindSimilarHeader));
        if (options.application)
            application = std::make_unique<HostApplication>();
        if (options.recorder)
            recorder = std::make_unique<HostRecorder>(options.capture, options.replay);
    }
};

// Never destroyed: objects of a module may ask for their header after the statics of this library.
Run& Current()
{
    static auto& run = *new Run(CommandOptions{});
    return run;
}

} // namespace

void ConfigureCommands(const CommandOptions& options)
{
    Current() = Run(options);
}

void ResetCommands()
{
    ConfigureCommands({});
}

void AddCommandHeader(const std::string& name)
{
    auto& headers = Current().headers;
    if (!headers.contains(name))
        headers.emplace(name, std::make_unique<HostHeader>(name));
}

void ReplaceCommandHeader(const std::string& name, ZALCommandHeader* header)
{
    if (header)
        Current().replacements[name] = header;
    else
        Current().replacements.erase(name);
}

bool IsHeaderAvailable(const std::string& name, int mask)
{
    const auto& headers = Current().headers;
    const auto header = headers.find(name);
    return header != headers.end() && header->second->IsAvailableIn(mask);
}

int DisplayUpdateCount()
{
    return Current().application ? Current().application->updates : 0;
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

ZALCommandHeader* ZALCommandHeader::GetHeaderFromList(const ZALString& name, int options)
{
    if (options != 0)
        return nullptr;
    const auto& replacements = openhost::Current().replacements;
    if (const auto replacement = replacements.find(name.CastToCharPtr()); replacement != replacements.end())
        return replacement->second;
    const auto& headers = openhost::Current().headers;
    const auto header = headers.find(name.CastToCharPtr());
    return header != headers.end() ? header->second.get() : nullptr;
}

ZALApplication* ZALApplication::MainApplication()
{
    return openhost::Current().application.get();
}

ZALRecord* ZALRecord::GetMain()
{
    return openhost::Current().recorder.get();
}
