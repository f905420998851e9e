// The steps on the host itself: its commands, the bridge between its components, and time.

#include "openhost/commands/DialogEngine.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/frame/Frame.h"
#include "openhost/play/KnownNames.h"
#include "openhost/play/SessionPlayer.h"
#include "openhost/play/SessionSteps.h"

#include <algorithm>
#include <cmath>

namespace openhost {

namespace {

constexpr double MaximumWait = 86'400; // seconds, like the next one
constexpr double UsualWait = 60;

/// {"command": NAME}
void Start(SessionPlayer& player, const std::string& text)
{
    const std::string name = player.ExpandPlaceholders(text);
    switch (StartCommand(name)) {
    case StartResult::Started:
        return;
    case StartResult::Unknown:
        throw StepFailure("there is no command \"" + name + "\"");
    case StartResult::Greyed:
        throw StepFailure("the command \"" + name + "\" is not available");
    }
}

/// {"cancel": NAME}
void Cancel(SessionPlayer& player, const std::string& text)
{
    // A command that has just been started enters its first state from the loop.
    player.RunPosted();
    const std::string name = player.ExpandPlaceholders(text);
    const std::vector<RunningCommand> commands = DialogEngine::Current().Commands();
    const auto newest = std::find_if(commands.rbegin(), commands.rend(),
                                     [&](const RunningCommand& command) { return command.name == name; });
    if (newest == commands.rend())
        throw StepFailure("no command \"" + name + "\" is running");
    DialogEngine::Current().EndCommand(newest->command);
}

/// {"workshop": NAME}
void SwitchWorkshop(SessionPlayer& player, const std::string& name)
{
    ChangeWorkshop(player.ExpandPlaceholders(name));
}

// ---------------------------------------------------------------------------------------------
// {"listener": {"replies": [{"to": METHOD, "send": MESSAGE or LIST, "later": true or false}, ...]} or null}

/// As BridgeListener::Reply, with placeholders in its texts.
struct Reply {
    std::string to;
    std::vector<nlohmann::ordered_json> messages;
    bool later = false;
};

/// A message, or a list of them.
std::vector<nlohmann::ordered_json> ReadMessages(const LocatedJson& value, const std::string& name)
{
    if (!value.value.is_array())
        return {ReadMessage(value, name)};
    std::vector<nlohmann::ordered_json> messages;
    for (const LocatedJson& message : value.items)
        messages.push_back(ReadMessage(message, name));
    return messages;
}

std::vector<Reply> ReadReplies(const LocatedJson& value, const std::string& name)
{
    std::vector<Reply> replies;
    for (const LocatedJson& item : ReadList(value, name)) {
        Reply& reply = replies.emplace_back();
        ReadMembers(item, "a reply",
                    {{"to", Into(reply.to, ReadName)},
                     {"send", Into(reply.messages, ReadMessages)},
                     {"later", Into(reply.later, ReadBoolean)}});
        RequireMembers(item, "a reply", {"to", "send"});
    }
    return replies;
}

BridgeListener::Reply Expanded(const Reply& reply, const SessionPlayer& player)
{
    BridgeListener::Reply expanded{.to = player.ExpandPlaceholders(reply.to), .messages = {}, .later = reply.later};
    for (const nlohmann::ordered_json& message : reply.messages)
        expanded.messages.push_back(TextOfMessage(player.ExpandPlaceholders(message)));
    return expanded;
}

StepAction ReadListener(const LocatedJson& value, const std::string&)
{
    if (value.value.is_null())
        return [](SessionPlayer& player) { player.RemoveListener(); };

    std::vector<Reply> replies;
    ReadMembers(value, "\"listener\"", {{"replies", Into(replies, ReadReplies)}});
    RequireMembers(value, "\"listener\"", {"replies"});
    return [replies](SessionPlayer& player) {
        std::vector<BridgeListener::Reply> expanded;
        expanded.reserve(replies.size());
        for (const Reply& reply : replies)
            expanded.push_back(Expanded(reply, player));
        player.SetListener(std::move(expanded));
    };
}

// ---------------------------------------------------------------------------------------------
// {"wait": "idle" or EVENT or {"page": SELECTOR}, "seconds": N}

struct Wait {
    std::string event;
    std::string selector; ///< of an element of the page; empty when an event is waited for
    double seconds = UsualWait;
};

double ReadSeconds(const LocatedJson& value, const std::string& name)
{
    return ReadNumber(value, name, 0, MaximumWait);
}

StepAction ReadWait(const LocatedJson& step, const std::string& key)
{
    Wait wait;
    const auto readCondition = [&wait](const LocatedJson& value, const std::string& name) {
        if (!value.value.is_object()) {
            wait.event = ReadName(value, name);
            CheckWait(value, wait.event);
            return;
        }
        ReadMembers(value, "\"wait\"", {{"page", Into(wait.selector, ReadName)}});
        RequireMembers(value, "\"wait\"", {"page"});
    };
    ReadMembers(step, "the step", {{key, readCondition}, {"seconds", Into(wait.seconds, ReadSeconds)}});

    return [wait](SessionPlayer& player) {
        const std::chrono::milliseconds limit(static_cast<std::int64_t>(std::ceil(wait.seconds * 1000)));
        if (wait.selector.empty())
            player.Wait(player.ExpandPlaceholders(wait.event), limit);
        else
            player.WaitForElement(player.ExpandPlaceholders(wait.selector), limit);
    };
}

} // namespace

StepKinds HostSteps()
{
    return {
        {.key = "command", .acts = true, .read = OneText(ReadName, Start)},
        {.key = "cancel", .acts = true, .read = OneText(ReadName, Cancel)},
        {.key = "workshop", .acts = true, .read = OneText(ReadText, SwitchWorkshop)},
        {.key = "listener", .acts = false, .read = OneMember(ReadListener)},
        {.key = "wait", .acts = false, .read = ReadWait},
    };
}

} // namespace openhost
