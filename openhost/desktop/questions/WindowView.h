// One window of the host with its controls, as widgets.
#pragma once

#include "openhost/dialogs/DialogNode.h"

#include <QPointer>
#include <QWidget>

#include <map>
#include <memory>
#include <vector>

namespace openhost {

struct WidgetPlacement;

/// Made from the tree of ZALDialogNode. Widgets have the names of their controls, and the buttons of the window are
/// named "OK" and "CANCEL". What the user does is handed on from the event loop, never from within Qt, and only while
/// the window is shown and the control takes input: a callback may end the window.
class WindowView {
public:
    /// `window` is one that is shown and hidden. It outlives the view.
    explicit WindowView(ZALDialog& window);
    WindowView(const WindowView&) = delete;
    WindowView& operator=(const WindowView&) = delete;
    ~WindowView();

    /// Brings all widgets in step with the tree.
    void Update();
    /// Removes the widget of a control that ends.
    void Forget(const ZALDialog& control);
    QWidget& Widget() { return *window_; }

private:
    struct Control;
    using Action = void (*)(ZALDialog& dialog, QWidget& widget);

    QWidget* MakeWindow();
    QWidget* MakeWidget(ZALDialog& dialog);
    Control& Add(ZALDialog& dialog, QWidget* widget);
    void UpdateControl(Control& control);
    void UpdateChildren(Control& control);
    void Arrange(Control& control);
    std::vector<WidgetPlacement> PlaceChildren(const ZALDialogNode& node) const;
    void UpdateFolder(Control& control);
    /// Has the loop do `action` on the control, unless it has ended by then.
    void Report(ZALDialog& dialog, Action action);

    std::map<const ZALDialog*, std::shared_ptr<Control>> controls_; ///< reports hold them weakly
    ZALDialog& dialog_;
    std::unique_ptr<QWidget> window_;
};

} // namespace openhost
