#include "openhost/desktop/browser/QtPanelPage.h"

#include "openhost/desktop/browser/BrowserPage.h"
#include "openhost/desktop/browser/BrowserProfile.h"
#include "openhost/desktop/browser/HostChannel.h"
#include "openhost/desktop/window/Words.h"
#include "openhost/journal/UserSteps.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QKeySequence>
#include <QLabel>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWebChannel>
#include <QWebEngineHistory>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineView>

#include <stdexcept>

namespace openhost {

namespace {

using namespace std::chrono_literals;

/// A page that has not come by then will not come.
constexpr auto LoadLimit = 60s;
/// A busy machine may take long for a click.
constexpr auto UserLimit = 60s;
constexpr int MaximumMoves = 100;
constexpr auto PollInterval = 15ms;

/// Where the pointer rests while keys are used.
constexpr QPointF Corner(2, 2);

constexpr int PanelWidth = 420;
constexpr int PanelHeight = 760;

/// What the listener is told in place of an address that could not be shown: a page that is nobody's.
constexpr const char* NoPage = "about:blank";

/// `text` as a literal of JavaScript.
QString Literal(const QString& text)
{
    const QByteArray list = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(list.mid(1, list.size() - 2));
}

QString Literal(const std::string& text)
{
    return Literal(QString::fromStdString(text));
}

/// Gives the visible element that the selector finds as `element`, and otherwise `problem`, both in a function.
constexpr const char* FindElement = R"(
    let element = null, problem = "";
    try {
        element = document.querySelector(selector);
    } catch (error) {
        problem = "is not a selector";
    }
    if (!problem && !element)
        problem = "finds nothing";
    if (!problem && (element.getClientRects().length === 0 || getComputedStyle(element).visibility !== "visible"))
        problem = "finds nothing that is visible";
)";

QString WithElement(const std::string& selector, const QString& body)
{
    return "((selector) => {" + QString(FindElement) + body + "})(" + Literal(selector) + ")";
}

} // namespace

QtPanelPage::QtPanelPage(QWebEngineProfile& profile, Listener listener, const Place& place)
    : listener_(std::make_shared<const Listener>(std::move(listener))),
      channel_(std::make_unique<HostChannel>(
          [this](const QString& document, const QString& text) { OnMessage(document, text); })),
      page_(std::make_unique<BrowserPage>(profile))
{
    auto* channel = new QWebChannel(page_.get());
    channel->registerObject("hostPanel", channel_.get());
    page_->setWebChannel(channel, HandlersWorld);
    connect(page_.get(), &QWebEnginePage::loadingChanged, this,
            [this](const QWebEngineLoadingInfo& info) { OnLoading(info); });
    // Also for steps within a document.
    connect(page_.get(), &QWebEnginePage::urlChanged, this,
            [this] { back_->setEnabled(page_->history()->canGoBack()); });
    connect(page_.get(), &QWebEnginePage::titleChanged, this, [this](const QString& title) { setWindowTitle(title); });

    setAttribute(Qt::WA_DeleteOnClose, false);
    view_ = new QWebEngineView(this);
    view_->setContextMenuPolicy(Qt::NoContextMenu);
    view_->setPage(page_.get());
    view_->setAccessibleName("catalogue");
    shown_ = new QStackedWidget;
    shown_->addWidget(view_);
    shown_->addWidget(MakeErrorPage());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    MakeButtons();
    layout->addWidget(shown_, 1);
    Retranslate();
    resize(PanelWidth, PanelHeight);
    place(*this);
    view_->setFocus();
}

void QtPanelPage::MakeButtons()
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(2, 2, 2, 2);
    const auto add = [&](const char* name, QStyle::StandardPixmap icon, const std::function<void()>& act) {
        auto* button = new QToolButton(this);
        button->setObjectName(name);
        if (icon != QStyle::SP_CustomBase)
            button->setIcon(style()->standardIcon(icon));
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::TabFocus);
        connect(button, &QToolButton::clicked, this, act);
        row->addWidget(button);
        return button;
    };
    back_ = add("BACK", QStyle::SP_ArrowBack, [this] { page_->triggerAction(QWebEnginePage::Back); });
    reload_ = add("RELOAD", QStyle::SP_BrowserReload, [this] { Load(address_); });
    goHome_ = add("HOME", QStyle::SP_CustomBase, [this] { Load(home_); });
    back_->setEnabled(false);
    row->addStretch();
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
}

QWidget* QtPanelPage::MakeErrorPage()
{
    auto* page = new QWidget;
    page->setObjectName("ERROR_PAGE");
    error_ = new QLabel;
    error_->setTextFormat(Qt::PlainText);
    error_->setWordWrap(true);
    error_->setAlignment(Qt::AlignCenter);
    again_ = new QPushButton;
    again_->setObjectName("TRY_AGAIN");
    connect(again_, &QPushButton::clicked, this, [this] { Load(address_); });
    auto* layout = new QVBoxLayout(page);
    layout->addStretch();
    layout->addWidget(error_);
    layout->addWidget(again_, 0, Qt::AlignCenter);
    layout->addStretch();
    return page;
}

void QtPanelPage::Retranslate()
{
    const auto name = [](QToolButton& button, const char* text) {
        button.setToolTip(Words(text));
        button.setAccessibleName(Words(text));
    };
    name(*back_, "Back");
    name(*reload_, "Reload");
    name(*goHome_, "Home");
    goHome_->setText(Words("Home"));
    again_->setText(Words("Try again"));
    QWebEngineProfile& profile = *page_->profile();
    if (profile.httpAcceptLanguage() == LanguageCode())
        return;
    profile.setHttpAcceptLanguage(LanguageCode());
    if (!document_.isEmpty())
        Load(address_);
}

void QtPanelPage::ShowError(const QUrl& address)
{
    error_->setText(Words("The page cannot be shown.") + "\n" + address.toDisplayString());
    shown_->setCurrentIndex(1);
}

void QtPanelPage::ShowColours()
{
    const bool isDark = palette().color(QPalette::Window).lightness() < 128;
    page_->runJavaScript("document.documentElement.dataset.colours = " + QString(isDark ? "\"dark\"" : "\"light\""),
                         UserWorld);
}

void QtPanelPage::Load(const QUrl& address)
{
    if (!IsShowable(address))
        return;
    address_ = address;
    BeginWork();
    page_->load(address);
}

void QtPanelPage::AskToClose()
{
    Report([](const Listener& listener) {
        NoteUserStep({{"panel", "close"}});
        listener.closed();
    });
}

QtPanelPage::~QtPanelPage()
{
    EndWork();
    page_->disconnect(this);
    delete view_;
}

// ---------------------------------------------------------------------------------------------
// The page for the panel

bool QtPanelPage::LoadUrl(const std::string& url)
{
    const QUrl address(QString::fromStdString(url), QUrl::StrictMode);
    if (!IsShowable(address))
        return false;
    if (home_.isEmpty())
        home_ = address;
    Load(address);
    return true;
}

bool QtPanelPage::ExecuteScript(const std::string& script)
{
    if (document_.isEmpty())
        return false;
    page_->runJavaScript("if (hostDocument === " + Literal(injectedDocument_) + ") {\n" +
                             QString::fromStdString(script) + "\n}",
                         InjectedWorld);
    return true;
}

bool QtPanelPage::ExecuteHandlers(const std::string& script)
{
    if (!ExecuteScript(script))
        return false;
    RunBesideHandlers(document_, QString::fromStdString(script));
    return true;
}

void QtPanelPage::DispatchEvent(const std::string& document, const std::string& name, const std::string& detail)
{
    if (document_ == QString::fromStdString(document))
        RunBesideHandlers(document_, "document.dispatchEvent(new CustomEvent(" + Literal(name) +
                                         ", {detail: " + Literal(detail) + "}));");
}

void QtPanelPage::RunBesideHandlers(const QString& document, const QString& script)
{
    page_->runJavaScript("if (hostPanel.document === " + Literal(document) + ") {\n" + script + "\n}", HandlersWorld);
}

void QtPanelPage::OnLoading(const QWebEngineLoadingInfo& info)
{
    switch (info.status()) {
    case QWebEngineLoadingInfo::LoadStartedStatus:
        ++loads_;
        if (IsShowable(info.url()))
            address_ = info.url();
        BeginWork();
        return;
    case QWebEngineLoadingInfo::LoadSucceededStatus:
    case QWebEngineLoadingInfo::LoadStoppedStatus: // by a download or a refused address: there may be a document
        ReportDocument();
        return;
    case QWebEngineLoadingInfo::LoadFailedStatus:
        ReportFailure();
        return;
    }
}

void QtPanelPage::ReportDocument()
{
    // A document that begins between the two questions has begun another load, by which the answers are dropped.
    const QPointer<QtPanelPage> self(this);
    page_->runJavaScript(
        "[location.href, hostPanel.document]", HandlersWorld, [self, load = loads_](const QVariant& own) {
            if (!self || load != self->loads_)
                return;
            self->page_->runJavaScript("hostDocument", InjectedWorld, [self, load, own](const QVariant& injected) {
                if (self && load == self->loads_)
                    self->ReportDocument(own.toList(), injected.toString());
            });
        });
}

void QtPanelPage::ReportDocument(const QVariantList& own, const QString& injected)
{
    if (own.size() != 2 || injected.isEmpty() || !IsShowable(QUrl(own[0].toString())))
        return ReportFailure();
    EndWork();
    shown_->setCurrentIndex(0);
    ShowColours();
    if (document_ == own[1].toString())
        return;
    document_ = own[1].toString();
    injectedDocument_ = injected;
    Report([url = own[0].toString().toStdString()](const Listener& listener) {
        NoteUserStep({{"url", url}});
        listener.urlChanged(url);
    });
}

void QtPanelPage::ReportFailure()
{
    EndWork();
    document_.clear();
    ShowError(address_);
    Report([](const Listener& listener) { listener.urlChanged(NoPage); });
}

void QtPanelPage::OnMessage(const QString& document, const QString& text)
{
    if (document_.isEmpty() || document != document_)
        return;
    Report([message = text.toStdString(), name = document.toStdString()](const Listener& listener) {
        NoteUserStep({{"message", message}});
        listener.messageSent(message, name);
    });
}

void QtPanelPage::Report(std::function<void(const Listener&)> call)
{
    EventLoop::Current().Post([held = std::weak_ptr<const Listener>(listener_), call = std::move(call)] {
        if (const auto listener = held.lock())
            call(*listener);
    });
}

void QtPanelPage::BeginWork()
{
    EndWork();
    working_ = EventLoop::Current().CallAfter(LoadLimit, [this] {
        working_ = 0;
        ++loads_;
        page_->triggerAction(QWebEnginePage::Stop);
        ReportFailure();
    });
}

void QtPanelPage::EndWork()
{
    EventLoop::Current().CancelTimer(std::exchange(working_, 0));
}

void QtPanelPage::closeEvent(QCloseEvent* event)
{
    event->accept();
    AskToClose();
}

void QtPanelPage::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange && page_)
        ShowColours();
    QWidget::changeEvent(event);
}

// ---------------------------------------------------------------------------------------------
// The page for its user

QVariant QtPanelPage::Evaluate(const QString& script)
{
    const auto answer = std::make_shared<std::optional<QVariant>>();
    page_->runJavaScript(script, UserWorld, [answer](const QVariant& value) { *answer = value; });
    RunUntil([&] { return answer->has_value(); }, "the page does not answer");
    return **answer;
}

void QtPanelPage::Await(const QString& script, const std::string& what, const std::function<void()>& attempt)
{
    AwaitHere(
        [&] {
            if (Evaluate(script).toBool())
                return true;
            attempt();
            return false;
        },
        what);
}

void QtPanelPage::AwaitHere(const std::function<bool()>& done, const std::string& what)
{
    const auto start = std::chrono::steady_clock::now();
    while (!done()) {
        if (std::chrono::steady_clock::now() - start > UserLimit)
            throw std::runtime_error(what);
        bool passed = false;
        EventLoop::Current().CallAfter(PollInterval, [&passed] { passed = true; });
        RunUntil([&passed] { return passed; }, what);
    }
}

void QtPanelPage::RunUntil(const std::function<bool()>& done, const std::string& what)
{
    EventLoop& loop = EventLoop::Current();
    const EventLoop::Timer limit = loop.CallAfter(UserLimit, [] {});
    const RunEnd end = loop.RunUntil(done, UserLimit);
    loop.CancelTimer(limit);
    if (end != RunEnd::Done)
        throw std::runtime_error(what);
}

QWidget& QtPanelPage::Target()
{
    QWidget* target = view_->focusProxy();
    if (!target)
        throw std::runtime_error("the panel shows no page");
    return *target;
}

void QtPanelPage::SendPointer(QEvent::Type type, QPointF place, Qt::MouseButton button, Qt::MouseButtons buttons)
{
    QWidget& target = Target();
    QMouseEvent event(type, place, target.mapToGlobal(place), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(&target, &event);
}

void QtPanelPage::MovePointer(QPointF place)
{
    Evaluate(R"(
        globalThis.user = {moved: false};
        addEventListener("mousemove", () => { globalThis.user.moved = true; }, {capture: true, once: true});
    )");
    bool aside = false;
    Await("!globalThis.user || globalThis.user.moved", "the page takes no input", [&] {
        SendPointer(QEvent::MouseMove, place + QPointF(aside ? 1 : 0, 0), Qt::NoButton, Qt::NoButton);
        aside = !aside;
    });
}

QPointF QtPanelPage::PlaceOf(const std::string& selector)
{
    const QVariantList place = Evaluate(WithElement(selector, R"(
        if (problem)
            return [problem];
        if (element.matches(":disabled"))
            return ["finds an element that is disabled"];
        element.scrollIntoViewIfNeeded();
        const box = element.getClientRects()[0];
        const x = box.left + box.width / 2, y = box.top + box.height / 2;
        const hit = document.elementFromPoint(x, y);
        if (!hit || !(element.contains(hit) || hit.contains(element)))
            return ["finds an element that is covered"];
        return [x, y];
    )"))
                                   .toList();
    if (place.size() != 2)
        throw std::runtime_error("\"" + selector + "\" " +
                                 (place.empty() ? "cannot be clicked" : place[0].toString().toStdString()));
    return {place[0].toDouble(), place[1].toDouble()};
}

void QtPanelPage::Click(const std::string& selector)
{
    // What loads meanwhile may move the element.
    QPointF middle = PlaceOf(selector);
    QPointF before;
    for (int move = 0; before != middle; middle = PlaceOf(selector)) {
        if (++move > MaximumMoves)
            throw std::runtime_error("\"" + selector + "\" does not come to rest");
        before = middle;
        MovePointer(middle);
    }
    Evaluate(R"(
        globalThis.user = {done: false};
        addEventListener("click", () => { globalThis.user.done = true; }, {capture: true, once: true});
    )");
    SendPointer(QEvent::MouseButtonPress, middle, Qt::LeftButton, Qt::LeftButton);
    SendPointer(QEvent::MouseButtonRelease, middle, Qt::LeftButton, Qt::NoButton);
    Await("!globalThis.user || globalThis.user.done", "the click on \"" + selector + "\" does not arrive");
}

void QtPanelPage::SendKey(int key, Qt::KeyboardModifiers modifiers, const QString& text)
{
    QWidget& target = Target();
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    QCoreApplication::sendEvent(&target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    QCoreApplication::sendEvent(&target, &release);
}

void QtPanelPage::Enter(const std::string& selector, const std::string& text)
{
    const QString problem = Evaluate(WithElement(selector, R"(
        if (problem)
            return problem;
        if (!("value" in element) || !element.select || element.matches(":disabled") || element.readOnly)
            return "finds nothing that takes text";
        element.focus();
        element.select();
        return "";
    )"))
                                .toString();
    if (!problem.isEmpty())
        throw std::runtime_error("\"" + selector + "\" " + problem.toStdString());

    MovePointer(Corner);
    SendKey(Qt::Key_Delete, Qt::NoModifier, {});
    const QString typed = QString::fromStdString(text);
    for (const QChar& letter : typed)
        SendKey(QKeySequence(letter)[0].key(), Qt::NoModifier, letter);
    Await(WithElement(selector, "return !element || element.value === " + Literal(typed) + ";"),
          "the text does not arrive in \"" + selector + "\"");
}

void QtPanelPage::Press(const std::string& key)
{
    const QKeySequence sequence = QKeySequence::fromString(QString::fromStdString(key), QKeySequence::PortableText);
    if (sequence.count() != 1 || sequence[0].key() == Qt::Key_unknown)
        throw std::runtime_error("\"" + key + "\" names no key");

    MovePointer(Corner);
    Evaluate(R"(
        globalThis.user = {done: false};
        addEventListener("keyup", () => { globalThis.user.done = true; }, {capture: true, once: true});
    )");
    const Qt::Key code = sequence[0].key();
    const QString text = code == Qt::Key_Return ? "\r" : code == Qt::Key_Space ? " " : QString();
    SendKey(code, sequence[0].keyboardModifiers(), text);
    Await("!globalThis.user || globalThis.user.done", "the key \"" + key + "\" does not arrive");
}

bool QtPanelPage::Shows(const std::string& selector)
{
    return Evaluate(WithElement(selector, "return !problem;")).toBool();
}

void QtPanelPage::SavePicture(const std::filesystem::path& file)
{
    // What the browser has drawn reaches the window some frames later. A mark that has come and gone there tells that
    // everything before it is in the picture.
    const QColor color(Qt::magenta);
    const auto isMarked = [&] { return view_->grab(QRect(0, 0, 1, 1)).toImage().pixelColor(0, 0) == color; };
    Evaluate(R"(
        globalThis.mark = document.createElement("div");
        mark.style.cssText = "position: fixed; left: 0; top: 0; width: 4px; height: 4px; z-index: 2147483647; " +
            "background: #ff00ff; forced-color-adjust: none";
        document.documentElement.append(mark);
    )");
    AwaitHere(isMarked, "the page does not draw");
    Evaluate("globalThis.mark?.remove()");
    AwaitHere([&] { return !isMarked(); }, "the page does not draw");
    if (!view_->grab().save(QString::fromStdString(file.string()), "PNG"))
        throw std::runtime_error(file.string() + ": the picture cannot be written");
}

} // namespace openhost
