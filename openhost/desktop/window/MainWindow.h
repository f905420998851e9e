// The main window.
#pragma once

#include "openhost/desktop/Desktop.h"
#include "openhost/desktop/tree/ProductOutline.h"
#include "openhost/desktop/view/MeshLoader.h"
#include "openhost/journal/Journal.h"

#include <QMainWindow>
#include <QPointer>
#include <QSettings>

#include <map>
#include <optional>
#include <unordered_set>

class QDockWidget;
class QLabel;
class QTabBar;

namespace openhost {

class DocumentActions;
class ProductTree;
class ProductView;
class Properties;
class QtPanelPage;
class TransferTable;

/// Documents as tabs, their tree, view and properties, the catalogue's page, transfers, and the commands of the run.
/// What is shown follows the workspace and the journal, from the event loop. What the user does is noted as steps of a
/// session.
class MainWindow final : public QMainWindow, public DesktopWindow {
    Q_OBJECT

public:
    /// `settings` outlives the window.
    MainWindow(const WindowSubject& subject, QSettings& settings);
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;
    ~MainWindow() override;

    void Open(const std::filesystem::path& document) override;
    void LetUserAct() override;
    bool IsClosed() const override { return isClosed_; }

    /// Puts the page of the panel into its place.
    void PlacePage(QtPanelPage& page);

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    using Number = ProductOutline::Number;

    // MainWindow.cpp
    void Receive(const nlohmann::ordered_json& event);
    void MakeDocks();
    QDockWidget* AddDock(const char* name, QWidget* content, Qt::DockWidgetArea area);
    void CloseAsked();

    // MenusAndTools.cpp
    void MakeActions();
    void MakeMenus();
    void MakeToolBar();
    void MakeLanguageMenu();
    void MakeThemeMenu();
    QAction* AddAction(const char* name, const QKeySequence& keys, const std::function<void()>& act);
    void Retranslate();
    void UseLanguage(const QString& language);
    void UpdateActions();

    // ShownDocuments.cpp
    void Refresh();
    void RefreshSoon();
    void UpdateTabs();
    /// Goes on by `step` tabs, and after the last one to the first.
    void SwitchDocument(std::size_t step);
    void UpdateTree();
    void UpdateView();
    void UpdateMeshes(const std::map<MeshKey, const LoadedDocument*>& wanted);
    void UpdateWorkshop();
    void ShowTitle();

    // Picking.cpp
    void OnSelectionMoved(Number number);
    void OnChosen(Number number);
    void OnViewPicked(std::optional<InstanceId> id);
    void Highlight(std::optional<Number> number);
    void SelectInView(std::optional<Number> number);
    /// Why the waiting command does not take the entry; empty when it does.
    std::string Refusal(Number number) const;
    /// The entry or the nearest one above it that the waiting command takes.
    std::optional<Number> NearestPickable(Number number) const;
    void UpdatePicking();
    void CancelCommand();
    std::unordered_set<InstanceId> PartsBelow(Number number) const;
    void ShowMenu(Number number, const QPoint& place);

    // Commands.cpp
    void StartFindSimilar();
    void MoveSelected();
    void ShowOptions();
    void ShowPanel();
    void ShowAbout();

    WindowSubject subject_;
    QSettings& settings_;
    DocumentSubscription subscription_;
    journal::Listener journal_;

    DocumentActions* documents_;
    QTabBar* tabs_;
    ProductTree* tree_;
    ProductView* view_;
    Properties* properties_;
    TransferTable* transfers_;
    QDockWidget* treeDock_ = nullptr;
    QDockWidget* propertiesDock_ = nullptr;
    QDockWidget* panelDock_ = nullptr;
    QDockWidget* transfersDock_ = nullptr;
    QLabel* prompt_;
    QPointer<QWidget> page_;

    QAction* findSimilar_ = nullptr;
    QAction* move_ = nullptr;
    QAction* options_ = nullptr;
    QAction* panel_ = nullptr;
    QAction* cancel_ = nullptr;
    QAction* search_ = nullptr;
    QAction* next_ = nullptr;
    QAction* previous_ = nullptr;
    QAction* quit_ = nullptr;
    QAction* about_ = nullptr;
    std::vector<std::function<void()>> texts_; ///< each sets one in the language in use

    std::shared_ptr<const ProductOutline> outline_ = std::make_shared<ProductOutline>();
    const LoadedDocument* shown_ = nullptr; ///< whose outline it is; not to be looked into
    MeshLoader loader_;
    std::map<MeshKey, std::shared_ptr<const ShownMesh>> meshes_; ///< of loaded documents; null while one is on its way
    std::function<std::string(Number)> refusals_; ///< Refusal, asked once for entries that are judged alike
    std::string promptText_;
    bool isPicking_ = false; ///< a command waits for an element
    bool userActs_ = false;
    bool refreshes_ = false; ///< the loop has a call for that
    bool isClosing_ = false;
    bool isClosed_ = false;
    std::shared_ptr<MainWindow*> self_; ///< for calls of the loop, which hold it weakly
};

} // namespace openhost
