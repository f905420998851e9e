// The steps on the panel and the page in it.

#include "openhost/journal/Events.h"
#include "openhost/panel/Panel.h"
#include "openhost/play/SessionPlayer.h"
#include "openhost/play/SessionSteps.h"
#include "openhost/text/Utf.h"

namespace openhost {

namespace {

/// {"message": MAP or TEXT}
StepAction ReadMessageStep(const LocatedJson& value, const std::string& key)
{
    return [message = ReadMessage(value, key)](SessionPlayer& player) {
        player.Page().ReportMessage(TextOfMessage(player.ExpandPlaceholders(message)));
    };
}

/// {"url": TEXT}
void TellUrl(SessionPlayer& player, const std::string& url)
{
    player.Page().ReportUrl(player.ExpandPlaceholders(url));
}

/// {"panel": "open" or "close"}
StepAction ReadPanel(const LocatedJson& value, const std::string& key)
{
    const std::string& action = ReadName(value, key);
    if (action == "open")
        return [](SessionPlayer&) { Panel::Open(); };
    if (action != "close")
        throw LocatedError(value.line, "\"panel\" is \"open\" or \"close\"");
    return [](SessionPlayer&) {
        if (!Panel::Current())
            throw StepFailure("the panel is closed");
        Panel::Close();
    };
}

// ---------------------------------------------------------------------------------------------
// {"page": ADDRESS or {"click": SELECTOR} or {"enter": {"selector": SELECTOR, "text": TEXT}} or {"press": KEY}}

/// Writes the event of a step that does `action` to `target`.
void WritePage(const char* action, const std::string& target, const std::optional<std::string>& text = {})
{
    journal::Write([&] { return journal::Page{.action = action, .target = target, .text = text}; });
}

void LoadPage(SessionPlayer&, const std::string& address)
{
    WritePage("load", address);
    if (!Panel::Current() || FAILED(Panel::Current()->LoadUrl(FromUtf8(address))))
        throw StepFailure("the panel does not show " + address);
}

void Click(SessionPlayer& player, const std::string& selector)
{
    WritePage("click", selector);
    player.User().Click(selector);
}

void Press(SessionPlayer& player, const std::string& pressed)
{
    WritePage("press", pressed);
    player.User().Press(pressed);
}

StepAction ReadTarget(const LocatedJson& value, const std::string& name, TextAction act)
{
    return [act, target = ReadName(value, name)](SessionPlayer& player) {
        act(player, player.ExpandPlaceholders(target));
    };
}

StepAction ReadEnter(const LocatedJson& value, const std::string& name)
{
    std::string selector;
    std::string text;
    ReadMembers(value, "\"" + name + "\"", {{"selector", Into(selector, ReadName)}, {"text", Into(text, ReadText)}});
    RequireMembers(value, "\"" + name + "\"", {"selector", "text"});
    return [selector, text](SessionPlayer& player) {
        const std::string field = player.ExpandPlaceholders(selector);
        const std::string entered = player.ExpandPlaceholders(text);
        WritePage("enter", field, entered);
        player.User().Enter(field, entered);
    };
}

StepAction ReadPage(const LocatedJson& value, const std::string& key)
{
    if (!value.value.is_object())
        return ReadTarget(value, key, LoadPage);

    StepAction action;
    const auto read = [&action](const LocatedJson& member, const std::string& name) {
        if (action)
            throw LocatedError(member.line, "\"page\" has one action");
        action = name == "enter" ? ReadEnter(member, name) : ReadTarget(member, name, name == "click" ? Click : Press);
    };
    ReadMembers(value, "\"page\"", {{"click", read}, {"press", read}, {"enter", read}});
    if (!action)
        throw LocatedError(value.line, "\"page\" must not be empty");
    return action;
}

// ---------------------------------------------------------------------------------------------

/// {"screenshot": PATH}
void SaveScreenshot(SessionPlayer& player, const std::string& path)
{
    player.User().SavePicture(player.PathOf(path));
}

} // namespace

StepKinds PageSteps()
{
    return {
        {.key = "message", .acts = true, .read = OneMember(ReadMessageStep)},
        {.key = "url", .acts = true, .read = OneText(ReadText, TellUrl)},
        {.key = "panel", .acts = true, .read = OneMember(ReadPanel)},
        {.key = "page", .acts = true, .read = OneMember(ReadPage)},
        {.key = "screenshot", .acts = false, .read = OneText(ReadName, SaveScreenshot)},
    };
}

} // namespace openhost
