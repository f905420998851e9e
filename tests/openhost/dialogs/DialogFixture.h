// What tests of dialogs share.
#pragma once

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/ScriptedSurface.h"
#include "openhost/journal/Journal.h"
#include "openhost/loop/ManualEventLoop.h"
#include "openhost/text/Utf.h"
#include "tests/support/Listener.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace openhost {

/// A surface that writes down what it is told. Its user answers No.
class RecordingSurface : public DialogSurface {
public:
    explicit RecordingSurface(std::vector<std::string>& told) : told_(told) {}
    void Shown(ZALDialog& dialog) override { Tell("shown", dialog); }
    void Hidden(ZALDialog& dialog) override { Tell("hidden", dialog); }
    void Changed(ZALDialog& dialog) override { Tell("changed", dialog); }
    void Ended(ZALDialog& dialog) override { Tell("ended", dialog); }
    int Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title) override
    {
        Tell("asked " + ToUtf8(title) + ": " + ToUtf8(text), question);
        return ZALDlgAnswerNo;
    }

private:
    void Tell(const std::string& what, const ZALDialog& dialog)
    {
        told_.push_back(ZALDialogNode::Of(dialog).Name() + " " + what);
    }

    std::vector<std::string>& told_;
};

/// A fresh loop and a fresh surface, scripted unless a test brings its own; journal events are kept.
class DialogFixture : public ::testing::Test {
protected:
    explicit DialogFixture(std::unique_ptr<EventLoop> loop = std::make_unique<ManualEventLoop>(),
                           std::unique_ptr<DialogSurface> surface = std::make_unique<ScriptedSurface>())
        : loopBefore_(EventLoop::Install(std::move(loop))), surfaceBefore_(DialogSurface::Install(std::move(surface))),
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

    static ZALDlgDialog* Window(const char* name = "Window", ZALDialog* parent = nullptr, unsigned int style = 0)
    {
        return new ZALDlgDialog(parent, name, style);
    }
    static ZALDlgDialog* Shown(ZALDlgDialog* window)
    {
        window->SetVisibility(ZALDlgShow);
        return window;
    }
    /// Ends a dialog, and lets that happen.
    static void End(ZALDialog* dialog)
    {
        dialog->RequestDelayedDestruction();
        Loop().RunUntilIdle();
    }
    /// Calls `reaction` for each notification of a class.
    void React(ZALDialog* publisher, const char* notification, std::function<void()> reaction)
    {
        listeners_.push_back(std::make_unique<testing::Listener>(
            [react = std::move(reaction)](ZALBaseUnknown*, ZALNotification*, void*) { react(); }));
        listeners_.back()->Subscribe(publisher, notification);
    }
    /// Keeps the name of each notification of a class.
    void Note(ZALDialog* publisher, const char* notification)
    {
        React(publisher, notification, [this, notification] { Told.push_back(notification); });
    }

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
    std::vector<std::string> Told; ///< notifications

private:
    std::unique_ptr<EventLoop> loopBefore_;
    std::unique_ptr<DialogSurface> surfaceBefore_;
    journal::Sink sinkBefore_;
    std::vector<std::unique_ptr<testing::Listener>> listeners_;
};

} // namespace openhost
