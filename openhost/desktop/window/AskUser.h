// Questions of the host itself, and the files that it asks for.
#pragma once

#include <QMessageBox>

#include <filesystem>

class QDialog;
class QWidget;

namespace openhost {

/// Shows `dialog`, runs the event loop of the host until the user has ended it, so that transfers go on, and gives its
/// result; QDialog::Rejected also when a signal ends the process meanwhile.
int RunDialog(QDialog& dialog);

/// Asks with `buttons`, of which `usual` is for Enter and `safe` for Escape and the close box. `details` may be long.
QMessageBox::StandardButton AskUser(QWidget* parent, const QString& title, const QString& text,
                                    QMessageBox::StandardButtons buttons, QMessageBox::StandardButton usual,
                                    QMessageBox::StandardButton safe, const QString& details = {});
/// Tells what went wrong.
void TellError(QWidget* parent, const QString& text);

/// The file that the user chooses to open or, with `toWrite`, to write, where the question whether to replace one that
/// is there has been answered; empty for none. `filter` as QFileDialog has them.
std::filesystem::path AskForFile(QWidget* parent, const QString& title, const std::filesystem::path& start,
                                 const QString& filter, bool toWrite, const QString& extension);

} // namespace openhost
