#include "openhost/desktop/tree/ProductTree.h"

#include "openhost/desktop/window/Words.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTreeView>
#include <QVBoxLayout>

#include <utility>

namespace openhost {

namespace {

using Ways = std::vector<std::vector<const WorkspaceProduct*>>;

void CollectExpanded(const QTreeView& view, const QModelIndex& index, const ProductOutline& outline, Ways& ways)
{
    if (!view.isExpanded(index))
        return;
    ways.push_back(outline.WayTo(ProductModel::NumberOf(index)));
    for (int row = 0; row < view.model()->rowCount(index); ++row)
        CollectExpanded(view, view.model()->index(row, 0, index), outline, ways);
}

} // namespace

ProductTree::ProductTree(QWidget* parent)
    : QWidget(parent), search_(new QLineEdit), view_(new QTreeView), model_(new ProductModel(this))
{
    setObjectName("TREE");
    search_->setObjectName("SEARCH");
    search_->setClearButtonEnabled(true);
    view_->setObjectName("PRODUCTS");
    view_->setModel(model_);
    view_->setUniformRowHeights(true);
    view_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view_->setContextMenuPolicy(Qt::CustomContextMenu);
    view_->setMouseTracking(true);
    view_->header()->setSectionResizeMode(QHeaderView::Interactive);
    view_->setColumnWidth(0, 190);
    view_->installEventFilter(this);
    search_->installEventFilter(this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(search_);
    layout->addWidget(view_);
    setFocusProxy(view_);

    connect(search_, &QLineEdit::textEdited, this, [this] { Search(false); });
    connect(search_, &QLineEdit::returnPressed, this, [this] { Search(true); });
    connect(view_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& index) { OnCurrent(index); });
    connect(view_, &QTreeView::clicked, this,
            [this](const QModelIndex& index) { Q_EMIT Chosen(ProductModel::NumberOf(index)); });
    connect(view_, &QTreeView::customContextMenuRequested, this, [this](const QPoint& place) {
        const QModelIndex index = view_->indexAt(place);
        if (index.isValid())
            Q_EMIT MenuWanted(ProductModel::NumberOf(index), view_->viewport()->mapToGlobal(place));
    });
    Retranslate();
}

void ProductTree::Retranslate()
{
    search_->setPlaceholderText(Words("Search the tree"));
    search_->setAccessibleName(Words("Search the tree"));
    view_->setAccessibleName(Words("Product tree"));
    model_->Update();
    Q_EMIT model_->headerDataChanged(Qt::Horizontal, 0, ProductModel::ColumnCount - 1);
}

void ProductTree::Show(std::shared_ptr<const ProductOutline> outline)
{
    const bool isSame =
        outline->Size() > 0 && outline_->Size() > 0 && outline->At(0).product.get() == outline_->At(0).product.get();
    Ways expanded;
    std::vector<const WorkspaceProduct*> selected;
    if (isSame) {
        CollectExpanded(*view_, model_->index(0, 0), *outline_, expanded);
        if (const auto number = Selected())
            selected = outline_->WayTo(*number);
    }

    telling_ = false;
    outline_ = outline;
    model_->Show(std::move(outline));
    if (!isSame)
        view_->expandToDepth(0);
    for (const auto& way : expanded)
        if (const Number number = outline_->Find(way); outline_->WayTo(number) == way)
            view_->setExpanded(model_->IndexOf(number), true);
    telling_ = true;
    if (!selected.empty())
        Select(outline_->Find(selected));
}

std::optional<ProductTree::Number> ProductTree::Selected() const
{
    const QModelIndex index = view_->currentIndex();
    if (!index.isValid())
        return std::nullopt;
    return ProductModel::NumberOf(index);
}

void ProductTree::Select(std::optional<Number> number)
{
    telling_ = false;
    if (number && *number < outline_->Size()) {
        const QModelIndex index = model_->IndexOf(*number);
        view_->setCurrentIndex(index);
        view_->scrollTo(index);
    } else {
        view_->selectionModel()->clear();
    }
    telling_ = true;
}

void ProductTree::StartSearch()
{
    search_->setFocus();
    search_->selectAll();
}

void ProductTree::OnCurrent(const QModelIndex& index)
{
    if (telling_ && index.isValid())
        Q_EMIT SelectionMoved(ProductModel::NumberOf(index));
}

void ProductTree::Search(bool fromSelected)
{
    const QString text = search_->text();
    const std::size_t size = outline_->Size();
    if (text.isEmpty() || size == 0)
        return;
    const std::size_t selected = Selected().value_or(0);
    const std::size_t first = fromSelected ? selected + 1 : selected;
    for (std::size_t step = 0; step < size; ++step) {
        const auto number = static_cast<Number>((first + step) % size);
        const WorkspaceProduct& product = *outline_->At(number).product;
        const LoadedDocument* document = product.Reference();
        if (!QString::fromStdString(product.Name()).contains(text, Qt::CaseInsensitive) &&
            !(document && QString::fromStdString(document->PartNumber()).contains(text, Qt::CaseInsensitive)))
            continue;
        Select(number);
        Q_EMIT SelectionMoved(number);
        return;
    }
}

bool ProductTree::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (watched == view_ && (key == Qt::Key_Return || key == Qt::Key_Enter)) {
            if (const auto number = Selected())
                Q_EMIT Chosen(*number);
            return true;
        }
        if (watched == search_ && key == Qt::Key_Down) {
            view_->setFocus();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace openhost
