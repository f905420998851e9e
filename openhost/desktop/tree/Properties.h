// What is known of the selected entry of the tree.
#pragma once

#include "openhost/desktop/tree/ProductOutline.h"

#include <QTreeWidget>

namespace openhost {

/// Names and values in groups: document, properties, parameters, position, links.
class Properties final : public QTreeWidget {
    Q_OBJECT

public:
    explicit Properties(QWidget* parent = nullptr);

    void Show(const ProductOutline& outline, ProductOutline::Number number);
    void ShowNothing();
    /// Texts in the language in use.
    void Retranslate();

private:
    QTreeWidgetItem& AddGroup(const QString& name);
    static void AddLine(QTreeWidgetItem& group, const QString& name, const std::string& value);
    void ShowDocument(const LoadedDocument& document);
    void ShowLinks(const LoadedDocument& document);
};

} // namespace openhost
