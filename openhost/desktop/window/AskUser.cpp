#include "openhost/desktop/window/AskUser.h"

#include "openhost/desktop/window/Words.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/loop/Patience.h"

#include <QFileDialog>
#include <QFileInfo>

#include <optional>

namespace openhost {

int RunDialog(QDialog& dialog)
{
    std::optional<int> result;
    QObject::connect(&dialog, &QDialog::finished, &dialog, [&result](int ended) { result = ended; });
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.show();
    dialog.activateWindow();
    const Patience patience;
    EventLoop::Current().RunUntil([&] { return result.has_value(); });
    return result.value_or(QDialog::Rejected);
}

QMessageBox::StandardButton AskUser(QWidget* parent, const QString& title, const QString& text,
                                    QMessageBox::StandardButtons buttons, QMessageBox::StandardButton usual,
                                    QMessageBox::StandardButton safe, const QString& details)
{
    QMessageBox box(QMessageBox::Question, title, text, buttons, parent);
    box.setObjectName("QUESTION");
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(details);
    box.setDefaultButton(usual);
    box.setEscapeButton(safe);
    RunDialog(box);
    return box.clickedButton() ? box.standardButton(box.clickedButton()) : safe;
}

void TellError(QWidget* parent, const QString& text)
{
    QMessageBox box(QMessageBox::Critical, Words("Error"), text, QMessageBox::Ok, parent);
    box.setObjectName("ERROR");
    box.setTextFormat(Qt::PlainText);
    RunDialog(box);
}

std::filesystem::path AskForFile(QWidget* parent, const QString& title, const std::filesystem::path& start,
                                 const QString& filter, bool toWrite, const QString& extension)
{
    QFileDialog box(parent, title, QString::fromStdString(start.string()), filter);
    box.setObjectName("FILES");
    box.setOption(QFileDialog::DontUseNativeDialog);
    box.setAcceptMode(toWrite ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    box.setFileMode(toWrite ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    box.setDefaultSuffix(extension);
    // The box would ask in a loop of its own, in which the host stands still.
    box.setOption(QFileDialog::DontConfirmOverwrite);
    while (RunDialog(box) == QDialog::Accepted && !box.selectedFiles().isEmpty()) {
        const QString file = box.selectedFiles().front();
        if (!toWrite || !QFileInfo::exists(file) ||
            AskUser(parent, title, Words("%1 exists already. Replace it?").arg(QFileInfo(file).fileName()),
                    QMessageBox::Yes | QMessageBox::No, QMessageBox::No, QMessageBox::No) == QMessageBox::Yes)
            return file.toStdString();
    }
    return {};
}

} // namespace openhost
