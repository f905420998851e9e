#include "openhost/play/SessionSteps.h"

#include <algorithm>

namespace openhost {

namespace {

const StepKinds& AllSteps()
{
    static const StepKinds kinds = [] {
        StepKinds all;
        for (const StepKinds& theme : {PageSteps(), DialogSteps(), DocumentSteps(), HostSteps()})
            all.insert(all.end(), theme.begin(), theme.end());
        return all;
    }();
    return kinds;
}

} // namespace

SessionStep ReadStep(const LocatedJson& description)
{
    if (!description.value.is_object())
        throw LocatedError(description.line, std::string("a step must be a map, not ") + description.KindName());

    const StepKind* found = nullptr;
    for (const auto& [key, member] : description.members) {
        const auto kind = std::ranges::find(AllSteps(), key, &StepKind::key);
        if (kind == AllSteps().end())
            continue;
        if (found)
            throw LocatedError(member.line, "a step has one key: \"" + found->key + "\" or \"" + key + "\"");
        found = &*kind;
    }
    if (found)
        return {found->key, found->acts, found->read(description, found->key), description.ToJson()};
    if (description.members.empty())
        throw LocatedError(description.line, "a step must not be empty");
    const auto& [key, member] = description.members.front();
    throw LocatedError(member.line, "unknown step \"" + key + "\"");
}

// ---------------------------------------------------------------------------------------------
// What kinds of steps have in common

StepReader OneMember(StepAction (*read)(const LocatedJson&, const std::string&))
{
    return [read](const LocatedJson& step, const std::string& key) {
        StepAction action;
        ReadMembers(step, "the step", {{key, Into(action, read)}});
        return action;
    };
}

StepReader OneText(TextReader read, TextAction act)
{
    return [read, act](const LocatedJson& step, const std::string& key) {
        std::string text;
        ReadMembers(step, "the step", {{key, Into(text, read)}});
        return [act, text](SessionPlayer& player) { act(player, text); };
    };
}

nlohmann::ordered_json ReadMessage(const LocatedJson& value, const std::string& name)
{
    if (!value.value.is_object() && !value.value.is_string())
        throw LocatedError(value.line, "\"" + name + "\" must be a map or a text, not " + value.KindName());
    return value.ToJson();
}

std::string TextOfMessage(const nlohmann::ordered_json& message)
{
    return message.is_string() ? message.get<std::string>() : message.dump();
}

} // namespace openhost
