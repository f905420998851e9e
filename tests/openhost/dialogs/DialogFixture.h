// What tests of dialogs share.
#pragma once

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/ScriptedSurface.h"
#include "openhost/journal/Journal.h"
#include "openhost/loop/ManualEventLoop.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace openhost {

/// A subscriber that calls a function for each notification.
class Subscriber : public ZALEventSubscriber {
public:
    explicit Subscriber(std::function<void()> call) : call_(std::move(call)) {}
    void OnNotification(ZALBaseUnknown*, ZALNotification*, void*) { call_(); }

private:
    std::function<void()> call_;
};

/// A fresh loop and a fresh surface; journal events are kept.
class DialogFixture : public ::testing::Test {
protected:
    DialogFixture()
        : loopBefore_(EventLoop::Install(std::make_unique<ManualEventLoop>())),
          surfaceBefore_(DialogSurface::Install(std::make_unique<ScriptedSurface>())),
          sinkBefore_(journal::Redirect([this](const nlohmann::ordered_json& event) { events.push_back(event); }))
    {
    }

    ~DialogFixture() override
    {
        EndAllDialogs();
        journal::Redirect(sinkBefore_);
        DialogSurface::Install(std::move(surfaceBefore_));
        EventLoop::Install(std::move(loopBefore_));
    }

    static EventLoop& Loop() { return EventLoop::Current(); }
    static ScriptedSurface& Surface() { return static_cast<ScriptedSurface&>(DialogSurface::Current()); }

    /// The journal's events of one kind, as texts of JSON.
    std::vector<std::string> Events(const std::string& kind) const
    {
        std::vector<std::string> lines;
        for (const nlohmann::ordered_json& event : events)
            if (event["event"] == kind)
                lines.push_back(event.dump());
        return lines;
    }

    std::vector<nlohmann::ordered_json> events;

private:
    std::unique_ptr<EventLoop> loopBefore_;
    std::unique_ptr<DialogSurface> surfaceBefore_;
    journal::Sink sinkBefore_;
};

} // namespace openhost
