// New, open, save, close: what the user does with whole documents.
#pragma once

#include "openhost/cad/CadWorkspace.h"

#include <QObject>
#include <QSettings>

class QAction;
class QMenu;

namespace openhost {

/// Whatever fails is told to the user and changes nothing. Asks before changes are lost.
class DocumentActions final : public QObject {
    Q_OBJECT

public:
    /// All of them outlive the actions. `settings` keeps the recent documents.
    DocumentActions(CadWorkspace& workspace, QSettings& settings, QWidget& window);

    QAction* newProduct;
    QAction* open;
    QMenu* recent;
    QAction* save;
    QAction* saveAs;
    QAction* saveAll;
    QAction* close;
    QAction* undo;
    QAction* redo;

    void Open(const std::filesystem::path& path);
    void Activate(LoadedDocument& document);
    /// Closes the window of `document`. False when the user has thought better of it.
    bool Close(LoadedDocument& document);
    /// Asks for all changes that would be lost with the window. False when the user has thought better of it.
    bool MayEnd();
    /// Brings the actions in step with the workspace.
    void Update();
    /// Texts in the language in use.
    void Retranslate();

private:
    enum class Loss { Saved, Dropped, Kept };

    /// Calls `act` and tells what it throws. Whether it has thrown nothing.
    bool Try(const std::function<void()>& act);
    void New();
    void AskAndOpen();
    void Save(LoadedDocument& document);
    void SaveAs();
    bool SaveAll(const std::vector<LoadedDocument*>& documents);
    /// Asks what becomes of the changes of `documents`.
    Loss AskForChanges(const std::vector<LoadedDocument*>& documents);
    void NoteRecent(const std::filesystem::path& path);
    void UpdateRecent();
    std::vector<LoadedDocument*> Unsaved() const;

    CadWorkspace& workspace_;
    QSettings& settings_;
    QWidget& window_;
};

} // namespace openhost
