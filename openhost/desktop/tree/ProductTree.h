// The product tree with its search line.
#pragma once

#include "openhost/desktop/tree/ProductModel.h"

#include <QWidget>

class QLineEdit;
class QTreeView;

namespace openhost {

/// Shows an outline, in which one entry is selected. What was expanded and selected stays when the outline of the same
/// document is shown anew.
class ProductTree final : public QWidget {
    Q_OBJECT

public:
    using Number = ProductOutline::Number;

    explicit ProductTree(QWidget* parent = nullptr);

    void Show(std::shared_ptr<const ProductOutline> outline);
    /// Selects an entry, brings it into sight, and tells nobody.
    void Select(std::optional<Number> number);
    std::optional<Number> Selected() const;
    ProductModel& Model() { return *model_; }
    /// Puts the cursor into the search line.
    void StartSearch();
    /// Texts in the language in use.
    void Retranslate();

Q_SIGNALS:
    /// The user has selected another entry.
    void SelectionMoved(openhost::ProductOutline::Number number);
    /// The user has clicked an entry, or pressed Enter on it.
    void Chosen(openhost::ProductOutline::Number number);
    /// The user asks for what can be done with an entry, at a place on the screen.
    void MenuWanted(openhost::ProductOutline::Number number, const QPoint& place);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Search(bool fromSelected);
    void OnCurrent(const QModelIndex& index);

    QLineEdit* search_;
    QTreeView* view_;
    ProductModel* model_;
    std::shared_ptr<const ProductOutline> outline_ = std::make_shared<ProductOutline>();
    bool telling_ = true; ///< otherwise the selection is moved by the program
};

} // namespace openhost
