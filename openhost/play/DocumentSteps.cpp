// The steps on documents and their trees.

#include "openhost/cad/WorkspaceTree.h"
#include "openhost/commands/DialogEngine.h"
#include "openhost/journal/Events.h"
#include "openhost/play/SessionPlayer.h"
#include "openhost/play/SessionSteps.h"
#include "openhost/space/TurnAndShift.h"

#include "host/frame.h"

#include <array>
#include <optional>

namespace openhost {

namespace {

constexpr double MaximumCoordinate = 1e6; // 1 km in millimetres
constexpr double FullTurn = 360;

/// The way through the tree of the active document by the names `names`.
ZALInterfaceHandle<ZALPathElement> FindPath(SessionPlayer& player, const std::string& names)
{
    auto path = ZALInterfaceHandle<ZALPathElement>::Take(player.Cad().FindPath(names));
    if (!path.Get())
        throw StepFailure("the active document has no \"" + names + "\"");
    return path;
}

// ---------------------------------------------------------------------------------------------
// Elements of the tree

/// {"select": "Root/Child.2"}
void Select(SessionPlayer& player, const std::string& text)
{
    // A command that has just been started enters its first state from the loop.
    player.RunPosted();
    const std::string names = player.ExpandPlaceholders(text);
    const auto path = FindPath(player, names);
    if (DialogEngine::Current().Offer(path.Get(), names).command.empty())
        throw StepFailure("no command waits for an element");
}

/// {"highlight": "Root/Child.2"}
void Highlight(SessionPlayer& player, const std::string& text)
{
    const std::string names = player.ExpandPlaceholders(text);
    const auto path = FindPath(player, names);
    ZALCSO& objects = *ZALFrmEditor::GetCurrentEditor()->GetCSO();
    objects.Empty();
    objects.AddElement(path.Get());
    journal::Write([&] { return journal::Highlight{.element = names}; });
}

// ---------------------------------------------------------------------------------------------
// {"move": "Root/Child.2", "at": [X, Y, Z], "axis": [X, Y, Z], "angle": DEGREES}

struct Move {
    std::string names;
    TurnAndShift to;
};

Vector ReadVector(const LocatedJson& value, const std::string& name)
{
    if (!value.value.is_array() || value.items.size() != 3)
        throw LocatedError(value.line, "\"" + name + "\" must be a list of three numbers");
    Vector vector{};
    for (std::size_t i = 0; i < vector.size(); ++i)
        vector[i] = ReadNumber(value.items[i], name, -MaximumCoordinate, MaximumCoordinate);
    return vector;
}

Vector ReadAxis(const LocatedJson& value, const std::string& name)
{
    const Vector axis = ReadVector(value, name);
    if (!HasDirection(axis))
        throw LocatedError(value.line, "\"axis\" must have a direction");
    return axis;
}

double ReadAngle(const LocatedJson& value, const std::string& name)
{
    return ReadNumber(value, name, -FullTurn, FullTurn);
}

void Do(const Move& move, SessionPlayer& player)
{
    const std::string names = player.ExpandPlaceholders(move.names);
    const auto path = FindPath(player, names);
    path->InitToLeafElement();
    auto* component = dynamic_cast<WorkspaceProduct*>(path->GetNextFatherObject());
    if (!component || component->IsRoot())
        throw StepFailure("\"" + names + "\" is not a component");
    player.Cad().MoveComponent(*component, move.to.ToPlacement());
}

StepAction ReadMove(const LocatedJson& step, const std::string& key)
{
    Move move;
    ReadMembers(step, "the step",
                {{key, Into(move.names, ReadName)},
                 {"at", Into(move.to.at, ReadVector)},
                 {"axis", Into(move.to.axis, ReadAxis)},
                 {"angle", Into(move.to.degrees, ReadAngle)}});
    RequireMembers(step, "the step", {"at"});
    return [move](SessionPlayer& player) { Do(move, player); };
}

// ---------------------------------------------------------------------------------------------
// Whole documents

/// {"open": PATH}
void Open(SessionPlayer& player, const std::string& path)
{
    player.Cad().Open(player.PathOf(path));
}

/// {"new": PATH, "partNumber": TEXT}
StepAction ReadNew(const LocatedJson& step, const std::string& key)
{
    std::string path;
    std::optional<std::string> partNumber;
    ReadMembers(step, "the step", {{key, Into(path, ReadName)}, {"partNumber", Into(partNumber, ReadName)}});
    return [path, partNumber](SessionPlayer& player) {
        const std::filesystem::path file = player.PathOf(path);
        player.Cad().New(DocumentKind::Product, file,
                         partNumber ? player.ExpandPlaceholders(*partNumber) : file.stem().string());
    };
}

/// {"save": DOCUMENT, "as": PATH}
StepAction ReadSave(const LocatedJson& step, const std::string& key)
{
    std::string path;
    std::optional<std::string> as;
    ReadMembers(step, "the step", {{key, Into(path, ReadName)}, {"as", Into(as, ReadName)}});
    return [path, as](SessionPlayer& player) {
        LoadedDocument& document = player.Document(path);
        if (as)
            player.Cad().SaveAs(document, player.PathOf(*as));
        else
            player.Cad().Save(document);
    };
}

/// {"close": DOCUMENT, "discard": true or false}
StepAction ReadClose(const LocatedJson& step, const std::string& key)
{
    std::string path;
    bool discard = false;
    ReadMembers(step, "the step", {{key, Into(path, ReadName)}, {"discard", Into(discard, ReadBoolean)}});
    return [path, discard](SessionPlayer& player) {
        LoadedDocument& document = player.Document(path);
        if (document.IsDirty() && !discard)
            throw StepFailure(document.Path().string() + ": the document has changes that are not saved");
        player.Cad().Close(document);
    };
}

/// {"undo": true} or {"redo": true}
template <void (CadWorkspace::*Act)()>
StepAction ReadUndo(const LocatedJson& value, const std::string& key)
{
    if (!ReadBoolean(value, key))
        throw LocatedError(value.line, "\"" + key + "\" must be true");
    return [](SessionPlayer& player) { (player.Cad().*Act)(); };
}

/// {"tree": DOCUMENT}
void TellTree(SessionPlayer& player, const std::string& path)
{
    const LoadedDocument& document = player.Document(path);
    journal::Write([&] { return journal::Tree{.path = document.Path().string(), .root = DescribeTree(document)}; });
}

} // namespace

StepKinds DocumentSteps()
{
    return {
        {.key = "select", .acts = true, .read = OneText(ReadName, Select)},
        {.key = "highlight", .acts = true, .read = OneText(ReadName, Highlight)},
        {.key = "move", .acts = true, .read = ReadMove},
        {.key = "open", .acts = true, .read = OneText(ReadName, Open)},
        {.key = "new", .acts = true, .read = ReadNew},
        {.key = "save", .acts = true, .read = ReadSave},
        {.key = "close", .acts = true, .read = ReadClose},
        {.key = "undo", .acts = true, .read = OneMember(ReadUndo<&CadWorkspace::Undo>)},
        {.key = "redo", .acts = true, .read = OneMember(ReadUndo<&CadWorkspace::Redo>)},
        {.key = "tree", .acts = false, .read = OneText(ReadName, TellTree)},
    };
}

} // namespace openhost
