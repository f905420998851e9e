#include "openhost/desktop/tree/Properties.h"

#include "openhost/desktop/window/Words.h"

#include <QHeaderView>
#include <QLocale>

namespace openhost {

namespace {

constexpr qsizetype MaximumValueLength = 1000;
constexpr int MaximumLinks = 1000;

} // namespace

Properties::Properties(QWidget* parent) : QTreeWidget(parent)
{
    setObjectName("PROPERTIES");
    setColumnCount(2);
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setTextElideMode(Qt::ElideMiddle);
    header()->resizeSection(0, 120);
    Retranslate();
}

void Properties::Retranslate()
{
    setHeaderLabels({Words("Property"), Words("Value")});
    setAccessibleName(Words("Properties"));
}

QTreeWidgetItem& Properties::AddGroup(const QString& name)
{
    auto* group = new QTreeWidgetItem(this, {name});
    QFont font = group->font(0);
    font.setBold(true);
    group->setFont(0, font);
    group->setFirstColumnSpanned(true);
    group->setExpanded(true);
    return *group;
}

void Properties::AddLine(QTreeWidgetItem& group, const QString& name, const std::string& value)
{
    if (value.empty())
        return;
    QString text = QString::fromStdString(value);
    if (text.size() > MaximumValueLength)
        text = text.left(MaximumValueLength) + QChar(0x2026);
    auto* line = new QTreeWidgetItem(&group, {name, text});
    line->setToolTip(1, text);
    line->setData(1, Qt::AccessibleTextRole, name + ": " + text);
}

void Properties::ShowNothing()
{
    clear();
}

void Properties::Show(const ProductOutline& outline, ProductOutline::Number number)
{
    clear();
    const WorkspaceProduct& product = *outline.At(number).product;
    QTreeWidgetItem& component = AddGroup(product.IsRoot() ? Words("Document") : Words("Component"));
    AddLine(component, Words("Name"), product.Name());
    if (!product.IsRoot()) {
        const Vector at = ShiftOf(product.GetPlacement());
        const QLocale locale;
        const auto number3 = [&](double value) { return locale.toString(value, 'g', 6); };
        AddLine(component, Words("Position"),
                QString("%1; %2; %3 mm").arg(number3(at[0]), number3(at[1]), number3(at[2])).toStdString());
    }
    if (const LoadedDocument* document = product.Reference()) {
        ShowDocument(*document);
        return;
    }
    AddLine(component, Words("Link"), product.Link());
    AddLine(component, Words("Problem"), product.Problem());
}

void Properties::ShowDocument(const LoadedDocument& document)
{
    const CadDocument& contents = document.Contents();
    QTreeWidgetItem& properties = AddGroup(Words("Properties"));
    AddLine(properties, Words("Part number"), contents.partNumber);
    AddLine(properties, Words("Nomenclature"), contents.nomenclature);
    AddLine(properties, Words("Description"), contents.description);
    AddLine(properties, Words("Kind"),
            (contents.kind == DocumentKind::Product ? Words("Product") : Words("Part")).toStdString());
    AddLine(properties, Words("File"), document.Path().string());
    AddLine(properties, Words("Changes"), (document.IsDirty() ? Words("not saved") : Words("none")).toStdString());

    if (!contents.parameters.empty()) {
        QTreeWidgetItem& parameters = AddGroup(Words("Parameters"));
        for (const UserParameter& parameter : contents.parameters)
            AddLine(parameters, QString::fromStdString(parameter.name), ParameterText(parameter));
    }
    ShowLinks(document);
}

void Properties::ShowLinks(const LoadedDocument& document)
{
    if (document.References().empty() && document.LooseLinks().empty())
        return;
    QTreeWidgetItem& links = AddGroup(Words("Links"));
    std::map<std::string, std::size_t> files;
    for (const auto& [reference, count] : document.References())
        files[reference->Path().string()] = count;
    for (const auto& [file, count] : files) {
        if (links.childCount() == MaximumLinks)
            return;
        AddLine(links, QString::number(count) + QChar(0x00D7), file);
    }
    for (const std::string& link : document.LooseLinks())
        if (links.childCount() < MaximumLinks)
            AddLine(links, Words("unused"), link);
}

} // namespace openhost
