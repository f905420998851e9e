#include "openhost/desktop/window/TransferTable.h"

#include "openhost/desktop/window/Words.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace openhost {

namespace {

enum Column { NameColumn, ShareColumn, BytesColumn, SpeedColumn, LeftColumn, ResultColumn, FolderColumn };

constexpr int UpdateInterval = 100; // milliseconds
constexpr int UsualWidth = 90;      ///< of a column, in pixels

QString Size(std::uint64_t bytes)
{
    return QLocale().formattedDataSize(static_cast<qint64>(bytes), 1, QLocale::DataSizeTraditionalFormat);
}

QString ResultOf(const TransferList::Entry& entry)
{
    if (entry.IsRunning())
        return Words("running");
    switch (entry.end) {
    case TransferEnd::Cancelled:
        return Words("cancelled");
    case TransferEnd::Failed:
        return Words("failed: ") + QString::fromStdString(entry.error);
    case TransferEnd::Finished:
        break;
    }
    return entry.code < 400 ? Words("done") : Words("refused by the server (%1)").arg(entry.code);
}

} // namespace

TransferTable::TransferTable(TransferList& transfers, QWidget* parent)
    : QWidget(parent), transfers_(transfers), table_(new QTreeWidget), cancel_(new QPushButton), clear_(new QPushButton)
{
    setObjectName("TRANSFERS");
    table_->setObjectName("TRANSFER_LIST");
    table_->setRootIsDecorated(false);
    table_->setUniformRowHeights(true);
    table_->setColumnCount(FolderColumn + 1);
    cancel_->setObjectName("CANCEL_TRANSFER");
    clear_->setObjectName("CLEAR_TRANSFERS");

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(cancel_);
    buttons->addWidget(clear_);
    buttons->addStretch();
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(table_, 1);
    layout->addLayout(buttons);

    update_.setSingleShot(true);
    update_.setInterval(UpdateInterval);
    connect(&update_, &QTimer::timeout, this, [this] { Update(); });
    connect(table_, &QTreeWidget::currentItemChanged, this, [this] { UpdateButtons(); });
    connect(cancel_, &QPushButton::clicked, this, [this] {
        if (const QTreeWidgetItem* line = table_->currentItem())
            transfers_.Cancel(line->data(NameColumn, Qt::UserRole).toULongLong());
    });
    connect(clear_, &QPushButton::clicked, this, [this] { transfers_.Clear(); });
    transfers_.OnChange([this] {
        if (!update_.isActive())
            update_.start();
    });
    Retranslate();
}

TransferTable::~TransferTable()
{
    transfers_.OnChange({});
}

void TransferTable::Retranslate()
{
    table_->setHeaderLabels({Words("Name"), Words("Progress"), Words("Bytes"), Words("Speed"), Words("Time left"),
                             Words("Result"), Words("Folder")});
    table_->setAccessibleName(Words("Transfers"));
    cancel_->setText(Words("Cancel transfer"));
    clear_->setText(Words("Clear list"));
    Update();
    for (int column = ShareColumn; column < FolderColumn; ++column)
        table_->setColumnWidth(column, std::max(UsualWidth, table_->header()->sectionSizeHint(column)));
}

void TransferTable::NoteFolder(const QString& folder)
{
    if (!transfers_.Entries().empty())
        folders_[transfers_.Entries().back().number] = folder;
    update_.start();
}

void TransferTable::Update()
{
    std::map<std::uint64_t, QTreeWidgetItem*> lines;
    for (const TransferList::Entry& entry : transfers_.Entries()) {
        const auto known = lines_.find(entry.number);
        QTreeWidgetItem* line = known == lines_.end() ? nullptr : known->second;
        if (!line) {
            line = new QTreeWidgetItem;
            line->setData(NameColumn, Qt::UserRole, qulonglong{entry.number});
            table_->insertTopLevelItem(0, line);
            table_->setItemWidget(line, ShareColumn, new QProgressBar);
            table_->setCurrentItem(line);
        }
        UpdateLine(*line, entry);
        lines[entry.number] = line;
    }
    for (const auto& [number, line] : lines_)
        if (!lines.contains(number)) {
            folders_.erase(number);
            delete line;
        }
    lines_ = std::move(lines);
    UpdateButtons();
    // Speed and time left go on without bytes.
    if (transfers_.RunningTransfers() > 0)
        update_.start(UpdateInterval * 5);
    else
        update_.setInterval(UpdateInterval);
}

void TransferTable::UpdateLine(QTreeWidgetItem& line, const TransferList::Entry& entry)
{
    line.setText(NameColumn, QString::fromStdString(entry.name));
    line.setToolTip(NameColumn, QString::fromStdString(entry.method + " " + entry.url));
    auto& bar = static_cast<QProgressBar&>(*table_->itemWidget(&line, ShareColumn));
    // A bar without an end is how Qt shows that the length is unknown.
    constexpr int whole = 1000;
    const bool isKnown = entry.total >= entry.bytes && entry.total > 0;
    if (!entry.IsRunning()) {
        bar.setRange(0, whole);
        bar.setValue(entry.end == TransferEnd::Finished ? whole : 0);
    } else if (isKnown) {
        bar.setRange(0, whole);
        bar.setValue(static_cast<int>(static_cast<double>(entry.bytes) / static_cast<double>(entry.total) * whole));
    } else {
        bar.setRange(0, 0);
    }
    bar.setAccessibleName(QString::fromStdString(entry.name));
    line.setText(BytesColumn, !entry.IsRunning() ? Size(entry.bytes)
                              : isKnown          ? Words("%1 of %2").arg(Size(entry.bytes), Size(entry.total))
                                                 : Words("%1 of unknown").arg(Size(entry.bytes)));
    line.setText(SpeedColumn, Words("%1/s").arg(Size(static_cast<std::uint64_t>(entry.Speed()))));
    const auto left = entry.TimeLeft();
    line.setText(LeftColumn, !entry.IsRunning() ? QString()
                             : left             ? Words("%1 s").arg(left->count())
                                                : Words("unknown"));
    line.setText(ResultColumn, ResultOf(entry));
    line.setToolTip(ResultColumn, ResultOf(entry));
    const auto folder = folders_.find(entry.number);
    line.setText(FolderColumn, folder == folders_.end() ? QString() : folder->second);
    line.setToolTip(FolderColumn, line.text(FolderColumn));
}

void TransferTable::UpdateButtons()
{
    const QTreeWidgetItem* line = table_->currentItem();
    const std::uint64_t number = line ? line->data(NameColumn, Qt::UserRole).toULongLong() : 0;
    const auto& entries = transfers_.Entries();
    const auto found = std::ranges::find(entries, number, &TransferList::Entry::number);
    cancel_->setEnabled(found != entries.end() && found->IsRunning());
    clear_->setEnabled(entries.size() > transfers_.RunningTransfers());
}

} // namespace openhost
