#include "openhost/play/SessionRecorder.h"

#include "openhost/settings/SettingsStore.h"

#include <algorithm>
#include <set>

namespace openhost {

namespace {

using Json = nlohmann::ordered_json;

/// A shorter value stands for itself more often than for the placeholder.
constexpr std::size_t ShortestValue = 4;

const Json& Wait(const char* event)
{
    static const Json idle = {{"wait", "idle"}};
    static const Json window = {{"wait", "window"}};
    return event == std::string_view("idle") ? idle : window;
}

bool IsWait(const Json& step)
{
    return step.contains("wait");
}

bool Acts(const Json& step)
{
    return !IsWait(step) && !step.contains("answer");
}

bool NeedsRealPage(const Json& step)
{
    return step.contains("page") || step.contains("screenshot") || (IsWait(step) && step["wait"].is_object());
}

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

/// A message as a map where it is one, which reads better.
Json AsMessage(const std::string& text)
{
    Json message = Json::parse(text, nullptr, false);
    return message.is_object() && message.dump() == text ? message : Json(text);
}

} // namespace

SessionRecorder::SessionRecorder(const Session& session, std::function<bool()> isBusy)
    : session_(session), isBusy_(std::move(isBusy)), header_(session.header)
{
    if (const auto documents = header_.find("documents"); documents != header_.end())
        for (Json& document : *documents)
            if (const auto path = document.get<std::string>(); !path.starts_with('/') && !path.starts_with("${"))
                document = (session_.folder / path).lexically_normal().string();
}

void SessionRecorder::SetSettings(const SessionSettings& settings)
{
    if (header_.erase("settingsFile") == 0 && header_.contains("settings"))
        return;
    Json& written = header_["settings"];
    written = {{SettingsStore::DownloadLocation, WithPlaceholders(settings.downloadLocation)},
               {SettingsStore::DoNotRemindDownloadLocation, settings.doNotRemindDownloadLocation}};
    for (const auto& [name, lock] : settings.locks)
        written["locks"][name] = std::string(1, lock);
}

void SessionRecorder::AddStep(const SessionStep& step)
{
    if (!NeedsRealPage(step.source))
        steps_.push_back(step.source);
}

void SessionRecorder::AddUserStep(const Json& step)
{
    Json added = WithPlaceholders(step);
    if (const auto message = step.find("message"); message != step.end())
        added["message"] = WithPlaceholders(AsMessage(*message));
    if (step.contains("answer")) {
        const auto last = std::find_if(steps_.rbegin(), steps_.rend(), Acts);
        steps_.insert(last == steps_.rend() ? steps_.begin() : std::prev(last.base()), added);
        return;
    }
    if (Merge(added))
        return;
    AddWait(added);
    steps_.push_back(std::move(added));
}

/// Whether `step` takes the place of the one before, of which nothing is left.
bool SessionRecorder::Merge(const Json& step)
{
    if (steps_.empty())
        return false;
    Json& last = steps_.back();
    const bool areHighlights = step.contains("highlight") && last.contains("highlight");
    const auto typedInto = [](const Json& one) {
        return one.contains("push") && one["push"].contains("text")
                   ? one["push"]["dialog"].dump() + one["push"]["control"].dump()
                   : std::string();
    };
    if (!areHighlights && (typedInto(step).empty() || typedInto(step) != typedInto(last)))
        return false;
    last = step;
    return true;
}

void SessionRecorder::AddWait(const Json& step)
{
    if (steps_.empty() || IsWait(steps_.back()))
        return;
    if (!isBusy_())
        steps_.push_back(Wait("idle"));
    else if (step.contains("push"))
        // To wait for the end would be to miss it: a window that shows how far a transfer is has come by now.
        steps_.push_back(Wait("window"));
}

Json SessionRecorder::WithPlaceholders(const Json& value) const
{
    if (value.is_structured()) {
        Json copy = value;
        for (Json& member : copy)
            member = WithPlaceholders(member);
        return copy;
    }
    if (!value.is_string())
        return value;
    std::string text = ReplaceAll(value.get<std::string>(), "${", "$${");
    // The longest first: one may hold another.
    const auto longer = [](const auto& one, const auto& other) {
        return std::pair(other.first.size(), other) < std::pair(one.first.size(), one);
    };
    std::set<std::pair<std::string, std::string>, decltype(longer)> values(longer);
    for (const auto& [name, given] : session_.given)
        if (given.size() >= ShortestValue)
            values.emplace(given, name);
    for (const auto& [given, name] : values)
        text = ReplaceAll(std::move(text), given, std::string("${").append(name).append("}"));
    return text;
}

std::string SessionRecorder::Text() const
{
    std::vector<Json> steps = steps_;
    if (!steps.empty() && !IsWait(steps.back()) && !isBusy_())
        steps.push_back(Wait("idle"));

    // A step a line, which is how people read and change a session.
    std::string text = "{\n";
    for (const auto& [name, value] : header_.items())
        text += "  " + Json(name).dump() + ": " + value.dump() + ",\n";
    text += "  \"steps\": [";
    const char* separator = "\n    ";
    for (const Json& step : steps) {
        text += separator + step.dump();
        separator = ",\n    ";
    }
    return text + (steps.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

} // namespace openhost
