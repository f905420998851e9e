// Dialogs and questions in windows of Qt.
#pragma once

#include "openhost/dialogs/DialogSurface.h"

#include <functional>
#include <map>
#include <set>
#include <vector>

class QWidget;
class QWindow;

namespace openhost {

class QuestionBox;
class WindowView;

/// Needs a QtDesktop, and the QtEventLoop as the loop in use. Windows follow the tree of controls from the loop, once
/// for all changes that were made before. Every text is shown as it stands: nothing in it is taken for markup. A
/// question blocks all other windows; while it is shown the loop runs, so that transfers go on.
class QtDialogSurface final : public DialogSurface {
public:
    /// `main` gives the window above which dialogs stay, or null.
    explicit QtDialogSurface(std::function<QWindow*()> main = [] { return nullptr; });
    QtDialogSurface(const QtDialogSurface&) = delete;
    QtDialogSurface& operator=(const QtDialogSurface&) = delete;
    ~QtDialogSurface() override;

    void Shown(ZALDialog& dialog) override;
    void Hidden(ZALDialog& dialog) override;
    void Changed(ZALDialog& dialog) override;
    void Ended(ZALDialog& dialog) override;
    int Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title) override;

private:
    class ShownQuestion;

    void UpdateChangedWindows();
    /// Keeps `widget`, which is not shown yet, above the main window and in its middle.
    void StayWithMainWindow(QWidget& widget);

    std::function<QWindow*()> main_;
    std::map<const ZALDialog*, std::unique_ptr<WindowView>> windows_;
    std::set<ZALDialog*> changed_;           ///< windows to be brought in step; the loop has a call for that
    std::vector<ShownQuestion*> questions_;  ///< the newest last
    std::shared_ptr<QtDialogSurface*> self_; ///< for calls of the loop, which hold it weakly
};

} // namespace openhost
