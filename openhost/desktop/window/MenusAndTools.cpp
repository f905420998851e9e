// Menus, tool bar, shortcuts, language and colours of the main window.

#include "openhost/commands/Commands.h"
#include "openhost/desktop/browser/QtPanelPage.h"
#include "openhost/desktop/tree/ProductTree.h"
#include "openhost/desktop/tree/Properties.h"
#include "openhost/desktop/view/ProductView.h"
#include "openhost/desktop/window/Colours.h"
#include "openhost/desktop/window/DocumentActions.h"
#include "openhost/desktop/window/MainWindow.h"
#include "openhost/desktop/window/TransferTable.h"
#include "openhost/desktop/window/Words.h"
#include "openhost/dialogs/TextFile.h"

#include "host/dialog_engine.h"

#include <QActionGroup>
#include <QDockWidget>
#include <QMenuBar>
#include <QTabBar>
#include <QToolBar>

namespace openhost {

QAction* MainWindow::AddAction(const char* name, const QKeySequence& keys, const std::function<void()>& act)
{
    auto* action = new QAction(this);
    action->setObjectName(name);
    action->setShortcut(keys);
    // From the loop of the host: what is begun may run it.
    connect(action, &QAction::triggered, this, [this, act] {
        EventLoop::Current().Post([reference = std::weak_ptr(self_), act] {
            if (reference.lock())
                act();
        });
    });
    return action;
}

void MainWindow::MakeActions()
{
    findSimilar_ = AddAction("FIND_SIMILAR", QKeySequence("Ctrl+F"), [this] { StartFindSimilar(); });
    move_ = AddAction("MOVE", QKeySequence("Ctrl+M"), [this] { MoveSelected(); });
    options_ = AddAction("OPTIONS", QKeySequence("Ctrl+,"), [this] { ShowOptions(); });
    panel_ = AddAction("CATALOGUE", QKeySequence("Ctrl+K"), [this] { ShowPanel(); });
    cancel_ = AddAction("CANCEL_COMMAND", QKeySequence(Qt::Key_Escape), [this] { CancelCommand(); });
    search_ = AddAction("SEARCH_TREE", QKeySequence("Ctrl+Shift+F"), [this] { tree_->StartSearch(); });
    next_ = AddAction("NEXT_DOCUMENT", QKeySequence("Ctrl+Tab"), [this] { SwitchDocument(1); });
    previous_ = AddAction("PREVIOUS_DOCUMENT", QKeySequence("Ctrl+Shift+Tab"),
                          [this] { SwitchDocument(subject_.workspace.Windows().size() - 1); });
    quit_ = AddAction("QUIT", QKeySequence("Ctrl+Q"), [this] { close(); });
    about_ = AddAction("ABOUT", {}, [this] { ShowAbout(); });
    const auto text = [this](QAction* action, const char* english) {
        texts_.push_back([action, english] { action->setText(Words(english)); });
    };
    text(findSimilar_, "&Find similar");
    text(move_, "&Move component...");
    text(options_, "&Options...");
    text(panel_, "&Catalogue");
    text(cancel_, "Cancel co&mmand");
    text(search_, "Search the &tree");
    text(next_, "Ne&xt document");
    text(previous_, "Pre&vious document");
    text(quit_, "&Quit");
    text(about_, "&About");
}

void MainWindow::MakeMenus()
{
    const auto menu = [this](const char* english) {
        QMenu* made = menuBar()->addMenu(QString());
        texts_.push_back([made, english] { made->setTitle(Words(english)); });
        return made;
    };
    QMenu* file = menu("&File");
    file->addActions({documents_->newProduct, documents_->open});
    file->addMenu(documents_->recent);
    file->addSeparator();
    file->addActions({documents_->save, documents_->saveAs, documents_->saveAll});
    file->addSeparator();
    file->addActions({next_, previous_});
    file->addSeparator();
    file->addActions({documents_->close, quit_});

    QMenu* edit = menu("&Edit");
    edit->addActions({documents_->undo, documents_->redo});
    edit->addSeparator();
    edit->addActions({move_, search_, cancel_});
    edit->addSeparator();
    edit->addAction(options_);

    QMenu* view = menu("&View");
    view->addActions(view_->Actions());
    view->addSeparator();
    view->addActions({treeDock_->toggleViewAction(), propertiesDock_->toggleViewAction(),
                      transfersDock_->toggleViewAction(), panel_});
    view->addSeparator();
    MakeLanguageMenu();
    MakeThemeMenu();

    QMenu* tools = menu("&Catalogue");
    tools->addActions({panel_, findSimilar_});

    menu("&Help")->addAction(about_);

    const auto title = [this](QDockWidget* dock, const char* english) {
        texts_.push_back([dock, english] { dock->setWindowTitle(Words(english)); });
    };
    title(treeDock_, "Product tree");
    title(propertiesDock_, "Properties");
    title(panelDock_, "Catalogue");
    title(transfersDock_, "Transfers");
}

void MainWindow::MakeToolBar()
{
    auto* bar = addToolBar(QString());
    bar->setObjectName("TOOLS");
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    bar->addActions({documents_->open, documents_->save, documents_->undo, documents_->redo});
    bar->addSeparator();
    bar->addActions({findSimilar_, panel_, cancel_});
    bar->addSeparator();
    for (const char* name : {"ViewFit", "ViewIsometric", "ViewFront", "ViewTop", "ViewRight", "ViewPerspective"})
        bar->addAction(view_->Action(name));
    texts_.push_back([bar] { bar->setWindowTitle(Words("Tool bar")); });
}

// ---------------------------------------------------------------------------------------------
// Language and colours

void MainWindow::MakeLanguageMenu()
{
    auto* menu = menuBar()->actions()[2]->menu()->addMenu(QString());
    menu->setObjectName("LANGUAGES");
    texts_.push_back([menu] { menu->setTitle(Words("&Language")); });
    auto* group = new QActionGroup(this);
    for (const UserLanguage& language : UserLanguages) {
        auto* action = AddAction(language.name, {}, [this, name = language.name] { UseLanguage(name); });
        action->setText(language.name == std::string_view("German") ? "Deutsch" : language.name);
        action->setCheckable(true);
        action->setChecked(Language() == language.name);
        group->addAction(action);
        menu->addAction(action);
    }
}

void MainWindow::UseLanguage(const QString& language)
{
    SetLanguage(language.toStdString());
    UseWords(language);
    settings_.setValue("language", language);
    Retranslate();
}

void MainWindow::MakeThemeMenu()
{
    auto* menu = menuBar()->actions()[2]->menu()->addMenu(QString());
    menu->setObjectName("COLOURS");
    texts_.push_back([menu] { menu->setTitle(Words("C&olours")); });
    auto* group = new QActionGroup(this);
    for (const auto& [colours, english] :
         {std::pair{Colours::System, "As the system"}, {Colours::Light, "Light"}, {Colours::Dark, "Dark"}}) {
        auto* action = AddAction(english, {}, [this, chosen = colours] {
            settings_.setValue("colours", static_cast<int>(chosen));
            UseColours(chosen);
        });
        texts_.push_back([action, text = english] { action->setText(Words(text)); });
        action->setCheckable(true);
        action->setChecked(settings_.value("colours", 0).toInt() == static_cast<int>(colours));
        group->addAction(action);
        menu->addAction(action);
    }
}

void MainWindow::Retranslate()
{
    for (const auto& text : texts_)
        text();
    documents_->Retranslate();
    tree_->Retranslate();
    properties_->Retranslate();
    transfers_->Retranslate();
    tabs_->setAccessibleName(Words("Documents"));
    if (page_)
        static_cast<QtPanelPage&>(*page_).Retranslate();
    Refresh();
}

void MainWindow::UpdateActions()
{
    documents_->Update();
    next_->setEnabled(subject_.workspace.Windows().size() > 1);
    previous_->setEnabled(next_->isEnabled());
    const ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0);
    move_->setEnabled(tree_->Selected().value_or(0) != 0);
    findSimilar_->setEnabled(header && header->IsAvailable() == 1);
}

} // namespace openhost
