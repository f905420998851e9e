// What the user points at: selection, picks for commands, what is hidden.

#include "openhost/commands/DialogEngine.h"
#include "openhost/desktop/tree/ProductTree.h"
#include "openhost/desktop/tree/Properties.h"
#include "openhost/desktop/view/ProductView.h"
#include "openhost/desktop/window/MainWindow.h"
#include "openhost/desktop/window/Words.h"
#include "openhost/journal/Events.h"
#include "openhost/journal/UserSteps.h"

#include "host/frame.h"

#include <QLabel>
#include <QMenu>
#include <QStatusBar>

namespace openhost {

namespace {

constexpr int MessageTime = 8000; // milliseconds

} // namespace

// ---------------------------------------------------------------------------------------------
// Selection

void MainWindow::OnSelectionMoved(Number number)
{
    properties_->Show(*outline_, number);
    SelectInView(number);
    if (!isPicking_)
        Highlight(number);
    UpdateActions();
}

void MainWindow::OnChosen(Number number)
{
    if (!isPicking_)
        return;
    // From the loop: the command may ask something.
    EventLoop::Current().Post([reference = std::weak_ptr(self_), way = outline_->WayTo(number), outline = outline_] {
        const auto self = reference.lock();
        if (!self)
            return;
        MainWindow& window = **self;
        const Number now = window.outline_->Find(way);
        if (window.outline_->WayTo(now) != way)
            return;
        const std::string names = window.outline_->NamesTo(now);
        NoteUserStep({{"select", names}});
        window.subject_.workspace.EndStep();
        const Pick pick = DialogEngine::Current().Offer(window.outline_->PathTo(now).get(), names);
        if (!pick.accepted && self.use_count() > 1)
            window.statusBar()->showMessage(Words("This cannot be picked: ") + Words(pick.reason.c_str()), MessageTime);
    });
}

void MainWindow::OnViewPicked(std::optional<InstanceId> id)
{
    if (!id || *id >= outline_->Size()) {
        tree_->Select(std::nullopt);
        SelectInView(std::nullopt);
        properties_->ShowNothing();
        if (!isPicking_)
            Highlight(std::nullopt);
        UpdateActions();
        return;
    }
    auto number = static_cast<Number>(*id);
    // A part in the view also stands for the products that it is in.
    if (isPicking_)
        number = NearestPickable(number).value_or(number);
    tree_->Select(number);
    OnSelectionMoved(number);
    OnChosen(number);
}

void MainWindow::Highlight(std::optional<Number> number)
{
    ZALFrmEditor* editor = ZALFrmEditor::GetCurrentEditor();
    ZALCSO* objects = editor ? editor->GetCSO() : nullptr;
    if (!objects)
        return;
    objects->Empty();
    if (!number)
        return;
    const std::string names = outline_->NamesTo(*number);
    objects->AddElement(outline_->PathTo(*number).get());
    journal::Write([&] { return journal::Highlight{.element = names}; });
    NoteUserStep({{"highlight", names}});
}

void MainWindow::SelectInView(std::optional<Number> number)
{
    view_->Select(number ? PartsBelow(*number) : std::unordered_set<InstanceId>());
}

// ---------------------------------------------------------------------------------------------
// Commands that wait for an element

std::string MainWindow::Refusal(Number number) const
{
    return DialogEngine::Current().Refusal(outline_->PathTo(number).get());
}

std::optional<MainWindow::Number> MainWindow::NearestPickable(Number number) const
{
    while (!refusals_(number).empty()) {
        if (number == 0)
            return std::nullopt;
        number = outline_->At(number).father;
    }
    return number;
}

void MainWindow::UpdatePicking()
{
    isPicking_ = DialogEngine::Current().IsWaitingForElement();
    cancel_->setEnabled(!DialogEngine::Current().Commands().empty());
    if (!isPicking_) {
        refusals_ = [](Number) { return std::string(); };
        promptText_.clear();
        prompt_->clear();
        tree_->Model().SetRefusal({});
        view_->SetPickable({});
        return;
    }
    prompt_->setText(QString::fromStdString(promptText_) + "  " + Words("(Escape cancels)"));
    // Entries with the same product and father are judged alike, and a view may hold many of them.
    const auto known = std::make_shared<std::map<std::pair<const void*, const void*>, std::string>>();
    refusals_ = [this, known](Number number) -> std::string {
        if (number >= outline_->Size())
            return {};
        const auto key = std::pair<const void*, const void*>(outline_->At(number).product.get(),
                                                             outline_->Document(outline_->At(number).father));
        const auto [entry, isNew] = known->try_emplace(key);
        if (isNew)
            entry->second = Refusal(number);
        return entry->second;
    };
    tree_->Model().SetRefusal([this](Number number) {
        const std::string reason = refusals_(number);
        return reason.empty() ? QString() : Words("This cannot be picked: ") + Words(reason.c_str());
    });
    view_->SetPickable([this](InstanceId id) {
        const auto number = static_cast<Number>(id);
        return NearestPickable(number) ? QString()
                                       : Words("This cannot be picked: ") + Words(refusals_(number).c_str());
    });
}

void MainWindow::CancelCommand()
{
    const std::vector<RunningCommand> commands = DialogEngine::Current().Commands();
    if (commands.empty())
        return;
    NoteUserStep({{"cancel", commands.back().name}});
    DialogEngine::Current().EndCommand(commands.back().command);
}

// ---------------------------------------------------------------------------------------------
// What is hidden

std::unordered_set<InstanceId> MainWindow::PartsBelow(Number number) const
{
    std::unordered_set<InstanceId> ids;
    if (number < outline_->Size())
        for (Number below = number; below < outline_->At(number).end; ++below)
            ids.insert(below);
    return ids;
}

void MainWindow::ShowMenu(Number number, const QPoint& place)
{
    tree_->Select(number);
    OnSelectionMoved(number);
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const char* name : {"ViewFitSelected", "ViewHide", "ViewIsolate", "ViewShowAll"})
        menu->addAction(view_->Action(name));
    menu->addAction(Words("Show"), this, [this, ids = PartsBelow(number)] {
        view_->Show(ids);
        tree_->Model().Update();
    });
    menu->addSeparator();
    menu->addAction(move_);
    menu->addAction(findSimilar_);
    if (const LoadedDocument* document = outline_->Document(number); document && number != 0)
        menu->addAction(Words("Open in a tab"), this, [this, path = document->Path()] { Open(path); });
    menu->popup(place);
}

} // namespace openhost
