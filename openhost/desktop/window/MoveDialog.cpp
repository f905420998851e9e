#include "openhost/desktop/window/MoveDialog.h"

#include "openhost/desktop/window/Words.h"

#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QPushButton>

namespace openhost {

namespace {

constexpr double MaximumCoordinate = 1e6; // 1 km in millimetres

QDoubleSpinBox* MakeField(const char* name, const QString& label, double value, double limit, double step)
{
    auto* field = new QDoubleSpinBox;
    field->setObjectName(name);
    field->setAccessibleName(label);
    field->setDecimals(4);
    field->setRange(-limit, limit);
    field->setSingleStep(step);
    field->setValue(value);
    return field;
}

} // namespace

MoveDialog::MoveDialog(const TurnAndShift& before, QWidget* parent) : QDialog(parent)
{
    setObjectName("MOVE");
    setWindowTitle(Words("Move component"));
    auto* form = new QFormLayout(this);
    const auto addRow = [&](const QString& label, std::array<QDoubleSpinBox*, 3>& fields, const char* prefix,
                            const Vector& values, double limit, double step) {
        auto* row = new QHBoxLayout;
        for (std::size_t i = 0; i < 3; ++i) {
            const char letter = static_cast<char>('X' + i);
            fields[i] = MakeField((std::string(prefix) + letter).c_str(), label + " " + letter, values[i], limit, step);
            row->addWidget(fields[i]);
        }
        form->addRow(label, row);
    };
    addRow(Words("Position (mm)"), at_, "AT_", before.at, MaximumCoordinate, 1);
    addRow(Words("Turned about the axis"), axis_, "AXIS_", before.axis, 1, 1);
    degrees_ = MakeField("DEGREES", Words("by (degrees)"), before.degrees, 360, 15);
    form->addRow(Words("by (degrees)"), degrees_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    const auto update = [this, buttons] {
        buttons->button(QDialogButtonBox::Ok)->setEnabled(HasDirection(Value().axis));
    };
    for (QDoubleSpinBox* field : axis_)
        connect(field, &QDoubleSpinBox::valueChanged, this, update);
    at_[0]->selectAll();
    at_[0]->setFocus();
}

TurnAndShift MoveDialog::Value() const
{
    TurnAndShift value{.degrees = degrees_->value()};
    for (std::size_t i = 0; i < 3; ++i) {
        value.at[i] = at_[i]->value();
        value.axis[i] = axis_[i]->value();
    }
    return value;
}

} // namespace openhost
