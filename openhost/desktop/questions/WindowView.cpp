#include "openhost/desktop/questions/WindowView.h"

#include "openhost/desktop/questions/FolderBox.h"
#include "openhost/desktop/questions/ShownText.h"
#include "openhost/desktop/questions/UserDialog.h"
#include "openhost/desktop/window/Words.h"
#include "openhost/dialogs/UserActions.h"
#include "openhost/journal/UserSteps.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/text/Utf.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <limits>
#include <set>

namespace openhost {

/// The cells of a child, in the grid of what it stands in.
struct WidgetPlacement {
    QWidget* widget;
    int row, column, rowSpan, columnSpan;
    Qt::Alignment alignment;
    bool growsWide, growsHigh;

    bool operator==(const WidgetPlacement&) const = default;
};

namespace {

using Kind = ZALDialogNode::Kind;

/// A grid has no more cells than this each way, and a control asks for no more pixels or characters, whatever was said.
constexpr int MaximumCells = 100;
constexpr int MaximumPixels = 4000;
constexpr int MaximumCharacters = 200;
/// A longer label wraps.
constexpr int LabelLine = 80;

QString ToQString(const ZALUnicodeString& text)
{
    return QString::fromUtf16(text.CastToUTF16Ptr(), text.GetLengthInChar());
}

ZALUnicodeString FromQString(const QString& text)
{
    return ZALUnicodeString(reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size()));
}

/// Notes what the user does with `control`, or with the part `part` of a window, and the value that he gives.
void NotePush(const ZALDialog& control, const char* part, const char* member = nullptr,
              const nlohmann::ordered_json& value = {})
{
    const ZALDialog* window = &control;
    while (!ZALDialogNode::Of(*window).IsWindow() && window->GetFather())
        window = window->GetFather();
    nlohmann::ordered_json push = {{"dialog", ZALDialogNode::Of(*window).Name()},
                                   {"control", part ? part : ZALDialogNode::Of(control).Name()}};
    if (member)
        push[member] = value;
    NoteUserStep({{"push", push}});
}

/// The text of a progress bar is its value, cut off at the range; Qt takes equal ends at 0 for a bar without an end.
void UpdateProgress(QProgressBar& bar, const ZALDialogNode& node)
{
    bar.setRange(node.minimum, node.maximum);
    bar.setValue(node.position);
}

/// Screen readers call a field by the label before it in its row.
void NameFields(const std::vector<WidgetPlacement>& placements)
{
    for (const WidgetPlacement& field : placements) {
        if (!qobject_cast<QLineEdit*>(field.widget))
            continue;
        int nearest = -1;
        for (const WidgetPlacement& other : placements) {
            const auto* label = qobject_cast<QLabel*>(other.widget);
            if (!label || label->text().isEmpty() || other.row != field.row || other.column >= field.column ||
                other.column <= nearest)
                continue;
            nearest = other.column;
            field.widget->setAccessibleName(label->text());
        }
    }
}

} // namespace

struct WindowView::Control {
    ZALDialog& dialog;
    QPointer<QWidget> widget;
    QWidget* container = nullptr; ///< of its children
    ZALUnicodeString resourceTitle = {};
    bool resourceTitleIsRead = false;
    std::optional<ZALUnicodeString> shownFolder = {}; ///< of a file box
    std::vector<WidgetPlacement> placements = {};     ///< as the layout of the container has them

    const ZALDialogNode& Node() const { return ZALDialogNode::Of(dialog); }

    /// Resource files are read once.
    const ZALUnicodeString& Title()
    {
        if (Node().titleIsSet)
            return Node().title;
        if (!std::exchange(resourceTitleIsRead, true))
            resourceTitle = dialog.GetTitle();
        return resourceTitle;
    }
};

WindowView::WindowView(ZALDialog& window) : dialog_(window), window_(MakeWindow())
{
    window_->setObjectName(QString::fromStdString(ZALDialogNode::Of(window).Name()));
    window_->setAttribute(Qt::WA_DeleteOnClose, false);
    Control& control = Add(window, window_.get());
    if (QWidget* content = window_->findChild<QWidget*>("CONTENT", Qt::FindDirectChildrenOnly))
        control.container = content;
}

WindowView::~WindowView() = default;

void WindowView::Update()
{
    const auto found = controls_.find(&dialog_);
    if (found == controls_.end())
        return;
    Control& window = *found->second;
    UpdateControl(window);
    if (window.Node().kind == Kind::FileBox)
        UpdateFolder(window);
    else
        UpdateChildren(window);
    window_->setVisible(window.Node().visible);
}

void WindowView::Forget(const ZALDialog& control)
{
    const auto found = controls_.find(&control);
    if (found == controls_.end() || &control == &dialog_)
        return;
    const std::shared_ptr<Control> ended = std::move(found->second);
    controls_.erase(found);
    // Another widget may come to lie at the address of this one.
    for (const auto& [dialog, other] : controls_)
        other->placements.clear();
    delete ended->widget;
}

// ---------------------------------------------------------------------------------------------
// Making

QWidget* WindowView::MakeWindow()
{
    const ZALDialogNode& node = ZALDialogNode::Of(dialog_);
    if (node.kind == Kind::FileBox)
        return new FolderBox([this](bool ok) {
            if (!ok) {
                Report(dialog_, [](ZALDialog& box, QWidget&) {
                    NotePush(box, "CANCEL");
                    PushCancel(box);
                });
                return;
            }
            Report(dialog_, [](ZALDialog& box, QWidget& widget) {
                const ZALUnicodeString folder = FromQString(static_cast<FolderBox&>(widget).Folder());
                NotePush(box, "FOLDER", "text", ToUtf8(folder));
                ChooseFolder(box, folder);
                NotePush(box, "OK");
                PushOK(box);
            });
        });

    auto* window = new UserDialog([this] {
        Report(dialog_, [](ZALDialog& dialog, QWidget&) {
            NotePush(dialog, "CLOSE");
            UseCloseBox(dialog);
        });
    });
    auto* layout = new QVBoxLayout(window);
    auto* content = new QWidget;
    content->setObjectName("CONTENT");
    layout->addWidget(content, 1);
    if (node.HasOKAndCancel()) {
        auto* buttons = new QDialogButtonBox;
        QPushButton* ok = buttons->addButton(QDialogButtonBox::Ok);
        QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
        ok->setObjectName("OK");
        cancel->setObjectName("CANCEL");
        QObject::connect(ok, &QPushButton::clicked, window, [this] {
            Report(dialog_, [](ZALDialog& dialog, QWidget&) {
                NotePush(dialog, "OK");
                PushOK(dialog);
            });
        });
        QObject::connect(cancel, &QPushButton::clicked, window, [this] {
            Report(dialog_, [](ZALDialog& dialog, QWidget&) {
                NotePush(dialog, "CANCEL");
                PushCancel(dialog);
            });
        });
        layout->addWidget(buttons);
    }
    return window;
}

QWidget* WindowView::MakeWidget(ZALDialog& dialog)
{
    const ZALDialogNode& node = ZALDialogNode::Of(dialog);
    switch (node.kind) {
    case Kind::Label:
    case Kind::Lock: {
        auto* label = new QLabel;
        label->setTextFormat(Qt::PlainText);
        return label;
    }
    case Kind::Progress:
        return new QProgressBar;
    case Kind::Editor: {
        auto* editor = new QLineEdit;
        editor->setMaxLength(std::numeric_limits<int>::max());
        // The text may have gone on by the time of the report. Several reports then bring it once.
        QObject::connect(editor, &QLineEdit::textEdited, editor, [this, &dialog] {
            Report(dialog, [](ZALDialog& control, QWidget& widget) {
                const ZALUnicodeString text = FromQString(static_cast<QLineEdit&>(widget).text());
                NotePush(control, nullptr, "text", ToUtf8(text));
                EnterText(control, text);
            });
        });
        return editor;
    }
    case Kind::PushButton: {
        auto* button = new QPushButton;
        // Enter is for OK.
        button->setAutoDefault(false);
        QObject::connect(button, &QPushButton::clicked, button, [this, &dialog] {
            Report(dialog, [](ZALDialog& control, QWidget&) {
                NotePush(control, nullptr);
                Activate(control);
            });
        });
        return button;
    }
    case Kind::CheckButton: {
        auto* button = new QCheckBox;
        QObject::connect(button, &QCheckBox::clicked, button, [this, &dialog] {
            Report(dialog, [](ZALDialog& control, QWidget& widget) {
                const bool isChecked = static_cast<QCheckBox&>(widget).isChecked();
                NotePush(control, nullptr, "state", isChecked);
                Check(control, isChecked ? ZALDlgChecked : ZALDlgUnchecked);
            });
        });
        return button;
    }
    case Kind::Frame:
        if (!(node.style & ZALDlgFrameWithoutTitle))
            return new QGroupBox;
        break;
    default:
        break;
    }
    return new QWidget;
}

WindowView::Control& WindowView::Add(ZALDialog& dialog, QWidget* widget)
{
    auto control = std::make_shared<Control>(Control{.dialog = dialog, .widget = widget, .container = widget});
    return *(controls_[&dialog] = std::move(control));
}

void WindowView::Report(ZALDialog& dialog, Action action)
{
    const auto found = controls_.find(&dialog);
    if (found == controls_.end())
        return;
    EventLoop::Current().Post([this, action, reference = std::weak_ptr(found->second)] {
        const std::shared_ptr<Control> control = reference.lock();
        if (!control)
            return;
        if (ZALDialogNode::Of(dialog_).visible && control->Node().TakesInput())
            action(control->dialog, *control->widget);
        else
            UpdateControl(*control);
    });
}

// ---------------------------------------------------------------------------------------------
// Keeping in step

void WindowView::UpdateControl(Control& control)
{
    const ZALDialogNode& node = control.Node();
    QWidget& widget = *control.widget;
    widget.setEnabled(node.sensitive);
    if (node.hasRectangle && !node.IsWindow())
        widget.setMinimumSize(std::min(node.width, MaximumPixels), std::min(node.height, MaximumPixels));

    switch (node.kind) {
    case Kind::Window:
    case Kind::FileBox:
        widget.setWindowTitle(ToWindowTitle(control.Title()));
        if (widget.windowTitle().isEmpty() && node.kind == Kind::FileBox)
            widget.setWindowTitle(Words("Choose a folder"));
        break;
    case Kind::Label: {
        auto& label = static_cast<QLabel&>(widget);
        label.setText(ToShownText(control.Title(), MaximumLabelLength));
        label.setWordWrap(label.text().size() > LabelLine);
        break;
    }
    case Kind::Lock:
        static_cast<QLabel&>(widget).setText(node.locked ? "Locked" : "");
        break;
    case Kind::Progress:
        UpdateProgress(static_cast<QProgressBar&>(widget), node);
        break;
    case Kind::Editor: {
        auto& editor = static_cast<QLineEdit&>(widget);
        if (const QString text = ToQString(node.text); editor.text() != text)
            editor.setText(text);
        const int characters = std::min(node.visibleTextWidth, MaximumCharacters);
        editor.setMinimumWidth(std::max(editor.minimumWidth(), characters * editor.fontMetrics().averageCharWidth()));
        break;
    }
    case Kind::PushButton:
        static_cast<QPushButton&>(widget).setText(ToButtonText(control.Title()));
        break;
    case Kind::CheckButton: {
        auto& button = static_cast<QCheckBox&>(widget);
        button.setText(ToButtonText(control.Title()));
        button.setChecked(node.state == ZALDlgChecked);
        break;
    }
    case Kind::Frame:
        if (auto* frame = qobject_cast<QGroupBox*>(&widget))
            frame->setTitle(ToButtonText(control.Title()));
        break;
    default:
        break;
    }
}

void WindowView::UpdateChildren(Control& control)
{
    for (ZALDialog* child : control.Node().children) {
        const ZALDialogNode& node = ZALDialogNode::Of(*child);
        if (node.ended || node.IsWindow())
            continue;
        const auto known = controls_.find(child);
        if (known == controls_.end()) {
            QWidget* widget = MakeWidget(*child);
            widget->setObjectName(QString::fromStdString(node.Name()));
            widget->setParent(control.container);
            Add(*child, widget);
        }
        Control& below = *controls_[child];
        UpdateControl(below);
        UpdateChildren(below);
        below.widget->setVisible(node.visible);
    }
    Arrange(control);
    NameFields(control.placements);
}

void WindowView::Arrange(Control& control)
{
    std::vector<WidgetPlacement> placements = PlaceChildren(control.Node());
    if (placements == control.placements)
        return;
    delete control.container->layout();
    auto grid = std::make_unique<QGridLayout>();
    if (!qobject_cast<QGroupBox*>(control.container))
        grid->setContentsMargins(0, 0, 0, 0);
    for (const WidgetPlacement& placement : placements) {
        grid->addWidget(placement.widget, placement.row, placement.column, placement.rowSpan, placement.columnSpan,
                        placement.alignment);
        if (placement.growsWide)
            grid->setColumnStretch(placement.column, 1);
        if (placement.growsHigh)
            grid->setRowStretch(placement.row, 1);
    }
    control.container->setLayout(grid.release());
    control.placements = std::move(placements);
}

// ---------------------------------------------------------------------------------------------
// Places

namespace {

/// Where a control stands between the attachment lines of one direction.
struct Span {
    std::optional<int> start, end;
    bool center = false;

    bool FillsCells() const { return start && end; }
};

/// What the attachment lines of a window say.
struct Attachments {
    std::set<int> vertical, horizontal;                      ///< the lines
    std::map<const ZALDialog*, std::pair<Span, Span>> spans; ///< of each control, across and down
};

Attachments ReadAttachments(const ZALDialogNode& node)
{
    Attachments attachments;
    for (const ZALDialogNode::AttachmentLine& line : node.lines) {
        (line.vertical ? attachments.vertical : attachments.horizontal).insert(line.line);
        for (const ZALDialog* control : line.controls) {
            auto& [across, down] = attachments.spans[control];
            Span& span = line.vertical ? across : down;
            (line.type == ZALDlgAttachEnd ? span.end : span.start) = line.line;
            span.center = span.center || line.type == ZALDlgAttachCenter;
        }
    }
    return attachments;
}

/// First cell and number of cells of `span`, for the lines `lines`.
std::pair<int, int> ToCells(const Span& span, const std::set<int>& lines)
{
    const auto rank = [&](int line) { return static_cast<int>(std::distance(lines.begin(), lines.find(line))); };
    if (!span.start)
        return {span.end ? std::max(rank(*span.end) - 1, 0) : 0, 1};
    return {rank(*span.start), span.end ? std::max(rank(*span.end) - rank(*span.start), 1) : 1};
}

/// A control between two lines fills its cells, which is no alignment.
Qt::Alignment ToAlignment(const Span& span, Qt::Alignment start, Qt::Alignment center, Qt::Alignment end)
{
    if (span.center)
        return center;
    if (span.FillsCells())
        return {};
    return span.end ? end : start;
}

WidgetPlacement PlaceBetweenLines(QWidget* widget, const std::pair<Span, Span>& spans, const Attachments& attachments)
{
    const auto& [across, down] = spans;
    const auto [column, columnSpan] = ToCells(across, attachments.vertical);
    const auto [row, rowSpan] = ToCells(down, attachments.horizontal);
    const Qt::Alignment alignment = ToAlignment(across, Qt::AlignLeft, Qt::AlignHCenter, Qt::AlignRight) |
                                    ToAlignment(down, Qt::AlignTop, Qt::AlignVCenter, Qt::AlignBottom);
    return {widget, row, column, rowSpan, columnSpan, alignment, across.FillsCells(), down.FillsCells()};
}

/// In the grid that begins with the row `firstRow`.
WidgetPlacement PlaceInGrid(QWidget* widget, const ZALDialogNode::GridPlace& place, int firstRow)
{
    const bool fills = place.justification == ZALDlgGridFill;
    return {widget,
            firstRow + std::clamp(place.row, 0, MaximumCells),
            std::clamp(place.column, 0, MaximumCells),
            std::clamp(place.rowSpan, 1, MaximumCells),
            std::clamp(place.columnSpan, 1, MaximumCells),
            fills ? Qt::Alignment() : Qt::Alignment(Qt::AlignCenter),
            fills,
            false};
}

} // namespace

// Attachment lines first, the grid below them, and then one below the other what was said nothing of or fills all.
std::vector<WidgetPlacement> WindowView::PlaceChildren(const ZALDialogNode& node) const
{
    const Attachments attachments = ReadAttachments(node);
    const int gridStart = static_cast<int>(attachments.horizontal.size());
    std::vector<WidgetPlacement> placements;
    std::vector<QWidget*> others;
    for (const ZALDialog* child : node.children) {
        const auto known = controls_.find(child);
        if (known == controls_.end())
            continue;
        QWidget* widget = known->second->widget;
        if (const auto found = attachments.spans.find(child); found != attachments.spans.end())
            placements.push_back(PlaceBetweenLines(widget, found->second, attachments));
        else if (const auto& place = ZALDialogNode::Of(*child).place)
            placements.push_back(PlaceInGrid(widget, *place, gridStart));
        else
            others.push_back(widget);
    }

    int rows = gridStart;
    int columns = std::max(static_cast<int>(attachments.vertical.size()), 1);
    for (const WidgetPlacement& placement : placements) {
        rows = std::max(rows, placement.row + placement.rowSpan);
        columns = std::max(columns, placement.column + placement.columnSpan);
    }
    for (QWidget* widget : others)
        placements.push_back({widget, rows++, 0, 1, columns, {}, false, true});
    return placements;
}

// ---------------------------------------------------------------------------------------------
// The folder of a file box

void WindowView::UpdateFolder(Control& control)
{
    // Where the user went before counts no more the next time.
    if (!control.Node().visible) {
        control.shownFolder.reset();
        return;
    }
    const ZALUnicodeString& folder = control.Node().text;
    if (control.shownFolder && *control.shownFolder == folder)
        return;
    control.shownFolder = folder;
    if (folder.GetLengthInChar() > 0)
        static_cast<FolderBox&>(*window_).GoTo(ToQString(folder));
}

} // namespace openhost
