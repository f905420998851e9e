// The list of transfers in the main window.
#pragma once

#include "openhost/http/TransferList.h"

#include <QTimer>
#include <QWidget>

#include <map>

class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace openhost {

/// Shows all transfers of a run, the newest first: name, bytes, speed, time left, result and the folder of its files.
class TransferTable final : public QWidget {
    Q_OBJECT

public:
    /// `transfers` outlives the table.
    explicit TransferTable(TransferList& transfers, QWidget* parent = nullptr);
    ~TransferTable() override;

    /// A file of the newest transfer has come to lie in `folder`.
    void NoteFolder(const QString& folder);
    /// Texts in the language in use.
    void Retranslate();

private:
    void Update();
    void UpdateLine(QTreeWidgetItem& line, const TransferList::Entry& entry);
    void UpdateButtons();

    TransferList& transfers_;
    QTreeWidget* table_;
    QPushButton* cancel_;
    QPushButton* clear_;
    QTimer update_; ///< brings many changes at once
    std::map<std::uint64_t, QTreeWidgetItem*> lines_;
    std::map<std::uint64_t, QString> folders_;
};

} // namespace openhost
