#include "openhost/desktop/questions/QtDialogSurface.h"

#include "openhost/desktop/questions/QuestionBox.h"
#include "openhost/desktop/questions/WindowView.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/journal/UserSteps.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/loop/Patience.h"

#include <QWindow>

#include <functional>

namespace openhost {

namespace {

/// The window in which `dialog` stands, or null.
ZALDialog* WindowOf(ZALDialog& dialog)
{
    ZALDialog* above = &dialog;
    while (above && !ZALDialogNode::Of(*above).IsWindow())
        above = above->GetFather();
    return above;
}

} // namespace

/// A question for as long as it is asked.
class QtDialogSurface::ShownQuestion {
public:
    ShownQuestion(QtDialogSurface& surface, const ZALDialog& question, QuestionBox& box)
        : surface_(surface), question_(question), box_(box)
    {
        surface_.questions_.push_back(this);
        surface_.StayWithMainWindow(box_);
        box_.show();
        box_.activateWindow();
    }
    ShownQuestion(const ShownQuestion&) = delete;
    ShownQuestion& operator=(const ShownQuestion&) = delete;
    ~ShownQuestion() { std::erase(surface_.questions_, this); }

    /// Takes a question that has ended off the screen, also while a newer one is shown.
    void HideFor(const ZALDialog& ended)
    {
        if (&ended == &question_)
            box_.hide();
    }

private:
    QtDialogSurface& surface_;
    const ZALDialog& question_;
    QuestionBox& box_;
};

QtDialogSurface::QtDialogSurface(std::function<QWindow*()> main)
    : main_(std::move(main)), self_(std::make_shared<QtDialogSurface*>(this))
{
}

QtDialogSurface::~QtDialogSurface() = default;

void QtDialogSurface::Shown(ZALDialog& dialog)
{
    Changed(dialog);
}

void QtDialogSurface::Hidden(ZALDialog& dialog)
{
    Changed(dialog);
}

void QtDialogSurface::Changed(ZALDialog& dialog)
{
    ZALDialog* window = WindowOf(dialog);
    if (!window || !ZALDialogNode::Of(*window).IsLastingWindow())
        return;
    const bool isFirst = changed_.empty();
    changed_.insert(window);
    if (!isFirst)
        return;
    EventLoop::Current().Post([reference = std::weak_ptr(self_)] {
        if (const auto self = reference.lock())
            (*self)->UpdateChangedWindows();
    });
}

void QtDialogSurface::Ended(ZALDialog& dialog)
{
    changed_.erase(&dialog);
    windows_.erase(&dialog);
    for (const auto& [window, view] : windows_)
        view->Forget(dialog);
    for (ShownQuestion* question : questions_)
        question->HideFor(dialog);
}

void QtDialogSurface::UpdateChangedWindows()
{
    for (ZALDialog* window : std::exchange(changed_, {})) {
        const ZALDialogNode& node = ZALDialogNode::Of(*window);
        std::unique_ptr<WindowView>& view = windows_[window];
        if (!view && node.visible) {
            view = std::make_unique<WindowView>(*window);
            StayWithMainWindow(view->Widget());
            view->Update();
            view->Widget().raise();
        } else if (view) {
            view->Update();
        } else {
            windows_.erase(window);
        }
    }
}

void QtDialogSurface::StayWithMainWindow(QWidget& widget)
{
    QWindow* main = main_();
    if (!main)
        return;
    widget.winId();
    widget.windowHandle()->setTransientParent(main);
    widget.move(main->geometry().center() - QRect(QPoint(), widget.sizeHint()).center());
}

int QtDialogSurface::Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title)
{
    QuestionBox box(question.GetStyle(), text, title);
    box.setObjectName(QString::fromUtf8(question.GetName().CastToCharPtr()));
    const ShownQuestion shown(*this, question, box);
    const Patience patience;
    // After the user has closed the main window nobody is there to answer.
    const QWindow* main = main_();
    if (!main || main->isVisible())
        EventLoop::Current().RunUntil([&] { return box.Answer() || ZALDialogNode::Of(question).ended; });
    // A signal that ends the process leaves it without an answer.
    const int answer = box.Answer().value_or(ZALDialogNode::Of(question).ended ? ZALDlgAnswerClosed : box.SafeAnswer());
    NoteUserAnswer(question.GetName().CastToCharPtr(), answer);
    return answer;
}

} // namespace openhost
