// What the main window shows of the documents.

#include "openhost/desktop/tree/ProductTree.h"
#include "openhost/desktop/tree/Properties.h"
#include "openhost/desktop/view/ProductView.h"
#include "openhost/desktop/window/DocumentActions.h"
#include "openhost/desktop/window/MainWindow.h"
#include "openhost/desktop/window/Words.h"
#include "openhost/frame/Frame.h"
#include "openhost/journal/UserSteps.h"

#include "host/frame.h"

#include <QStatusBar>
#include <QTabBar>

#include <algorithm>

namespace openhost {

namespace {

constexpr const char* ProductWorkshop = "PRDWorkshop";
constexpr const char* PartWorkshop = "PRTWorkshop";

} // namespace

void MainWindow::RefreshSoon()
{
    if (std::exchange(refreshes_, true))
        return;
    EventLoop::Current().Post([reference = std::weak_ptr(self_)] {
        if (const auto self = reference.lock())
            (*self)->Refresh();
    });
}

void MainWindow::Refresh()
{
    refreshes_ = false;
    UpdateTabs();
    UpdateWorkshop();
    UpdateTree();
    UpdateView();
    UpdatePicking();
    UpdateActions();
    ShowTitle();
}

void MainWindow::UpdateTabs()
{
    const std::vector<LoadedDocument*>& windows = subject_.workspace.Windows();
    const QSignalBlocker quiet(tabs_);
    while (tabs_->count() > static_cast<int>(windows.size()))
        tabs_->removeTab(tabs_->count() - 1);
    for (std::size_t index = 0; index < windows.size(); ++index) {
        const auto tab = static_cast<int>(index);
        const LoadedDocument& document = *windows[index];
        QString name = QString::fromStdString(document.Path().stem().string()).replace("&", "&&");
        if (document.IsDirty())
            name += " *";
        if (tab == tabs_->count())
            tabs_->addTab(name);
        tabs_->setTabText(tab, name);
        tabs_->setTabToolTip(tab, QString::fromStdString(document.Path().string()));
        tabs_->setAccessibleTabName(tab, document.IsDirty() ? name + ", " + Words("not saved") : name);
        if (windows[index] == subject_.workspace.Active())
            tabs_->setCurrentIndex(tab);
    }
}

void MainWindow::SwitchDocument(std::size_t step)
{
    const std::vector<LoadedDocument*>& windows = subject_.workspace.Windows();
    const auto active = std::ranges::find(windows, subject_.workspace.Active());
    if (active != windows.end())
        documents_->Activate(*windows[(static_cast<std::size_t>(active - windows.begin()) + step) % windows.size()]);
}

void MainWindow::UpdateWorkshop()
{
    const LoadedDocument* active = subject_.workspace.Active();
    const ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    if (!userActs_ || !active || !frame)
        return;
    const std::string workshop = active->Kind() == DocumentKind::Product ? ProductWorkshop : PartWorkshop;
    if (workshop == const_cast<ZALApplicationFrame*>(frame)->GetCurrentWorkshop().CastToCharPtr())
        return;
    ChangeWorkshop(workshop);
    NoteUserStep({{"workshop", workshop}});
}

void MainWindow::UpdateTree()
{
    const LoadedDocument* active = subject_.workspace.Active();
    const bool isOther = active != shown_;
    shown_ = active;
    outline_ = active ? std::make_shared<ProductOutline>(*active) : std::make_shared<ProductOutline>();
    tree_->Show(outline_);
    if (isOther) {
        if (userActs_)
            Highlight(std::nullopt);
        // The numbers mean others now.
        view_->SetInstances({});
        view_->ShowAll();
        if (outline_->IsCut())
            statusBar()->showMessage(Words("The product is too large to be shown as a whole."));
    }
    if (const auto selected = tree_->Selected())
        properties_->Show(*outline_, *selected);
    else if (outline_->Size() > 0)
        properties_->Show(*outline_, 0);
    else
        properties_->ShowNothing();
}

void MainWindow::UpdateView()
{
    std::vector<Instance> instances;
    std::map<MeshKey, const LoadedDocument*> wanted;
    for (Number number = 0; number < outline_->Size(); ++number) {
        const LoadedDocument* document = outline_->Document(number);
        if (!document || !document->HasGeometry())
            continue;
        const MeshKey key = document->Path().string();
        instances.push_back({.id = number, .mesh = key, .placement = outline_->At(number).placement});
        wanted[key] = document;
    }
    view_->SetInstances(std::move(instances));
    UpdateMeshes(wanted);
    SelectInView(tree_->Selected());
}

void MainWindow::UpdateMeshes(const std::map<MeshKey, const LoadedDocument*>& wanted)
{
    // Those of other tabs stay for a while, but not longer than their documents.
    std::erase_if(meshes_, [&](const auto& entry) {
        const bool isGone = !wanted.contains(entry.first) && !subject_.workspace.Find(entry.first);
        if (isGone)
            loader_.Drop(entry.first);
        return isGone;
    });
    for (const auto& [key, document] : wanted) {
        const auto [entry, isNew] = meshes_.try_emplace(key);
        if (isNew)
            loader_.Load(key, BoundaryOf(document->Path()));
        else if (entry->second)
            view_->SetMesh(key, entry->second);
    }
}

void MainWindow::ShowTitle()
{
    const LoadedDocument* active = subject_.workspace.Active();
    setWindowModified(active && active->IsDirty());
    const QString program = Words("Open host");
    setWindowTitle(active ? QString::fromStdString(active->Path().filename().string()).replace("[*]", "[*][*]") +
                                "[*] - " + program
                          : program);
}

} // namespace openhost
