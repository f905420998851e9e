// The product tree for Qt.
#pragma once

#include "openhost/desktop/tree/ProductOutline.h"

#include <QAbstractItemModel>

#include <memory>

namespace openhost {

/// Shows an outline: names, and part numbers or what is wrong. The numbers of entries are the identifiers of indexes.
class ProductModel final : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Column { NameColumn, PartNumberColumn, ColumnCount };

    using QAbstractItemModel::QAbstractItemModel;

    void Show(std::shared_ptr<const ProductOutline> outline);
    /// Why the entry cannot be picked at present; empty when it can. Asked for entries that are seen.
    void SetRefusal(std::function<QString(ProductOutline::Number)> refusal);
    /// Marks entries that are not shown in the view.
    void SetHidden(std::function<bool(ProductOutline::Number)> isHidden);
    /// Draws all entries anew.
    void Update();

    QModelIndex IndexOf(ProductOutline::Number number, int column = NameColumn) const;
    static ProductOutline::Number NumberOf(const QModelIndex& index)
    {
        return static_cast<ProductOutline::Number>(index.internalId());
    }

    QModelIndex index(int row, int column, const QModelIndex& father = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& father = {}) const override;
    int columnCount(const QModelIndex& father = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::shared_ptr<const ProductOutline> outline_ = std::make_shared<ProductOutline>();
    std::function<QString(ProductOutline::Number)> refusal_;
    std::function<bool(ProductOutline::Number)> isHidden_;
};

} // namespace openhost
