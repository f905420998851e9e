#include "openhost/desktop/questions/QuestionBox.h"

#include "host/dialogs.h"
#include "openhost/desktop/questions/ShownText.h"
#include "openhost/desktop/window/Words.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>

#include <algorithm>

namespace openhost {

namespace {

/// Widest and highest that a text is before it wraps and scrolls, in pixels.
constexpr int TextWidth = 520;
constexpr int TextHeight = 320;
/// What is measured of a long text; more than this scrolls in any case.
constexpr int MeasuredText = 4000;

QStyle::StandardPixmap IconOf(unsigned int style)
{
    switch (style) {
    case ZALDlgNotifyError:
        return QStyle::SP_MessageBoxCritical;
    case ZALDlgNotifyYesNo:
        return QStyle::SP_MessageBoxQuestion;
    case ZALDlgNotifyWarningYesNo:
    case ZALDlgNotifyInvalidInput:
        return QStyle::SP_MessageBoxWarning;
    default:
        return QStyle::SP_MessageBoxInformation;
    }
}

/// A field with the text alone, as large as it needs up to the limits.
QPlainTextEdit* MakeTextField(const QString& text)
{
    auto* field = new QPlainTextEdit;
    field->setObjectName("TEXT");
    field->setPlainText(text);
    field->setReadOnly(true);
    field->setTabChangesFocus(true);
    field->setFrameShape(QFrame::NoFrame);
    field->viewport()->setAutoFillBackground(false);

    const QRect needed = field->fontMetrics().boundingRect(QRect(0, 0, TextWidth, TextHeight), Qt::TextWordWrap,
                                                           text.left(MeasuredText));
    const int margin = 2 * static_cast<int>(field->document()->documentMargin()) + field->fontMetrics().height();
    field->setMinimumSize(std::min(needed.width(), TextWidth) + margin, std::min(needed.height(), TextHeight) + margin);
    return field;
}

} // namespace

QuestionBox::QuestionBox(unsigned int style, const ZALUnicodeString& text, const ZALUnicodeString& title)
{
    setWindowTitle(title.GetLengthInChar() > 0 ? ToWindowTitle(title) : Words("Open host"));
    setWindowModality(Qt::ApplicationModal);

    auto* icon = new QLabel;
    icon->setObjectName("ICON");
    const int size = this->style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    icon->setPixmap(this->style()->standardIcon(IconOf(style), nullptr, this).pixmap(size, size));

    auto* buttons = new QDialogButtonBox;
    const auto addButton = [&](QDialogButtonBox::StandardButton kind, const char* name, int answer) {
        QPushButton* button = buttons->addButton(kind);
        button->setObjectName(name);
        connect(button, &QPushButton::clicked, this, [this, answer] { answer_ = answer; });
    };
    if (style == ZALDlgNotifyYesNo || style == ZALDlgNotifyWarningYesNo) {
        addButton(QDialogButtonBox::Yes, "YES", ZALDlgAnswerYes);
        addButton(QDialogButtonBox::No, "NO", ZALDlgAnswerNo);
    } else {
        addButton(QDialogButtonBox::Ok, "OK", ZALDlgAnswerOK);
    }

    auto* layout = new QGridLayout(this);
    layout->addWidget(icon, 0, 0, Qt::AlignTop);
    QPlainTextEdit* field = MakeTextField(ToShownText(text, MaximumQuestionLength));
    field->setAccessibleName(windowTitle());
    layout->addWidget(field, 0, 1);
    layout->addWidget(buttons, 1, 0, 1, 2);
    layout->setColumnStretch(1, 1);

    // No keeps everything as it is. Enter is for it too where files are replaced or sent away.
    if (QPushButton* no = buttons->button(QDialogButtonBox::No)) {
        safeAnswer_ = ZALDlgAnswerNo;
        no->setDefault(true);
        no->setFocus();
    }
    // A text field would be higher by itself.
    resize(minimumSizeHint());
}

void QuestionBox::reject()
{
    answer_ = safeAnswer_;
}

} // namespace openhost
