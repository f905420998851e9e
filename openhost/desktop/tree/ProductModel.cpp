#include "openhost/desktop/tree/ProductModel.h"

#include "openhost/desktop/window/Words.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QStyle>

namespace openhost {

namespace {

QString NameOf(const WorkspaceProduct& product)
{
    return QString::fromStdString(product.Name());
}

QString ProblemOf(const WorkspaceProduct& product)
{
    return product.Problem() == "missing" ? Words("missing") : Words("damaged");
}

QString ToolTip(const WorkspaceProduct& product)
{
    if (const LoadedDocument* document = product.Reference())
        return QString::fromStdString(document->Path().string());
    return QString::fromStdString(product.Link()) + "\n" +
           (product.Problem() == "missing" ? Words("The document is missing.")
                                           : QString::fromStdString(product.Problem()));
}

} // namespace

void ProductModel::Show(std::shared_ptr<const ProductOutline> outline)
{
    beginResetModel();
    outline_ = std::move(outline);
    endResetModel();
}

void ProductModel::SetRefusal(std::function<QString(ProductOutline::Number)> refusal)
{
    refusal_ = std::move(refusal);
    Update();
}

void ProductModel::SetHidden(std::function<bool(ProductOutline::Number)> isHidden)
{
    isHidden_ = std::move(isHidden);
    Update();
}

void ProductModel::Update()
{
    if (outline_->Size() > 0)
        Q_EMIT dataChanged(IndexOf(0), IndexOf(static_cast<ProductOutline::Number>(outline_->Size() - 1)));
}

QModelIndex ProductModel::IndexOf(ProductOutline::Number number, int column) const
{
    return createIndex(static_cast<int>(outline_->At(number).row), column, quintptr{number});
}

QModelIndex ProductModel::index(int row, int column, const QModelIndex& father) const
{
    if (!hasIndex(row, column, father))
        return {};
    if (!father.isValid())
        return createIndex(row, column, quintptr{0});
    return createIndex(row, column,
                       quintptr{outline_->Child(NumberOf(father), static_cast<ProductOutline::Number>(row))});
}

QModelIndex ProductModel::parent(const QModelIndex& index) const
{
    if (!index.isValid() || index.internalId() == 0)
        return {};
    return IndexOf(outline_->At(NumberOf(index)).father);
}

int ProductModel::rowCount(const QModelIndex& father) const
{
    if (!father.isValid())
        return outline_->Size() > 0 ? 1 : 0;
    return father.column() == NameColumn ? static_cast<int>(outline_->At(NumberOf(father)).childCount) : 0;
}

int ProductModel::columnCount(const QModelIndex&) const
{
    return ColumnCount;
}

QVariant ProductModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const ProductOutline::Number number = NumberOf(index);
    const WorkspaceProduct& product = *outline_->At(number).product;
    const LoadedDocument* document = product.Reference();
    const bool isName = index.column() == NameColumn;
    switch (role) {
    case Qt::DisplayRole:
        if (isName)
            return NameOf(product);
        return document ? QString::fromStdString(document->PartNumber()) : ProblemOf(product);
    case Qt::ToolTipRole: {
        const QString refusal = refusal_ ? refusal_(number) : QString();
        return refusal.isEmpty() ? ToolTip(product) : refusal;
    }
    case Qt::AccessibleTextRole:
        if (!isName)
            return {};
        return document ? NameOf(product) : NameOf(product) + ", " + ProblemOf(product);
    case Qt::DecorationRole:
        if (!isName)
            return {};
        if (!document)
            return QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning);
        return QApplication::style()->standardIcon(document->Kind() == DocumentKind::Product ? QStyle::SP_DirIcon
                                                                                             : QStyle::SP_FileIcon);
    case Qt::FontRole: {
        QFont font;
        font.setItalic(!document || (isHidden_ && isHidden_(number)));
        // What can be picked stands out while a command waits for it.
        font.setBold(refusal_ && refusal_(number).isEmpty());
        return font;
    }
    case Qt::ForegroundRole:
        if (!document || (isHidden_ && isHidden_(number)) || (refusal_ && !refusal_(number).isEmpty()))
            return QApplication::palette().brush(QPalette::PlaceholderText);
        return {};
    default:
        return {};
    }
}

QVariant ProductModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == NameColumn ? Words("Component") : Words("Part number");
}

} // namespace openhost
