// The box in which the user chooses a folder.
#pragma once

#include <QFileDialog>

#include <functional>

namespace openhost {

/// OK, CANCEL and the close box tell `ended`, and leave the box open: the host hides it. OK counts for a folder that is
/// there, and does nothing otherwise. It opens no window of its own, whose loop would hold up that of the host.
class FolderBox final : public QFileDialog {
public:
    explicit FolderBox(std::function<void(bool ok)> ended);
    /// Goes to `folder`, with nothing chosen in it.
    void GoTo(const QString& folder);
    /// What OK would choose: the folder that is shown, unless the user has chosen one in it.
    QString Folder() const;

protected:
    void accept() override;
    void done(int result) override;

private:
    std::function<void(bool ok)> ended_;
};

} // namespace openhost
