// A dialog that leaves its end to the host.
#pragma once

#include <QDialog>

#include <functional>

namespace openhost {

/// Its close box and the Escape key tell `closed` and leave it open.
class UserDialog final : public QDialog {
public:
    explicit UserDialog(std::function<void()> closed) : closed_(std::move(closed)) {}
    void reject() override { closed_(); }

private:
    std::function<void()> closed_;
};

} // namespace openhost
