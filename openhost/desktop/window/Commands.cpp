// The commands of the run that the main window starts.

#include "openhost/commands/StartedCommands.h"
#include "openhost/desktop/tree/ProductTree.h"
#include "openhost/desktop/window/AskUser.h"
#include "openhost/desktop/window/MainWindow.h"
#include "openhost/desktop/window/MoveDialog.h"
#include "openhost/desktop/window/Words.h"
#include "openhost/journal/Events.h"
#include "openhost/journal/UserSteps.h"
#include "openhost/panel/Panel.h"
#include "openhost/text/Utf.h"

#include <QApplication>
#include <QDockWidget>

namespace openhost {

namespace {

constexpr const char* FindSimilarCommand = "ZALVelmartFindSimilarCmd";

void WriteOptions(const char* operation)
{
    journal::Write([&] { return journal::Options{.operation = operation}; });
    NoteUserStep({{"options", operation}});
}

} // namespace

void MainWindow::StartFindSimilar()
{
    NoteUserStep({{"command", FindSimilarCommand}});
    StartCommand(FindSimilarCommand);
}

void MainWindow::MoveSelected()
{
    const auto selected = tree_->Selected();
    if (!selected || *selected == 0)
        return;
    const auto outline = outline_;
    WorkspaceProduct& component = *outline->At(*selected).product;
    MoveDialog dialog(TurnAndShift::Of(component.GetPlacement()), this);
    // The component may be gone when the user has thought about it.
    if (RunDialog(dialog) != QDialog::Accepted || !component.Owner())
        return;
    const TurnAndShift to = dialog.Value();
    try {
        subject_.workspace.EndStep();
        subject_.workspace.MoveComponent(component, to.ToPlacement());
        NoteUserStep({{"move", outline->NamesTo(*selected)}, {"at", to.at}, {"axis", to.axis}, {"angle", to.degrees}});
    } catch (const std::exception& error) {
        TellError(this, QString::fromUtf8(error.what()));
    }
}

void MainWindow::ShowOptions()
{
    if (subject_.options.IsOpen()) {
        for (QWidget* window : QApplication::topLevelWidgets())
            if (window->objectName() == OptionsPage::WindowName)
                window->activateWindow();
        return;
    }
    try {
        WriteOptions("open");
        journal::WriteResult("CreateFrame", subject_.options.Open() ? S_OK : E_FAIL);
        WriteOptions("refresh");
        journal::WriteResult("Refresh", subject_.options.Addin().Refresh());
    } catch (const std::exception& error) {
        TellError(this, QString::fromUtf8(error.what()));
    }
}

void MainWindow::ShowPanel()
{
    if (Panel::Current()) {
        panelDock_->show();
        panelDock_->raise();
        if (page_)
            page_->setFocus();
        return;
    }
    NoteUserStep({{"panel", "open"}});
    if (!Panel::Open())
        return;
    if (!subject_.home.empty())
        Panel::Current()->LoadUrl(FromUtf8(subject_.home));
}

void MainWindow::ShowAbout()
{
    QMessageBox box(QMessageBox::Information, Words("About"),
                    Words("Open host runs the Velmart integration without a seat of the CAD application.") + "\n" +
                        Words("Version %1").arg(VELMART_VERSION),
                    QMessageBox::Ok, this);
    box.setObjectName("ABOUT");
    RunDialog(box);
}

} // namespace openhost
