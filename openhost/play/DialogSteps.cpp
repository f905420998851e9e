// The steps on dialogs and on the page of settings.

#include "openhost/journal/Events.h"
#include "openhost/play/KnownNames.h"
#include "openhost/play/SessionPlayer.h"
#include "openhost/play/SessionSteps.h"
#include "openhost/text/Utf.h"

#include "host/dialogs.h"

#include <algorithm>
#include <array>
#include <optional>

namespace openhost {

namespace {

constexpr std::int64_t MaximumButton = 1'000;

int ReadButton(const LocatedJson& value, const std::string& name)
{
    return static_cast<int>(ReadInteger(value, name, 0, MaximumButton));
}

/// {"answer": {"dialog": NAME, "button": N, "fails": true}}
StepAction ReadAnswer(const LocatedJson& value, const std::string&)
{
    std::string dialog;
    int button = 0;
    bool fails = false;
    ReadMembers(value, "\"answer\"",
                {{"dialog", Into(dialog, ReadName)},
                 {"button", Into(button, ReadButton)},
                 {"fails", Into(fails, ReadBoolean)}});
    RequireMembers(value, "\"answer\"", {"dialog", "button"});
    CheckQuestion(*value.Find("dialog"), dialog);
    return [dialog, button, fails](SessionPlayer& player) {
        if (fails)
            player.Surface().Refuse(player.ExpandPlaceholders(dialog), button);
        else
            player.Surface().Answer(player.ExpandPlaceholders(dialog), button);
    };
}

// ---------------------------------------------------------------------------------------------
// {"push": {"dialog": NAME, "control": NAME, "text": TEXT or "state": STATE}}

struct Push {
    std::string dialog;
    std::string control;
    std::optional<std::string> text;
    std::optional<int> state;
};

int ReadState(const LocatedJson& value, const std::string&)
{
    if (value.value.is_boolean())
        return value.value.get<bool>() ? ZALDlgChecked : ZALDlgUnchecked;
    for (const int state : {ZALDlgChecked, ZALDlgUnchecked})
        if (value.value == state)
            return state;
    throw LocatedError(value.line, "\"state\" must be true or 262144, or false or 524288");
}

void Do(const Push& push, SessionPlayer& player)
{
    journal::Push event{.dialog = player.ExpandPlaceholders(push.dialog),
                        .control = player.ExpandPlaceholders(push.control)};
    if (push.text)
        event.text = player.ExpandPlaceholders(*push.text);
    if (push.state)
        event.state = *push.state == ZALDlgChecked;
    journal::Write([&] { return event; });

    ScriptedSurface& surface = player.Surface();
    const PushResult result = push.text    ? surface.EnterText(event.dialog, event.control, FromUtf8(*event.text))
                              : push.state ? surface.SetState(event.dialog, event.control, *push.state)
                                           : surface.Push(event.dialog, event.control);
    if (result != PushResult::Done)
        throw StepFailure("\"" + event.control + "\" of \"" + event.dialog + "\" cannot be pushed: " + ToText(result));
}

StepAction ReadPush(const LocatedJson& value, const std::string&)
{
    Push push;
    ReadMembers(value, "\"push\"",
                {{"dialog", Into(push.dialog, ReadName)},
                 {"control", Into(push.control, ReadName)},
                 {"text", Into(push.text, ReadText)},
                 {"state", Into(push.state, ReadState)}});
    RequireMembers(value, "\"push\"", {"dialog", "control"});
    CheckWindow(*value.Find("dialog"), push.dialog);
    CheckControl(*value.Find("control"), push.dialog, push.control);
    if (push.text && push.state)
        throw LocatedError(value.line, "\"push\" has either \"text\" or \"state\"");
    return [push](SessionPlayer& player) { Do(push, player); };
}

// ---------------------------------------------------------------------------------------------
// {"options": OPERATION}

struct Operation {
    const char* key;
    const char* name; ///< as results call it
    HRESULT (ZALIMeridiaAccessSettingsUIAddin::*run)();
};

constexpr std::array<Operation, 4> Operations{{
    {"refresh", "Refresh", &ZALIMeridiaAccessSettingsUIAddin::Refresh},
    {"save", "Save", &ZALIMeridiaAccessSettingsUIAddin::Save},
    {"reset", "Reset", &ZALIMeridiaAccessSettingsUIAddin::Reset},
    {"restore", "Restore", &ZALIMeridiaAccessSettingsUIAddin::Restore},
}};

void WriteOptions(const std::string& operation)
{
    journal::Write([&] { return journal::Options{.operation = operation}; });
}

StepAction ReadOptions(const LocatedJson& value, const std::string& key)
{
    const std::string& called = ReadName(value, key);
    if (called == "open")
        return [](SessionPlayer& player) {
            WriteOptions("open");
            journal::WriteResult("CreateFrame", player.Options().Open() ? S_OK : E_FAIL);
        };

    const auto* const found = std::ranges::find(Operations, called, &Operation::key);
    if (found == Operations.end())
        throw LocatedError(value.line, "unknown operation \"" + called + "\" of \"options\"");
    return [operation = *found](SessionPlayer& player) {
        WriteOptions(operation.key);
        journal::WriteResult(operation.name, (player.Options().Addin().*operation.run)());
    };
}

} // namespace

StepKinds DialogSteps()
{
    return {
        {.key = "answer", .acts = false, .read = OneMember(ReadAnswer)},
        {.key = "push", .acts = true, .read = OneMember(ReadPush)},
        {.key = "options", .acts = true, .read = OneMember(ReadOptions)},
    };
}

} // namespace openhost
