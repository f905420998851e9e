// A display that tells what is shown on it.
#pragma once

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/DialogSurface.h"

#include <functional>
#include <utility>

namespace openhost::testing {

/// For ScriptedSurface::ShowOn. Only what is set is called.
class WatchingDisplay final : public DialogSurface {
public:
    using Watch = std::function<void(ZALDialog& dialog)>;
    struct Watches {
        Watch shown{};
        Watch hidden{};
        Watch changed{};
        Watch ended{};
    };

    explicit WatchingDisplay(Watches watches) : watches_(std::move(watches)) {}

    void Shown(ZALDialog& dialog) override { Call(watches_.shown, dialog); }
    void Hidden(ZALDialog& dialog) override { Call(watches_.hidden, dialog); }
    void Changed(ZALDialog& dialog) override { Call(watches_.changed, dialog); }
    void Ended(ZALDialog& dialog) override { Call(watches_.ended, dialog); }
    int Ask(ZALDlgNotify&, const ZALUnicodeString&, const ZALUnicodeString&) override { return ZALDlgAnswerClosed; }

private:
    static void Call(const Watch& watch, ZALDialog& dialog)
    {
        if (watch)
            watch(dialog);
    }

    Watches watches_;
};

} // namespace openhost::testing
