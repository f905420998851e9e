#include "openhost/desktop/window/MainWindow.h"

#include "openhost/desktop/browser/QtPanelPage.h"
#include "openhost/desktop/tree/ProductTree.h"
#include "openhost/desktop/tree/Properties.h"
#include "openhost/desktop/view/ProductView.h"
#include "openhost/desktop/window/DocumentActions.h"
#include "openhost/desktop/window/TransferTable.h"
#include "openhost/desktop/window/Words.h"

#include <QCloseEvent>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QLabel>
#include <QMimeData>
#include <QScreen>
#include <QStatusBar>
#include <QTabBar>
#include <QVBoxLayout>

namespace openhost {

namespace {

constexpr QSize UsualSize(1280, 800);
constexpr QSize UsualFrame(8, 40); // around the window
constexpr int MessageTime = 8000;  // milliseconds

} // namespace

MainWindow::MainWindow(const WindowSubject& subject, QSettings& settings)
    : subject_(subject), settings_(settings), journal_([this](const nlohmann::ordered_json& event) { Receive(event); }),
      documents_(new DocumentActions(subject.workspace, settings, *this)), tabs_(new QTabBar), tree_(new ProductTree),
      view_(new ProductView), properties_(new Properties), transfers_(new TransferTable(subject.transfers)),
      prompt_(new QLabel), self_(std::make_shared<MainWindow*>(this))
{
    setObjectName("MAIN");
    setAttribute(Qt::WA_DeleteOnClose, false);
    setAcceptDrops(true);
    setDockNestingEnabled(true);
    documents_->setParent(this);

    tabs_->setObjectName("DOCUMENTS");
    tabs_->setTabsClosable(true);
    tabs_->setExpanding(false);
    tabs_->setDrawBase(false);
    tabs_->setElideMode(Qt::ElideMiddle);
    auto* center = new QWidget;
    auto* layout = new QVBoxLayout(center);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(tabs_);
    layout->addWidget(view_, 1);
    setCentralWidget(center);

    prompt_->setObjectName("PROMPT");
    prompt_->setTextFormat(Qt::PlainText);
    statusBar()->addWidget(prompt_, 1);

    MakeActions();
    MakeDocks();
    MakeMenus();
    MakeToolBar();
    Retranslate();

    connect(tabs_, &QTabBar::currentChanged, this, [this](int index) {
        if (index >= 0 && static_cast<std::size_t>(index) < subject_.workspace.Windows().size())
            documents_->Activate(*subject_.workspace.Windows()[static_cast<std::size_t>(index)]);
    });
    connect(tabs_, &QTabBar::tabCloseRequested, this, [this](int index) {
        if (static_cast<std::size_t>(index) < subject_.workspace.Windows().size())
            documents_->Close(*subject_.workspace.Windows()[static_cast<std::size_t>(index)]);
    });
    connect(tree_, &ProductTree::SelectionMoved, this, &MainWindow::OnSelectionMoved);
    connect(tree_, &ProductTree::Chosen, this, &MainWindow::OnChosen);
    connect(tree_, &ProductTree::MenuWanted, this, &MainWindow::ShowMenu);
    connect(view_, &ProductView::Picked, this, &MainWindow::OnViewPicked);
    connect(view_, &ProductView::HiddenChanged, this, [this] { tree_->Model().Update(); });
    connect(view_, &ProductView::MenuRequested, this, [this](const QPoint& place, std::optional<InstanceId> id) {
        if (id && *id < outline_->Size())
            ShowMenu(static_cast<Number>(*id), place);
    });
    connect(&loader_, &MeshLoader::Loaded, this,
            [this](const MeshKey& key, const std::shared_ptr<const ShownMesh>& mesh) {
                meshes_[key] = mesh;
                view_->SetMesh(key, mesh);
            });
    connect(&loader_, &MeshLoader::Failed, this, [this](const MeshKey& key, const QString& reason) {
        statusBar()->showMessage(QString::fromStdString(std::filesystem::path(key).filename().string()) + ": " + reason,
                                 MessageTime);
    });
    tree_->Model().SetHidden([this](Number number) { return view_->Hidden().contains(number); });

    subscription_ = subject_.workspace.Subscribe([this](LoadedDocument&, DocumentAction) { RefreshSoon(); });

    if (!restoreGeometry(settings_.value("geometry").toByteArray()))
        resize(UsualSize.boundedTo(screen()->availableSize() - UsualFrame));
    restoreState(settings_.value("state").toByteArray());
    Refresh();
    show();
    activateWindow();
    tree_->setFocus();
}

MainWindow::~MainWindow()
{
    settings_.setValue("geometry", saveGeometry());
    settings_.setValue("state", saveState());
    subscription_.reset();
    // The page belongs to its panel.
    if (page_)
        page_->setParent(nullptr);
}

void MainWindow::MakeDocks()
{
    treeDock_ = AddDock("TREE_DOCK", tree_, Qt::LeftDockWidgetArea);
    propertiesDock_ = AddDock("PROPERTIES_DOCK", properties_, Qt::LeftDockWidgetArea);
    panelDock_ = AddDock("CATALOGUE_DOCK", new QWidget, Qt::RightDockWidgetArea);
    transfersDock_ = AddDock("TRANSFERS_DOCK", transfers_, Qt::BottomDockWidgetArea);
    setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    resizeDocks({treeDock_, panelDock_}, {300, 400}, Qt::Horizontal);
    resizeDocks({treeDock_, propertiesDock_}, {400, 250}, Qt::Vertical);
    resizeDocks({transfersDock_}, {110}, Qt::Vertical);
    // Closing the dock closes the panel, as the user does in the host.
    panelDock_->installEventFilter(this);
    panelDock_->hide();
}

QDockWidget* MainWindow::AddDock(const char* name, QWidget* content, Qt::DockWidgetArea area)
{
    auto* dock = new QDockWidget(this);
    dock->setObjectName(name);
    dock->setWidget(content);
    addDockWidget(area, dock);
    return dock;
}

void MainWindow::PlacePage(QtPanelPage& page)
{
    page_ = &page;
    if (!subject_.home.empty())
        page.SetHome(QUrl(QString::fromStdString(subject_.home)));
    panelDock_->setWidget(&page);
    page.show();
    panelDock_->show();
    panelDock_->raise();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == panelDock_ && event->type() == QEvent::Close && page_)
        static_cast<QtPanelPage&>(*page_).AskToClose();
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::Open(const std::filesystem::path& document)
{
    documents_->Open(document);
}

void MainWindow::LetUserAct()
{
    userActs_ = true;
    RefreshSoon();
}

// ---------------------------------------------------------------------------------------------
// Events

void MainWindow::Receive(const nlohmann::ordered_json& event)
{
    const std::string& name = event["event"].get_ref<const std::string&>();
    if (name == "prompt") {
        promptText_ = event["text"].get<std::string>();
        RefreshSoon();
    } else if (name == "moved" || name == "extracted") {
        const std::filesystem::path file = event[name == "moved" ? "to" : "path"].get<std::string>();
        transfers_->NoteFolder(QString::fromStdString(file.parent_path().string()));
    } else if (name == "panel" && event["action"] == "closed") {
        panelDock_->hide();
        RefreshSoon();
    } else if (name == "command" || name == "selection" || name == "panel") {
        RefreshSoon();
    }
}

// ---------------------------------------------------------------------------------------------
// The end

void MainWindow::closeEvent(QCloseEvent* event)
{
    // It is closed from the loop of the host, not from within Qt.
    event->ignore();
    if (std::exchange(isClosing_, true))
        return;
    EventLoop::Current().Post([reference = std::weak_ptr(self_)] {
        if (const auto self = reference.lock())
            (*self)->CloseAsked();
    });
}

void MainWindow::CloseAsked()
{
    isClosed_ = documents_->MayEnd();
    isClosing_ = isClosed_;
    if (isClosed_)
        hide();
}

// ---------------------------------------------------------------------------------------------
// Files that are dropped

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) {
            event->acceptProposedAction();
            return;
        }
}

void MainWindow::dropEvent(QDropEvent* event)
{
    std::vector<std::filesystem::path> files;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile())
            files.emplace_back(url.toLocalFile().toStdString());
    event->acceptProposedAction();
    EventLoop::Current().Post([reference = std::weak_ptr(self_), files] {
        for (const std::filesystem::path& file : files)
            if (const auto self = reference.lock())
                (*self)->Open(file);
    });
}

} // namespace openhost
