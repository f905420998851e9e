#include "openhost/desktop/window/DocumentActions.h"

#include "openhost/desktop/window/AskUser.h"
#include "openhost/desktop/window/Words.h"
#include "openhost/journal/UserSteps.h"

#include "host/cad.h"

#include <QAction>
#include <QFileInfo>
#include <QMenu>

#include <algorithm>
#include <set>

namespace openhost {

namespace {

constexpr int MaximumRecent = 10;
constexpr const char* RecentKey = "recentDocuments";

QString DocumentFilter()
{
    return Words("Documents (*.%1 *.%2)").arg(ZALProductExtension, ZALPartExtension);
}

QString NameOf(const LoadedDocument& document)
{
    return QString::fromStdString(document.Path().filename().string());
}

/// The documents that go when the window of `closing` does, `closing` itself among them unless another one refers to
/// it.
std::vector<LoadedDocument*> GoingWith(LoadedDocument& closing)
{
    std::set<LoadedDocument*> going{&closing};
    std::vector<LoadedDocument*> waiting{&closing};
    while (!waiting.empty()) {
        const LoadedDocument* document = waiting.back();
        waiting.pop_back();
        for (const auto& [reference, count] : document->References())
            if (!reference->IsOpen() && going.insert(reference).second)
                waiting.push_back(reference);
    }
    // Whatever a document that stays refers to stays.
    const auto stays = [&](const LoadedDocument* document) {
        return std::ranges::any_of(document->Fathers(),
                                   [&](const auto& father) { return !going.contains(father.first); });
    };
    for (bool changed = true; changed;) {
        const std::size_t before = going.size();
        std::erase_if(going, stays);
        changed = going.size() != before;
    }
    return {going.begin(), going.end()};
}

} // namespace

DocumentActions::DocumentActions(CadWorkspace& workspace, QSettings& settings, QWidget& window)
    : workspace_(workspace), settings_(settings), window_(window)
{
    const auto add = [&](const char* name, const QKeySequence& keys, const std::function<void()>& act) {
        auto* action = new QAction(this);
        action->setObjectName(name);
        action->setShortcut(keys);
        connect(action, &QAction::triggered, this, act);
        return action;
    };
    newProduct = add("NEW", QKeySequence::New, [this] { New(); });
    open = add("OPEN", QKeySequence::Open, [this] { AskAndOpen(); });
    save = add("SAVE", QKeySequence::Save, [this] {
        if (LoadedDocument* document = workspace_.Active())
            Try([&] { Save(*document); });
    });
    saveAs = add("SAVE_AS", QKeySequence("Ctrl+Shift+S"), [this] { SaveAs(); });
    saveAll = add("SAVE_ALL", QKeySequence("Ctrl+Alt+S"), [this] { SaveAll(Unsaved()); });
    close = add("CLOSE", QKeySequence("Ctrl+W"), [this] {
        if (LoadedDocument* document = workspace_.Active())
            Close(*document);
    });
    undo = add("UNDO", QKeySequence::Undo, [this] {
        NoteUserStep({{"undo", true}});
        Try([this] { workspace_.Undo(); });
    });
    redo = add("REDO", QKeySequence("Ctrl+Shift+Z"), [this] {
        NoteUserStep({{"redo", true}});
        Try([this] { workspace_.Redo(); });
    });
    recent = new QMenu(&window_);
    recent->setObjectName("RECENT");
    Retranslate();
    UpdateRecent();
}

void DocumentActions::Retranslate()
{
    newProduct->setText(Words("&New product..."));
    open->setText(Words("&Open..."));
    recent->setTitle(Words("Open &recent"));
    save->setText(Words("&Save"));
    saveAs->setText(Words("Save &as..."));
    saveAll->setText(Words("Save a&ll"));
    close->setText(Words("&Close"));
    Update();
}

void DocumentActions::Update()
{
    const LoadedDocument* active = workspace_.Active();
    save->setEnabled(active && active->IsDirty());
    saveAs->setEnabled(active);
    saveAll->setEnabled(!workspace_.Unsaved().empty());
    close->setEnabled(active);
    const auto name = [](QAction& action, const char* text, const std::optional<std::string>& step) {
        action.setEnabled(step.has_value());
        action.setText(step ? Words(text) + " " + Words(step->c_str()) : Words(text));
        // Of the tool bar, which keeps its width.
        action.setIconText(Words(text).remove('&'));
        action.setToolTip(action.text().remove('&'));
    };
    name(*undo, "&Undo", workspace_.NextUndo());
    name(*redo, "&Redo", workspace_.NextRedo());
}

bool DocumentActions::Try(const std::function<void()>& act)
{
    try {
        act();
        return true;
    } catch (const std::exception& error) {
        TellError(&window_, QString::fromUtf8(error.what()));
        return false;
    }
}

// ---------------------------------------------------------------------------------------------
// New and open

void DocumentActions::New()
{
    const std::filesystem::path file =
        AskForFile(&window_, Words("New product"), settings_.value("folder").toString().toStdString(),
                   Words("Products (*.%1)").arg(ZALProductExtension), true, ZALProductExtension);
    if (file.empty())
        return;
    Try([&] {
        workspace_.New(DocumentKind::Product, file, file.stem().string());
        NoteUserStep({{"new", file.string()}});
        NoteRecent(file);
    });
}

void DocumentActions::AskAndOpen()
{
    const std::filesystem::path file = AskForFile(
        &window_, Words("Open"), settings_.value("folder").toString().toStdString(), DocumentFilter(), false, {});
    // The dialog leaves the screen first.
    if (!file.empty())
        QMetaObject::invokeMethod(
            this, [this, file] { Open(file); }, Qt::QueuedConnection);
}

void DocumentActions::Open(const std::filesystem::path& path)
{
    const bool opened = Try([&] {
        const LoadedDocument& document = workspace_.Open(path);
        NoteUserStep({{"open", document.Path().string()}});
        NoteRecent(document.Path());
    });
    if (!opened) {
        QStringList recents = settings_.value(RecentKey).toStringList();
        recents.removeAll(QString::fromStdString(path.string()));
        settings_.setValue(RecentKey, recents);
        UpdateRecent();
    }
}

void DocumentActions::Activate(LoadedDocument& document)
{
    if (workspace_.Active() == &document)
        return;
    workspace_.Activate(document);
    NoteUserStep({{"open", document.Path().string()}});
}

void DocumentActions::NoteRecent(const std::filesystem::path& path)
{
    const QString file = QString::fromStdString(path.string());
    QStringList recents = settings_.value(RecentKey).toStringList();
    recents.removeAll(file);
    recents.prepend(file);
    settings_.setValue(RecentKey, QStringList(recents.mid(0, MaximumRecent)));
    settings_.setValue("folder", QString::fromStdString(path.parent_path().string()));
    UpdateRecent();
}

void DocumentActions::UpdateRecent()
{
    recent->clear();
    int number = 0;
    for (const QString& file : settings_.value(RecentKey).toStringList()) {
        QAction* action = recent->addAction(QString("&%1 %2").arg(++number).arg(QString(file).replace("&", "&&")));
        connect(action, &QAction::triggered, this, [this, file] { Open(file.toStdString()); });
    }
    recent->setEnabled(number > 0);
}

// ---------------------------------------------------------------------------------------------
// Save and close

void DocumentActions::Save(LoadedDocument& document)
{
    workspace_.Save(document);
    NoteUserStep({{"save", document.Path().string()}});
}

void DocumentActions::SaveAs()
{
    LoadedDocument* document = workspace_.Active();
    if (!document)
        return;
    const bool isProduct = document->Kind() == DocumentKind::Product;
    const char* extension = isProduct ? ZALProductExtension : ZALPartExtension;
    const std::filesystem::path file =
        AskForFile(&window_, Words("Save as"), document->Path(),
                   (isProduct ? Words("Products (*.%1)") : Words("Parts (*.%1)")).arg(extension), true, extension);
    // The user has thought about it while the host went on.
    if (file.empty() || document != workspace_.Active())
        return;
    const std::string before = document->Path().string();
    Try([&] {
        workspace_.SaveAs(*document, file);
        NoteUserStep({{"save", before}, {"as", file.string()}});
        NoteRecent(document->Path());
    });
}

bool DocumentActions::SaveAll(const std::vector<LoadedDocument*>& documents)
{
    const bool saved = Try([&] { workspace_.Save(documents); });
    for (const LoadedDocument* document : documents)
        if (!document->IsDirty())
            NoteUserStep({{"save", document->Path().string()}});
    return saved;
}

std::vector<LoadedDocument*> DocumentActions::Unsaved() const
{
    std::vector<LoadedDocument*> documents;
    for (const std::filesystem::path& path : workspace_.Unsaved())
        if (LoadedDocument* document = workspace_.Find(path))
            documents.push_back(document);
    return documents;
}

DocumentActions::Loss DocumentActions::AskForChanges(const std::vector<LoadedDocument*>& documents)
{
    constexpr std::size_t shown = 10;
    QStringList names;
    for (const LoadedDocument* document : documents)
        if (static_cast<std::size_t>(names.size()) < shown)
            names.append(NameOf(*document));
    if (documents.size() > shown)
        names.append(Words("and %1 more").arg(documents.size() - shown));
    switch (AskUser(&window_, Words("Unsaved changes"), Words("Save the changes of these documents?"),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save,
                    QMessageBox::Cancel, names.join("\n"))) {
    case QMessageBox::Save:
        return Loss::Saved;
    case QMessageBox::Discard:
        return Loss::Dropped;
    default:
        return Loss::Kept;
    }
}

bool DocumentActions::Close(LoadedDocument& document)
{
    const std::filesystem::path path = document.Path();
    std::vector<LoadedDocument*> changed = GoingWith(document);
    std::erase_if(changed, [](const LoadedDocument* going) { return !going->IsDirty(); });
    Loss loss = Loss::Saved;
    if (!changed.empty()) {
        loss = AskForChanges(changed);
        // The host has gone on meanwhile.
        if (loss == Loss::Kept || workspace_.Find(path) != &document || !document.IsOpen())
            return false;
        std::erase_if(changed, [&](const LoadedDocument* going) {
            const std::vector<LoadedDocument*> now = Unsaved();
            return std::ranges::find(now, going) == now.end();
        });
        if (loss == Loss::Saved && !SaveAll(changed))
            return false;
    }
    return Try([&] {
        workspace_.Close(document);
        if (loss == Loss::Dropped)
            NoteUserStep({{"close", path.string()}, {"discard", true}});
        else
            NoteUserStep({{"close", path.string()}});
    });
}

bool DocumentActions::MayEnd()
{
    const std::vector<LoadedDocument*> changed = Unsaved();
    if (changed.empty())
        return true;
    switch (AskForChanges(changed)) {
    case Loss::Saved:
        return SaveAll(Unsaved());
    case Loss::Dropped:
        return true;
    case Loss::Kept:
        break;
    }
    return false;
}

} // namespace openhost
