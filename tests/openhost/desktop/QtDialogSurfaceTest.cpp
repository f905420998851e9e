// Windows and questions of the host on a screen that nobody sees, used by mouse and keys.

#include "host/http.h"
#include "host/settings.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/http/CurlTransport.h"
#include "tests/openhost/desktop/BrowserFixture.h"
#include "tests/openhost/desktop/PageServer.h"
#include "tests/openhost/dialogs/DialogFixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>

#include <limits>

namespace openhost::testing {

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The dialogs of the desktop, with its loop.
class QtDialogs : public DialogFixture {
protected:
    QtDialogs() : DialogFixture(TestDesktop().MakeLoop(), TestDesktop().MakeDialogs()) {}
    ~QtDialogs() override
    {
        EndAllDialogs();
        Settle();
    }

    /// Lets everything happen that is due. What the last call of the loop did is laid out in another run.
    static void Settle()
    {
        ASSERT_EQ(RunEnd::Idle, Loop().RunUntilIdle(60s));
        ASSERT_EQ(RunEnd::Idle, Loop().RunUntilIdle(60s));
    }

    /// The visible window of the name, or null.
    static QWidget* Shown(const QString& name)
    {
        for (QWidget* window : QApplication::topLevelWidgets())
            if (window->isVisible() && window->objectName() == name)
                return window;
        return nullptr;
    }
    template <class Widget>
    static Widget& In(const QString& window, const QString& name)
    {
        QWidget* shown = Shown(window);
        auto* widget = shown ? shown->findChild<Widget*>(name) : nullptr;
        if (!widget)
            throw std::runtime_error((window + " shows no " + name).toStdString());
        return *widget;
    }
    static void Click(QWidget& widget)
    {
        QTest::mouseClick(&widget, Qt::LeftButton, {}, QPoint(8, widget.height() / 2));
    }

    /// Clicks, and lets happen what comes of it.
    template <class Widget>
    static void Use(const QString& window, const QString& name)
    {
        Click(In<Widget>(window, name));
        Settle();
    }
};

// ---------------------------------------------------------------------------------------------
// Questions

class QtQuestions : public QtDialogs {
protected:
    /// Asks, and does `use` once the question is shown.
    static int Ask(unsigned int style, const std::function<void(QWidget& box)>& use,
                   const ZALUnicodeString& text = "Text", const ZALUnicodeString& title = "Title")
    {
        auto* question = new ZALDlgNotify(nullptr, "Question", style);
        Loop().Post([&] {
            QWidget* box = Shown("Question");
            if (!box)
                throw std::runtime_error("no question is shown");
            use(*box);
        });
        const int answer = question->DisplayBlocked(text, title);
        question->RequestDelayedDestruction();
        Settle();
        return answer;
    }
    /// Does `look` with a question that is shown, and closes it.
    static void Look(const std::function<void(QWidget& box)>& look, const ZALUnicodeString& text,
                     const ZALUnicodeString& title = "Title")
    {
        const auto lookAndClose = [&](QWidget& box) {
            look(box);
            box.close();
        };
        Ask(ZALDlgNotifyYesNo, lookAndClose, text, title);
    }
    static std::function<void(QWidget&)> Clicking(const char* button)
    {
        return [button](QWidget& box) { Click(*box.findChild<QPushButton*>(button)); };
    }
    static std::vector<std::string> ButtonsOf(unsigned int style)
    {
        std::vector<std::string> names;
        Ask(style, [&](QWidget& box) {
            for (const QPushButton* button : box.findChildren<QPushButton*>())
                names.push_back(button->objectName().toStdString());
            box.close();
        });
        std::ranges::sort(names);
        return names;
    }
    static QImage IconOf(unsigned int style)
    {
        QImage icon;
        Ask(style, [&](QWidget& box) {
            icon = box.findChild<QLabel*>("ICON")->pixmap().toImage();
            box.close();
        });
        return icon;
    }
};

TEST_F(QtQuestions, ButtonsAnswerAQuestion)
{
    for (const unsigned int style : {ZALDlgNotifyYesNo, ZALDlgNotifyWarningYesNo}) {
        EXPECT_EQ(ZALDlgAnswerYes, Ask(style, Clicking("YES"))) << style;
        EXPECT_EQ(ZALDlgAnswerNo, Ask(style, Clicking("NO"))) << style;
    }
    for (const unsigned int style : {ZALDlgNotifyError, ZALDlgNotifyInvalidInput})
        EXPECT_EQ(ZALDlgAnswerOK, Ask(style, Clicking("OK"))) << style;
}

TEST_F(QtQuestions, TheStyleChoosesTheButtons)
{
    EXPECT_THAT(ButtonsOf(ZALDlgNotifyYesNo), ElementsAre("NO", "YES"));
    EXPECT_THAT(ButtonsOf(ZALDlgNotifyWarningYesNo), ElementsAre("NO", "YES"));
    EXPECT_THAT(ButtonsOf(ZALDlgNotifyError), ElementsAre("OK"));
    EXPECT_THAT(ButtonsOf(ZALDlgNotifyInvalidInput), ElementsAre("OK"));
    EXPECT_THAT(ButtonsOf(ZALDlgNoStyle), ElementsAre("OK"));
}

TEST_F(QtQuestions, TheStyleChoosesTheIcon)
{
    const QImage question = IconOf(ZALDlgNotifyYesNo);
    const QImage warning = IconOf(ZALDlgNotifyWarningYesNo);
    const QImage error = IconOf(ZALDlgNotifyError);
    EXPECT_FALSE(question.isNull());
    EXPECT_NE(question, warning);
    EXPECT_NE(question, error);
    EXPECT_NE(warning, error);
    EXPECT_EQ(warning, IconOf(ZALDlgNotifyInvalidInput));
}

TEST_F(QtQuestions, TheCloseBoxEscapeAndEnterAreNo)
{
    for (const unsigned int style : {ZALDlgNotifyYesNo, ZALDlgNotifyWarningYesNo}) {
        EXPECT_EQ(ZALDlgAnswerNo, Ask(style, [](QWidget& box) { box.close(); }));
        for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return})
            EXPECT_EQ(ZALDlgAnswerNo, Ask(style, [key](QWidget& box) { QTest::keyClick(&box, key); })) << key;
    }
    EXPECT_FALSE(Shown("Question"));
}

TEST_F(QtQuestions, AMessageIsClosedWithoutAnAnswerButEnterIsOK)
{
    EXPECT_EQ(ZALDlgAnswerClosed, Ask(ZALDlgNotifyError, [](QWidget& box) { box.close(); }));
    EXPECT_EQ(ZALDlgAnswerClosed, Ask(ZALDlgNotifyError, [](QWidget& box) { QTest::keyClick(&box, Qt::Key_Escape); }));
    EXPECT_EQ(ZALDlgAnswerOK, Ask(ZALDlgNotifyError, [](QWidget& box) { QTest::keyClick(&box, Qt::Key_Return); }));
}

TEST_F(QtQuestions, OtherWindowsAreBlocked)
{
    Ask(ZALDlgNotifyYesNo, [](QWidget& box) {
        EXPECT_EQ(Qt::ApplicationModal, box.windowModality());
        EXPECT_EQ(QApplication::activeModalWidget(), &box);
        box.close();
    });
    EXPECT_FALSE(QApplication::activeModalWidget());
}

TEST_F(QtQuestions, TextsAreShownAsTheyStand)
{
    const std::string hostile = "<b>bold</b> &amp; <img src='file:///x'>\n<script>alert(1)</script> &File %1 [*]";
    Look(
        [&](QWidget& box) {
            const auto* text = box.findChild<QPlainTextEdit*>("TEXT");
            EXPECT_EQ(hostile, text->toPlainText().toStdString());
            EXPECT_TRUE(text->isReadOnly());
            EXPECT_EQ("<b>T</b> [*][*]", box.windowTitle().toStdString());
        },
        FromUtf8(hostile), "<b>T</b> [*]");
}

TEST_F(QtQuestions, AShortTextIsShownWholeInASmallBox)
{
    Look(
        [](QWidget& box) {
            EXPECT_LT(box.height(), 180);
            const auto* text = box.findChild<QPlainTextEdit*>("TEXT");
            EXPECT_FALSE(text->verticalScrollBar()->isVisible());
            EXPECT_FALSE(text->horizontalScrollBar()->isVisible());
        },
        "Do you want to overwrite listed files ?\n\n/home/jo/parts/part-000001.ZALPart\n");
}

TEST_F(QtQuestions, ALongTextScrollsInABoxThatFitsTheScreen)
{
    const std::string line(3000, 'x');
    std::string text;
    while (text.size() < 3000000)
        text += line + "\n";
    Look(
        [&](QWidget& box) {
            EXPECT_LT(box.width(), 800);
            EXPECT_LT(box.height(), 600);
            const QString shown = box.findChild<QPlainTextEdit*>("TEXT")->toPlainText();
            EXPECT_EQ(100001, shown.size());
            EXPECT_EQ(QChar(0x2026), shown.back());
            EXPECT_LE(box.windowTitle().size(), 201);
        },
        FromUtf8(text), FromUtf8(text));
}

TEST_F(QtQuestions, AQuestionMayBeAskedDuringAnother)
{
    int inner = -1;
    const int outer = Ask(ZALDlgNotifyYesNo, [&](QWidget& box) {
        auto* question = new ZALDlgNotify(nullptr, "Inner", ZALDlgNotifyError);
        Loop().Post([&] {
            EXPECT_TRUE(box.isVisible());
            EXPECT_EQ(QApplication::activeModalWidget(), Shown("Inner"));
            Click(In<QPushButton>("Inner", "OK"));
        });
        inner = question->DisplayBlocked("", "");
        EXPECT_FALSE(Shown("Inner"));
        Click(*box.findChild<QPushButton*>("NO"));
    });
    EXPECT_EQ(ZALDlgAnswerOK, inner);
    EXPECT_EQ(ZALDlgAnswerNo, outer);
}

TEST_F(QtQuestions, AQuestionThatEndsWhileShownIsClosed)
{
    auto* parent = new ZALDlgDialog(nullptr, "Parent", ZALDlgNoStyle);
    auto* question = new ZALDlgNotify(parent, "Question", ZALDlgNotifyYesNo);
    Loop().Post([&] {
        EXPECT_TRUE(Shown("Question"));
        parent->RequestDelayedDestruction();
    });
    EXPECT_EQ(ZALDlgAnswerClosed, question->DisplayBlocked("", ""));
    EXPECT_FALSE(Shown("Question"));
}

TEST_F(QtQuestions, AQuestionThatEndsUnderANewerOneLeavesTheScreenAtOnce)
{
    auto* outer = new ZALDlgNotify(nullptr, "Outer", ZALDlgNotifyYesNo);
    auto* inner = new ZALDlgNotify(nullptr, "Inner", ZALDlgNotifyYesNo);
    int innerAnswer = -1;
    Loop().Post([&] {
        Loop().Post([&] {
            ZALDialogNode::Of(*outer).EndAndRelease();
            EXPECT_FALSE(Shown("Outer"));
            Click(In<QPushButton>("Inner", "YES"));
        });
        innerAnswer = inner->DisplayBlocked("", "");
    });
    EXPECT_EQ(ZALDlgAnswerClosed, outer->DisplayBlocked("", ""));
    EXPECT_EQ(ZALDlgAnswerYes, innerAnswer);
}

/// Tells the end of a transfer.
class Completion : public ZALCefHttpDataHandler {
public:
    explicit Completion(std::function<void(const std::string& body)> complete) : complete_(std::move(complete)) {}
    void OnHeaders(ZALCefHttpRequest*, const ZALCefHttpHeaderMap&) override {}
    void OnData(ZALCefHttpRequest*, const void* bytes, std::size_t size) override
    {
        body_.append(static_cast<const char*>(bytes), size);
    }
    void OnProgress(ZALCefHttpRequest*, std::uint64_t, std::uint64_t) override {}
    void OnComplete(ZALCefHttpRequest*) override { complete_(body_); }

private:
    std::function<void(const std::string& body)> complete_;
    std::string body_;
};

TEST_F(QtQuestions, ATransferGoesOnMeanwhile)
{
    PageServer server;
    server.AddPage("/part", "the part");
    server.Start();
    auto before = HttpTransport::Install(std::make_unique<CurlTransport>());
    {
        std::string received;
        ZALCefHttpRequest request("GET", FromUtf8(server.Url("/part")));
        const int answer = Ask(ZALDlgNotifyYesNo, [&](QWidget& box) {
            auto* handler = new Completion([&](const std::string& body) {
                received = body;
                Click(*box.findChild<QPushButton*>("YES"));
            });
            EXPECT_TRUE(request.Send(handler));
            handler->Release();
        });
        EXPECT_EQ("the part", received);
        EXPECT_EQ(ZALDlgAnswerYes, answer);
    }
    HttpTransport::Install(std::move(before));
}

TEST_F(QtQuestions, TheUserIsWaitedForWhenNothingElseGoesOn)
{
    auto* question = new ZALDlgNotify(nullptr, "Question", ZALDlgNotifyYesNo);
    // Qt's own timers are none of the loop's, which has nothing to do meanwhile.
    int turns = 0;
    std::function<void()> think = [&] {
        if (++turns < 5)
            QTimer::singleShot(0, think);
        else
            Click(In<QPushButton>("Question", "YES"));
    };
    QTimer::singleShot(0, think);
    EXPECT_EQ(ZALDlgAnswerYes, question->DisplayBlocked("", ""));
}

// ---------------------------------------------------------------------------------------------
// Windows

class QtWindows : public QtDialogs {
protected:
    QtWindows()
    {
        Window->SetTitle("Download <folder>");
        Note(Window, ZALDlgOKNotification::ClassName());
        Note(Window, ZALDlgCancelNotification::ClassName());
        Note(Window, ZALDlgWindCloseNotification::ClassName());
        Note(Editor, ZALDlgEditorModifyNotification::ClassName());
        Note(Button, ZALDlgPushActivateNotification::ClassName());
        Note(CheckButton, ZALDlgCheckModifyNotification::ClassName());
    }
    void Show()
    {
        Window->SetVisibility(ZALDlgShow);
        Settle();
    }
    void End() { ZALDialogNode::Of(*Window).EndAndRelease(); }

    ZALDlgDialog* const Window = new ZALDlgDialog(nullptr, "Window", ZALDlgOKCancelWindow);
    ZALDlgFrame* const Frame = new ZALDlgFrame(Window, "Frame", ZALDlgFrameWithoutTitle);
    ZALDlgLabel* const Label = new ZALDlgLabel(Frame, "Label", ZALDlgNoStyle);
    ZALDlgEditor* const Editor = new ZALDlgEditor(Frame, "Editor", ZALDlgNoStyle);
    ZALDlgPushButton* const Button = new ZALDlgPushButton(Frame, "Button", ZALDlgNoStyle);
    ZALDlgCheckButton* const CheckButton = new ZALDlgCheckButton(Frame, "Check", ZALDlgNoStyle);
    ZALDlgProgress* const Progress = new ZALDlgProgress(Frame, "Progress", ZALDlgNoStyle);
};

TEST_F(QtWindows, AWindowBeginsHiddenIsShownAndHidden)
{
    Settle();
    EXPECT_FALSE(Shown("Window"));
    Show();
    ASSERT_TRUE(Shown("Window"));
    EXPECT_EQ("Download <folder>", Shown("Window")->windowTitle());
    Window->SetVisibility(ZALDlgHide);
    Settle();
    EXPECT_FALSE(Shown("Window"));
    Show();
    EXPECT_TRUE(Shown("Window"));
    End();
    EXPECT_FALSE(Shown("Window"));
}

TEST_F(QtWindows, AWindowThatEndsBeforeItIsOnTheScreenIsNeverShown)
{
    Window->SetVisibility(ZALDlgShow);
    End();
    Settle();
    EXPECT_FALSE(Shown("Window"));
}

TEST_F(QtWindows, ButtonsAreToldAndTheWindowStays)
{
    Show();
    Click(In<QPushButton>("Window", "OK"));
    EXPECT_THAT(Told, IsEmpty()) << "told from within Qt";
    Settle();
    Click(In<QPushButton>("Window", "CANCEL"));
    Shown("Window")->close();
    Settle();
    EXPECT_THAT(Told, ElementsAre("ZALDlgOKNotification", "ZALDlgCancelNotification", "ZALDlgWindCloseNotification"));
    EXPECT_TRUE(Shown("Window"));
}

TEST_F(QtWindows, EscapeIsTheCloseBoxAndEnterIsOK)
{
    Show();
    QTest::keyClick(Shown("Window"), Qt::Key_Escape);
    QTest::keyClick(&In<QLineEdit>("Window", "Editor"), Qt::Key_Return);
    Settle();
    EXPECT_THAT(Told, ElementsAre("ZALDlgWindCloseNotification", "ZALDlgOKNotification"));
    EXPECT_TRUE(Shown("Window"));
}

TEST_F(QtWindows, TheStyleOfProgressHasNoButtons)
{
    auto* window = new ZALDlgDialog(nullptr, "Bare", ZALDlgProgressWindow);
    window->SetVisibility(ZALDlgShow);
    Settle();
    ASSERT_TRUE(Shown("Bare"));
    EXPECT_TRUE(Shown("Bare")->findChildren<QPushButton*>().isEmpty());
    EXPECT_FALSE(Shown("Bare")->isModal());
}

TEST_F(QtWindows, TheTextOfAnEditorIsTold)
{
    Editor->SetText("/old");
    Show();
    auto& editor = In<QLineEdit>("Window", "Editor");
    EXPECT_EQ("/old", editor.text());
    editor.selectAll();
    QTest::keyClicks(&editor, "/new");
    Settle();
    EXPECT_EQ("/new", Editor->GetText());
    EXPECT_EQ("/new", editor.text());
    EXPECT_THAT(Told, ElementsAre("ZALDlgEditorModifyNotification"));
}

TEST_F(QtWindows, ACheckButtonIsTold)
{
    Show();
    Use<QCheckBox>("Window", "Check");
    EXPECT_EQ(ZALDlgChecked, CheckButton->GetState());
    Use<QCheckBox>("Window", "Check");
    EXPECT_EQ(ZALDlgUnchecked, CheckButton->GetState());
    EXPECT_THAT(Told, ElementsAre("ZALDlgCheckModifyNotification", "ZALDlgCheckModifyNotification"));
}

TEST_F(QtWindows, APushButtonIsTold)
{
    Show();
    Use<QPushButton>("Window", "Button");
    EXPECT_THAT(Told, ElementsAre("ZALDlgPushActivateNotification"));
}

TEST_F(QtWindows, WhatAProgramChangesIsShownAndToldNobody)
{
    Show();
    Window->SetTitle("Another");
    Label->SetTitle("Folder:");
    Editor->SetText(u"Größe");
    Editor->SetVisibleTextWidth(50);
    Button->SetTitle("Browse...");
    CheckButton->SetState(ZALDlgChecked);
    Progress->SetRange(10, 20);
    Progress->SetPos(15);
    Settle();
    EXPECT_EQ("Another", Shown("Window")->windowTitle());
    EXPECT_EQ("Folder:", In<QLabel>("Window", "Label").text());
    EXPECT_EQ(QString("Größe"), In<QLineEdit>("Window", "Editor").text());
    EXPECT_GE(In<QLineEdit>("Window", "Editor").width(), 200);
    EXPECT_EQ("Browse...", In<QPushButton>("Window", "Button").text());
    EXPECT_TRUE(In<QCheckBox>("Window", "Check").isChecked());
    EXPECT_EQ(10, In<QProgressBar>("Window", "Progress").minimum());
    EXPECT_EQ(20, In<QProgressBar>("Window", "Progress").maximum());
    EXPECT_EQ(15, In<QProgressBar>("Window", "Progress").value());
    EXPECT_THAT(Told, IsEmpty());
}

TEST_F(QtWindows, VisibilityAndSensitivityAreShown)
{
    Editor->SetVisibility(ZALDlgHide);
    Frame->SetSensitivity(ZALDlgInsensitive);
    Show();
    EXPECT_FALSE(In<QLineEdit>("Window", "Editor").isVisible());
    EXPECT_FALSE(In<QPushButton>("Window", "Button").isEnabled());
    Click(In<QPushButton>("Window", "Button"));
    Editor->SetVisibility(ZALDlgShow);
    Frame->SetSensitivity(ZALDlgSensitive);
    Button->SetSensitivity(ZALDlgInsensitive);
    Settle();
    EXPECT_TRUE(In<QLineEdit>("Window", "Editor").isVisible());
    EXPECT_TRUE(In<QLineEdit>("Window", "Editor").isEnabled());
    EXPECT_FALSE(In<QPushButton>("Window", "Button").isEnabled());
    EXPECT_THAT(Told, IsEmpty());
}

TEST_F(QtWindows, InputThatComesTooLateIsNotTaken)
{
    Show();
    Click(In<QCheckBox>("Window", "Check"));
    Click(In<QPushButton>("Window", "OK"));
    Frame->SetSensitivity(ZALDlgInsensitive);
    Window->SetVisibility(ZALDlgHide);
    Settle();
    EXPECT_EQ(ZALDlgUnchecked, CheckButton->GetState());
    EXPECT_THAT(Told, IsEmpty());
    Show();
    EXPECT_FALSE(In<QCheckBox>("Window", "Check").isChecked());
}

TEST_F(QtWindows, TheCloseBoxOfAnInsensitiveWindowIsNotTold)
{
    Window->SetSensitivity(ZALDlgInsensitive);
    Show();
    Shown("Window")->close();
    Settle();
    EXPECT_THAT(Told, IsEmpty());
}

TEST_F(QtWindows, AWindowMayEndByWhatTheUserDoes)
{
    React(Button, ZALDlgPushActivateNotification::ClassName(), [this] { End(); });
    Show();
    Click(In<QPushButton>("Window", "Button"));
    Use<QPushButton>("Window", "OK");
    EXPECT_FALSE(Shown("Window"));
    EXPECT_THAT(Told, ElementsAre("ZALDlgPushActivateNotification"));
}

TEST_F(QtWindows, AWindowMayAskWhileItTells)
{
    int answer = -1;
    React(Button, ZALDlgPushActivateNotification::ClassName(), [&] {
        auto* question = new ZALDlgNotify(Window, "Question", ZALDlgNotifyYesNo);
        Loop().Post([] { Click(In<QPushButton>("Question", "YES")); });
        answer = question->DisplayBlocked("", "");
    });
    Show();
    Use<QPushButton>("Window", "Button");
    EXPECT_EQ(ZALDlgAnswerYes, answer);
    EXPECT_TRUE(Shown("Window"));
}

TEST_F(QtWindows, AControlThatEndsLeavesTheWindow)
{
    Show();
    Label->RequestDelayedDestruction();
    Settle();
    EXPECT_FALSE(Shown("Window")->findChild<QLabel*>("Label"));
    EXPECT_TRUE(Shown("Window")->findChild<QPushButton*>("Button"));
}

TEST_F(QtWindows, AControlThatIsMadeLaterIsShown)
{
    Show();
    auto* later = new ZALDlgLabel(Frame, "Later", ZALDlgNoStyle);
    later->SetTitle("Added");
    Settle();
    EXPECT_TRUE(In<QLabel>("Window", "Later").isVisible());
}

TEST_F(QtWindows, HostileTextsAreShownAsTheyStand)
{
    Label->SetTitle("<a href='http://x'>l</a> & &b");
    Button->SetTitle("<b>&Push</b>");
    CheckButton->SetTitle("a & b");
    Editor->SetText("<i>&amp;</i>");
    auto* group = new ZALDlgFrame(Frame, "Group", ZALDlgNoStyle);
    group->SetTitle("A & B");
    Window->SetTitle("[*]");
    Show();
    EXPECT_EQ(Qt::PlainText, In<QLabel>("Window", "Label").textFormat());
    EXPECT_EQ("<a href='http://x'>l</a> & &b", In<QLabel>("Window", "Label").text());
    EXPECT_EQ("<b>&&Push</b>", In<QPushButton>("Window", "Button").text());
    EXPECT_EQ("a && b", In<QCheckBox>("Window", "Check").text());
    EXPECT_EQ("<i>&amp;</i>", In<QLineEdit>("Window", "Editor").text());
    EXPECT_EQ("A && B", In<QGroupBox>("Window", "Group").title());
    EXPECT_EQ("[*][*]", Shown("Window")->windowTitle());
}

TEST_F(QtWindows, LongTextsLeaveAWindowSmall)
{
    const ZALUnicodeString text = FromUtf8(std::string(1000000, 'x') + std::string(1000, ' '));
    Window->SetTitle(text);
    Label->SetTitle(text);
    Button->SetTitle(text);
    Show();
    EXPECT_EQ(4001, In<QLabel>("Window", "Label").text().size());
    EXPECT_EQ(201, In<QPushButton>("Window", "Button").text().size());
    EXPECT_EQ(201, Shown("Window")->windowTitle().size());
}

TEST_F(QtWindows, ALongTextOfAnEditorStaysWhole)
{
    const std::string text(100000, 'x');
    Editor->SetText(FromUtf8(text));
    Show();
    QTest::keyClick(&In<QLineEdit>("Window", "Editor"), Qt::Key_End);
    QTest::keyClicks(&In<QLineEdit>("Window", "Editor"), "y");
    Settle();
    EXPECT_EQ(ToUtf8(Editor->GetText()), text + "y");
}

TEST_F(QtWindows, SizesAndPlacesThatMakeNoSenseAreBorne)
{
    constexpr int Most = std::numeric_limits<int>::max();
    constexpr int Least = std::numeric_limits<int>::min();
    Editor->SetVisibleTextWidth(Most);
    Button->SetRectDimensions(Least, Most, Most, Least);
    Label->SetGridConstraints(Most, Most, Most, Most, Most);
    CheckButton->SetGridConstraints(Least, Least, Least, Least, Least);
    Frame->SetVerticalAttachment(Most, ZALDlgAttachEnd, {Editor});
    Frame->SetVerticalAttachment(Least, ZALDlgAttachStart, {Editor});
    Frame->SetHorizontalAttachment(Least, 99, {Editor, Editor});
    Progress->SetRange(Least, Most);
    Progress->SetPos(0);
    Show();
    EXPECT_EQ(0, In<QProgressBar>("Window", "Progress").value());
    EXPECT_LE(In<QLineEdit>("Window", "Editor").minimumWidth(), 4000);
    EXPECT_LE(In<QPushButton>("Window", "Button").minimumHeight(), 4000);
}

// ---------------------------------------------------------------------------------------------
// Places of controls

/// Left upper corner and size of a widget, in its window.
QRect PlaceOf(const QWidget& widget)
{
    return {widget.mapTo(widget.window(), QPoint()), widget.size()};
}

TEST_F(QtWindows, AttachmentLinesPlaceControls)
{
    Frame->SetVerticalAttachment(1, ZALDlgAttachStart, {Label, CheckButton});
    Frame->SetVerticalAttachment(2, ZALDlgAttachStart, {Editor});
    Frame->SetVerticalAttachment(3, ZALDlgAttachEnd, {Editor});
    Frame->SetVerticalAttachment(4, ZALDlgAttachStart, {Button});
    Frame->SetHorizontalAttachment(1, ZALDlgAttachCenter, {Label, Editor, Button});
    Frame->SetHorizontalAttachment(2, ZALDlgAttachCenter, {CheckButton});
    Show();
    Shown("Window")->resize(900, 300);
    Settle();
    const QRect label = PlaceOf(In<QLabel>("Window", "Label"));
    const QRect editor = PlaceOf(In<QLineEdit>("Window", "Editor"));
    const QRect button = PlaceOf(In<QPushButton>("Window", "Button"));
    const QRect check = PlaceOf(In<QCheckBox>("Window", "Check"));
    EXPECT_LT(label.right(), editor.left());
    EXPECT_LT(editor.right(), button.left());
    EXPECT_NEAR(label.center().y(), editor.center().y(), 1);
    EXPECT_NEAR(button.center().y(), editor.center().y(), 1);
    EXPECT_GT(check.top(), editor.bottom());
    EXPECT_EQ(check.left(), label.left());
    EXPECT_GT(editor.width(), 500) << "stands between two lines";
}

TEST_F(QtWindows, AGridPlacesControlsAndMovesThem)
{
    Label->SetGridConstraints(0, 0, 1, 1, ZALDlgGridCenter);
    Editor->SetGridConstraints(0, 1, 1, 1, ZALDlgGridFill);
    Button->SetGridConstraints(1, 0, 1, 2, ZALDlgGridFill);
    Show();
    EXPECT_LT(PlaceOf(In<QLabel>("Window", "Label")).right(), PlaceOf(In<QLineEdit>("Window", "Editor")).left());
    EXPECT_GT(PlaceOf(In<QPushButton>("Window", "Button")).top(), PlaceOf(In<QLineEdit>("Window", "Editor")).bottom());
    EXPECT_GE(In<QPushButton>("Window", "Button").width(), In<QLineEdit>("Window", "Editor").width());
    Button->SetGridConstraints(0, 2, 1, 1, ZALDlgGridCenter);
    Settle();
    EXPECT_GT(PlaceOf(In<QPushButton>("Window", "Button")).left(), PlaceOf(In<QLineEdit>("Window", "Editor")).right());
}

TEST_F(QtWindows, AnAttachedControlFillsAWindow)
{
    auto* window = new ZALDlgDialog(nullptr, "Bare", ZALDlgProgressWindow);
    auto* frame = new ZALDlgFrame(window, "Main", ZALDlgFrameWithoutTitle);
    window->Attach4Sides(frame);
    auto* bar = new ZALDlgProgress(frame, "Bar", ZALDlgNoStyle);
    bar->SetRectDimensions(0, 0, 15, 200);
    frame->Attach4Sides(bar);
    window->SetVisibility(ZALDlgShow);
    Settle();
    EXPECT_GE(In<QProgressBar>("Bare", "Bar").width(), 200);
    Shown("Bare")->resize(600, 200);
    Settle();
    EXPECT_GT(In<QProgressBar>("Bare", "Bar").width(), 500);
}

// ---------------------------------------------------------------------------------------------
// Options and folders

class OptionsFrame : public ZALDlgToolsOptionsFrame {
public:
    explicit OptionsFrame(ZALDialog* parent) : ZALDlgToolsOptionsFrame(parent, "Page", "", ZALDlgToolsOptionsGrid) {}
    void Refresh() override {}
};

TEST_F(QtDialogs, APageOfOptionsHasItsLocks)
{
    auto* window = new ZALDlgDialog(nullptr, "Options", ZALDlgNoStyle);
    auto* page = new OptionsFrame(window);
    ZALDialog* content = page->GetContentParent();
    auto* check = new ZALDlgCheckButton(content, "Check", ZALDlgNoStyle);
    check->SetGridConstraints(0, 1, 1, 1, ZALDlgGridFill);
    auto* lock = new ZALDlgLock(content, "Lock", ZALSettingInfo());
    lock->SetGridConstraints(0, 0, 1, 1, ZALDlgGridCenter);
    window->SetVisibility(ZALDlgShow);
    Settle();
    EXPECT_EQ("", In<QLabel>("Options", "Lock").text());
    ZALDialogNode::Of(*lock).locked = true;
    lock->AddAssociatedDialog(check);
    Settle();
    EXPECT_EQ("Locked", In<QLabel>("Options", "Lock").text());
    EXPECT_FALSE(In<QCheckBox>("Options", "Check").isEnabled());
}

class QtFolderBox : public QtDialogs {
protected:
    QtFolderBox()
    {
        std::filesystem::create_directories(Folder.Path() / "parts");
        ZALFileMenuMethods::CreateCurrentDocEnvDialogBox(nullptr, "Box", ZALDlgFolderChooser, Box, nullptr);
        Box->Release();
        Note(Box, ZALDlgOKNotification::ClassName());
        Note(Box, ZALDlgCancelNotification::ClassName());
        Note(Box, ZALDlgWindCloseNotification::ClassName());
        Box->SetStartFolder(FromUtf8(Folder.Path().string()));
        Box->SetVisibility(ZALDlgShow);
        Settle();
    }
    static QFileDialog& Dialog() { return dynamic_cast<QFileDialog&>(*Shown("Box")); }
    static void EnterName(const QString& name)
    {
        auto* editor = Dialog().findChild<QLineEdit*>("fileNameEdit");
        editor->selectAll();
        QTest::keyClicks(editor, name);
    }

    TemporaryFolder Folder;
    ZALDlgFileBox* Box = nullptr;
};

TEST_F(QtFolderBox, TheStartFolderComesFirstAndFoldersOnlyAreChosen)
{
    EXPECT_EQ(Dialog().directory().absolutePath().toStdString(), Folder.Path().string());
    EXPECT_EQ(QFileDialog::Directory, Dialog().fileMode());
    EXPECT_TRUE(Dialog().testOption(QFileDialog::ShowDirsOnly));
}

TEST_F(QtFolderBox, OKTellsTheChoiceAndTheBoxStays)
{
    EnterName("parts");
    Use<QPushButton>("Box", "OK");
    EXPECT_THAT(Told, ElementsAre("ZALDlgOKNotification"));
    EXPECT_EQ(ToUtf8(Box->GetChosenFolder()), (Folder.Path() / "parts").string());
    EXPECT_TRUE(Shown("Box"));
}

TEST_F(QtFolderBox, AFolderThatIsNotThereIsNotChosen)
{
    EnterName("nowhere");
    QTest::keyClick(Dialog().findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
    Use<QPushButton>("Box", "OK");
    EXPECT_THAT(Told, IsEmpty());
    EXPECT_EQ(ToUtf8(Box->GetChosenFolder()), Folder.Path().string());
}

TEST_F(QtFolderBox, ButtonCloseBoxAndEscapeCancel)
{
    Click(In<QPushButton>("Box", "CANCEL"));
    Dialog().close();
    QTest::keyClick(&Dialog(), Qt::Key_Escape);
    Settle();
    EXPECT_THAT(Told, ElementsAre("ZALDlgCancelNotification", "ZALDlgCancelNotification", "ZALDlgCancelNotification"));
    EXPECT_TRUE(Shown("Box"));
}

TEST_F(QtFolderBox, ANewStartFolderIsShown)
{
    Box->SetStartFolder(FromUtf8((Folder.Path() / "parts").string()));
    Settle();
    EXPECT_EQ(Dialog().directory().absolutePath().toStdString(), (Folder.Path() / "parts").string());
}

TEST_F(QtFolderBox, AnEarlierChoiceIsForgottenWhenTheBoxIsShownAgain)
{
    EnterName("parts");
    Box->SetVisibility(ZALDlgHide);
    Settle();
    Box->SetVisibility(ZALDlgShow);
    Settle();
    Use<QPushButton>("Box", "OK");
    EXPECT_EQ(ToUtf8(Box->GetChosenFolder()), Folder.Path().string());
    EXPECT_THAT(Told, ElementsAre("ZALDlgOKNotification"));
}

TEST_F(QtFolderBox, TheBoxMayEndByOK)
{
    React(Box, ZALDlgOKNotification::ClassName(), [this] { ZALDialogNode::Of(*Box).EndAndRelease(); });
    EnterName("parts");
    Use<QPushButton>("Box", "OK");
    EXPECT_FALSE(Shown("Box"));
}

} // namespace

} // namespace openhost::testing
