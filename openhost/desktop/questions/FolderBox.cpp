#include "openhost/desktop/questions/FolderBox.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>

namespace openhost {

FolderBox::FolderBox(std::function<void(bool ok)> ended) : ended_(std::move(ended))
{
    setOptions(DontUseNativeDialog | ShowDirsOnly | ReadOnly);
    setFileMode(Directory);
    for (QAbstractItemView* view : findChildren<QAbstractItemView*>())
        view->setContextMenuPolicy(Qt::NoContextMenu);
    if (const auto* buttons = findChild<QDialogButtonBox*>()) {
        buttons->button(QDialogButtonBox::Open)->setObjectName("OK");
        buttons->button(QDialogButtonBox::Cancel)->setObjectName("CANCEL");
    }
}

void FolderBox::GoTo(const QString& folder)
{
    setDirectory(folder);
    if (auto* name = findChild<QLineEdit*>("fileNameEdit"))
        name->clear();
}

QString FolderBox::Folder() const
{
    return selectedFiles().value(0);
}

void FolderBox::accept()
{
    if (QFileInfo(Folder()).isDir())
        done(Accepted);
}

void FolderBox::done(int result)
{
    // The proposals for what was typed would swallow the next click.
    if (QWidget* popup = QApplication::activePopupWidget())
        popup->close();
    ended_(result == Accepted);
}

} // namespace openhost
