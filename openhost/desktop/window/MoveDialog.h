// Where a component stands in its father.
#pragma once

#include "openhost/space/TurnAndShift.h"

#include <QDialog>

#include <array>

class QDoubleSpinBox;

namespace openhost {

/// Lets the user change one.
class MoveDialog final : public QDialog {
    Q_OBJECT

public:
    MoveDialog(const TurnAndShift& before, QWidget* parent);

    TurnAndShift Value() const;

private:
    std::array<QDoubleSpinBox*, 3> at_{};
    std::array<QDoubleSpinBox*, 3> axis_{};
    QDoubleSpinBox* degrees_ = nullptr;
};

} // namespace openhost
