#include "openhost/play/SessionSteps.h"

#include "openhost/cad/WorkspaceTree.h"
#include "openhost/commands/DialogEngine.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/frame/Frame.h"
#include "openhost/journal/Journal.h"
#include "openhost/panel/PageUser.h"
#include "openhost/panel/Panel.h"
#include "openhost/play/LocatedRead.h"
#include "openhost/play/SessionPlayer.h"
#include "openhost/text/Utf.h"

#include "host/frame.h"

#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <optional>

namespace openhost {

namespace {

constexpr double LongestWait = 86'400;
constexpr double UsualWait = 60;
constexpr std::int64_t LargestButton = 1'000;
constexpr double LongestCoordinate = 1e6; // 1 km in millimetres
constexpr double FullTurn = 360;

/// A way through the tree of the active document, released at its end.
class TreePath {
public:
    TreePath(SessionPlayer& player, const std::string& names) : path_(player.Cad().FindPath(names))
    {
        if (!path_)
            throw StepFailure("the active document has no \"" + names + "\"");
    }
    TreePath(const TreePath&) = delete;
    TreePath& operator=(const TreePath&) = delete;
    ~TreePath() { path_->Release(); }
    ZALPathElement* Get() const { return path_; }

private:
    ZALPathElement* path_;
};

/// A message: a map, or a text that stands for itself.
nlohmann::ordered_json ReadMessage(const LocatedJson& value, const std::string& name)
{
    if (!value.value.is_object() && !value.value.is_string())
        throw LocatedError(value.line, "\"" + name + "\" must be a map or a text, not " + value.KindName());
    return value.ToJson();
}

std::string TextOf(const nlohmann::ordered_json& message)
{
    return message.is_string() ? message.get<std::string>() : message.dump();
}

/// {"message": MAP or TEXT}
class MessageStep : public SessionStep {
public:
    static constexpr const char* Name = "message";

    explicit MessageStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step",
                    {{Name, [this](const LocatedJson& value) { message_ = ReadMessage(value, Name); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        player.Page().ReportMessage(TextOf(player.ExpandPlaceholders(message_)));
    }

private:
    nlohmann::ordered_json message_;
};

/// {"url": TEXT}
class UrlStep : public SessionStep {
public:
    static constexpr const char* Name = "url";

    explicit UrlStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { url_ = ReadText(value, Name); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override { player.Page().ReportUrl(player.ExpandPlaceholders(url_)); }

private:
    std::string url_;
};

/// {"answer": {"dialog": NAME, "button": N}}
class AnswerStep : public SessionStep {
public:
    static constexpr const char* Name = "answer";

    explicit AnswerStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { ReadAnswer(value); }}});
    }

    bool Acts() const override { return false; }

    void Run(SessionPlayer& player) const override
    {
        player.Surface().Answer(player.ExpandPlaceholders(dialog_), button_);
    }

private:
    void ReadAnswer(const LocatedJson& value)
    {
        ReadMembers(value, "\"answer\"",
                    {{"dialog", [this](const LocatedJson& member) { dialog_ = ReadName(member, "dialog"); }},
                     {"button", [this](const LocatedJson& member) {
                          button_ = static_cast<int>(ReadInteger(member, "button", 0, LargestButton));
                      }}});
        RequireMember(value, "\"answer\"", "dialog");
        RequireMember(value, "\"answer\"", "button");
    }

    std::string dialog_;
    int button_ = 0;
};

/// {"listener": {"replies": [{"to": METHOD, "send": MESSAGE or LIST, "later": true or false}, ...]} or null}
class ListenerStep : public SessionStep {
public:
    static constexpr const char* Name = "listener";

    explicit ListenerStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) {
                                            if (value.value.is_null())
                                                return;
                                            ReadMembers(value, "\"listener\"",
                                                        {{"replies", [this](const LocatedJson& replies) {
                                                              listens_ = true;
                                                              ReadReplies(replies);
                                                          }}});
                                            RequireMember(value, "\"listener\"", "replies");
                                        }}});
    }

    bool Acts() const override { return false; }

    void Run(SessionPlayer& player) const override
    {
        if (!listens_) {
            player.RemoveListener();
            return;
        }
        std::vector<BridgeListener::Reply> replies;
        for (const Reply& reply : replies_) {
            BridgeListener::Reply& expanded = replies.emplace_back();
            expanded.to = player.ExpandPlaceholders(reply.to);
            for (const nlohmann::ordered_json& message : reply.messages)
                expanded.messages.push_back(TextOf(player.ExpandPlaceholders(message)));
            expanded.later = reply.later;
        }
        player.SetListener(std::move(replies));
    }

private:
    struct Reply {
        std::string to;
        std::vector<nlohmann::ordered_json> messages;
        bool later = false;
    };

    void ReadReplies(const LocatedJson& value)
    {
        if (!value.value.is_array())
            throw LocatedError(value.line, std::string("\"replies\" must be a list, not ") + value.KindName());
        for (const LocatedJson& item : value.items) {
            Reply& reply = replies_.emplace_back();
            ReadMembers(item, "a reply",
                        {{"to", [&](const LocatedJson& member) { reply.to = ReadName(member, "to"); }},
                         {"send",
                          [&](const LocatedJson& member) {
                              if (!member.value.is_array())
                                  reply.messages.push_back(ReadMessage(member, "send"));
                              for (const LocatedJson& message : member.items)
                                  reply.messages.push_back(ReadMessage(message, "send"));
                          }},
                         {"later", [&](const LocatedJson& member) { reply.later = ReadBoolean(member, "later"); }}});
            RequireMember(item, "a reply", "to");
            RequireMember(item, "a reply", "send");
        }
    }

    bool listens_ = false;
    std::vector<Reply> replies_;
};

/// {"push": {"dialog": NAME, "control": NAME, "text": TEXT or "state": STATE}}
class PushStep : public SessionStep {
public:
    static constexpr const char* Name = "push";

    explicit PushStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { ReadPush(value); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        const std::string dialog = player.ExpandPlaceholders(dialog_);
        const std::string control = player.ExpandPlaceholders(control_);
        nlohmann::ordered_json event = {{"dialog", dialog}, {"control", control}};
        PushResult result = PushResult::Done;
        if (text_) {
            const std::string text = player.ExpandPlaceholders(*text_);
            event["text"] = text;
            journal::Write("push", event);
            result = player.Surface().EnterText(dialog, control, FromUtf8(text));
        } else if (state_) {
            event["state"] = *state_ == ZALDlgChecked;
            journal::Write("push", event);
            result = player.Surface().SetState(dialog, control, *state_);
        } else {
            journal::Write("push", event);
            result = player.Surface().Push(dialog, control);
        }
        if (result != PushResult::Done)
            throw StepFailure("\"" + control + "\" of \"" + dialog + "\" cannot be pushed: " + ToText(result));
    }

private:
    static int ReadState(const LocatedJson& value)
    {
        if (value.value.is_boolean())
            return value.value.get<bool>() ? ZALDlgChecked : ZALDlgUnchecked;
        for (const int state : {ZALDlgChecked, ZALDlgUnchecked})
            if (value.value == state)
                return state;
        throw LocatedError(value.line, "\"state\" must be true or 262144, or false or 524288");
    }

    void ReadPush(const LocatedJson& value)
    {
        ReadMembers(value, "\"push\"",
                    {{"dialog", [this](const LocatedJson& member) { dialog_ = ReadName(member, "dialog"); }},
                     {"control", [this](const LocatedJson& member) { control_ = ReadName(member, "control"); }},
                     {"text", [this](const LocatedJson& member) { text_ = ReadText(member, "text"); }},
                     {"state", [this](const LocatedJson& member) { state_ = ReadState(member); }}});
        RequireMember(value, "\"push\"", "dialog");
        RequireMember(value, "\"push\"", "control");
        if (text_ && state_)
            throw LocatedError(value.line, "\"push\" has either \"text\" or \"state\"");
    }

    std::string dialog_;
    std::string control_;
    std::optional<std::string> text_;
    std::optional<int> state_;
};

/// {"options": OPERATION}
class OptionsStep : public SessionStep {
public:
    static constexpr const char* Name = "options";

    explicit OptionsStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step",
                    {{Name, [this](const LocatedJson& value) {
                          operation_ = ReadName(value, Name);
                          if (operation_ != "open" && !Operations.contains(operation_))
                              throw LocatedError(value.line, "unknown operation \"" + operation_ + "\" of \"options\"");
                      }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        journal::Write("options", {{"operation", operation_}});
        if (operation_ == "open") {
            journal::WriteResult("CreateFrame", player.Options().Open() ? S_OK : E_FAIL);
            return;
        }
        const auto& [name, operation] = Operations.at(operation_);
        journal::WriteResult(name, (player.Options().Addin().*operation)());
    }

private:
    struct Operation {
        const char* name; ///< as results call it
        HRESULT (ZALIMeridiaAccessSettingsUIAddin::*run)();
    };
    inline static const std::map<std::string, Operation> Operations = {
        {"refresh", {"Refresh", &ZALIMeridiaAccessSettingsUIAddin::Refresh}},
        {"save", {"Save", &ZALIMeridiaAccessSettingsUIAddin::Save}},
        {"reset", {"Reset", &ZALIMeridiaAccessSettingsUIAddin::Reset}},
        {"restore", {"Restore", &ZALIMeridiaAccessSettingsUIAddin::Restore}},
    };

    std::string operation_;
};

/// {"select": "Root/Child.2"}
class SelectStep : public SessionStep {
public:
    static constexpr const char* Name = "select";

    explicit SelectStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { names_ = ReadName(value, Name); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        // A command that has just been started enters its first state from the loop.
        player.RunPosted();
        const std::string names = player.ExpandPlaceholders(names_);
        const TreePath path(player, names);
        const Pick pick = DialogEngine::Current().Offer(path.Get(), names);
        if (pick.command.empty())
            throw StepFailure("no command waits for an element");
    }

private:
    std::string names_;
};

/// {"move": "Root/Child.2", "at": [X, Y, Z], "axis": [X, Y, Z], "angle": DEGREES}
class MoveStep : public SessionStep {
public:
    static constexpr const char* Name = "move";

    explicit MoveStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step",
                    {{Name, [this](const LocatedJson& value) { names_ = ReadName(value, Name); }},
                     {"at", [this](const LocatedJson& value) { at_ = ReadVector(value, "at"); }},
                     {"axis", [this](const LocatedJson& value) { axis_ = ReadAxis(value); }},
                     {"angle", [this](const LocatedJson& value) {
                          angle_ = ReadNumber(value, "angle", -FullTurn, FullTurn) * std::numbers::pi / 180;
                      }}});
        RequireMember(step, "the step", "at");
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        const std::string names = player.ExpandPlaceholders(names_);
        const TreePath path(player, names);
        path.Get()->InitToLeafElement();
        auto* component = dynamic_cast<WorkspaceProduct*>(path.Get()->GetNextFatherObject());
        if (!component || component->IsRoot())
            throw StepFailure("\"" + names + "\" is no component");
        player.Cad().MoveComponent(*component, ToPlacement());
    }

private:
    static Vector ReadVector(const LocatedJson& value, const std::string& name)
    {
        if (!value.value.is_array() || value.items.size() != 3)
            throw LocatedError(value.line, "\"" + name + "\" must be a list of three numbers");
        Vector vector{};
        for (std::size_t i = 0; i < vector.size(); ++i)
            vector[i] = ReadNumber(value.items[i], name, -LongestCoordinate, LongestCoordinate);
        return vector;
    }

    /// As a unit vector.
    static Vector ReadAxis(const LocatedJson& value)
    {
        Vector axis = ReadVector(value, "axis");
        const double length = std::hypot(axis[0], axis[1], axis[2]);
        if (length < 1e-6)
            throw LocatedError(value.line, "\"axis\" must have a direction");
        for (double& coordinate : axis)
            coordinate /= length;
        return axis;
    }

    /// The turn about the axis by Rodrigues' formula, then the shift.
    Placement ToPlacement() const
    {
        const double sine = std::sin(angle_);
        const double cosine = std::cos(angle_);
        const auto& [x, y, z] = axis_;
        const std::array<Vector, 3> cross{{{0, -z, y}, {z, 0, -x}, {-y, x, 0}}};
        Placement placement{};
        for (std::size_t row = 0; row < 3; ++row) {
            for (std::size_t column = 0; column < 3; ++column)
                placement[4 * row + column] = (row == column ? cosine : 0) + sine * cross[row][column] +
                                              (1 - cosine) * axis_[row] * axis_[column];
            placement[4 * row + 3] = at_[row];
        }
        return placement;
    }

    std::string names_;
    Vector at_{};
    Vector axis_{0, 0, 1};
    double angle_ = 0; ///< in radians
};

/// {"highlight": "Root/Child.2"}
class HighlightStep : public SessionStep {
public:
    static constexpr const char* Name = "highlight";

    explicit HighlightStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { names_ = ReadName(value, Name); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        const std::string names = player.ExpandPlaceholders(names_);
        const TreePath path(player, names);
        ZALCSO& objects = *ZALFrmEditor::GetCurrentEditor()->GetCSO();
        objects.Empty();
        objects.AddElement(path.Get());
        journal::Write("highlight", {{"element", names}});
    }

private:
    std::string names_;
};

/// {"command": NAME}
class CommandStep : public SessionStep {
public:
    static constexpr const char* Name = "command";

    explicit CommandStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { name_ = ReadName(value, Name); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        const std::string name = player.ExpandPlaceholders(name_);
        switch (StartCommand(name)) {
        case StartResult::Started:
            return;
        case StartResult::Unknown:
            throw StepFailure("there is no command \"" + name + "\"");
        case StartResult::Greyed:
            throw StepFailure("the command \"" + name + "\" is not available");
        }
    }

private:
    std::string name_;
};

/// {"panel": "open" or "close"}
class PanelStep : public SessionStep {
public:
    static constexpr const char* Name = "panel";

    explicit PanelStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) {
                                            action_ = ReadName(value, Name);
                                            if (action_ != "open" && action_ != "close")
                                                throw LocatedError(value.line, "\"panel\" is \"open\" or \"close\"");
                                        }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer&) const override
    {
        if (action_ == "open")
            Panel::Open();
        else if (Panel::Current())
            Panel::Close();
        else
            throw StepFailure("the panel is closed");
    }

private:
    std::string action_;
};

/// {"page": ADDRESS or {"click": SELECTOR} or {"enter": {"selector": SELECTOR, "text": TEXT}} or {"press": KEY}}
class PageStep : public SessionStep {
public:
    static constexpr const char* Name = "page";

    explicit PageStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { ReadPage(value); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        const std::string target = player.ExpandPlaceholders(target_);
        const std::string text = player.ExpandPlaceholders(text_);
        nlohmann::ordered_json event = {{"action", action_}, {"target", target}};
        if (action_ == "enter")
            event["text"] = text;
        journal::Write("page", event);
        if (action_ == "load") {
            if (!Panel::Current() || FAILED(Panel::Current()->LoadUrl(FromUtf8(target))))
                throw StepFailure("the panel does not show " + target);
        } else if (action_ == "click") {
            player.User().Click(target);
        } else if (action_ == "press") {
            player.User().Press(target);
        } else {
            player.User().Enter(target, text);
        }
    }

private:
    void ReadPage(const LocatedJson& value)
    {
        if (!value.value.is_object()) {
            action_ = "load";
            target_ = ReadName(value, Name);
            return;
        }
        const auto take = [this](const LocatedJson& member, const char* action) {
            if (!action_.empty())
                throw LocatedError(member.line, "\"page\" has one action");
            action_ = action;
        };
        ReadMembers(value, "\"page\"",
                    {{"click",
                      [&](const LocatedJson& member) {
                          take(member, "click");
                          target_ = ReadName(member, "click");
                      }},
                     {"press",
                      [&](const LocatedJson& member) {
                          take(member, "press");
                          target_ = ReadName(member, "press");
                      }},
                     {"enter", [&](const LocatedJson& member) {
                          take(member, "enter");
                          ReadMembers(
                              member, "\"enter\"",
                              {{"selector", [this](const LocatedJson& part) { target_ = ReadName(part, "selector"); }},
                               {"text", [this](const LocatedJson& part) { text_ = ReadText(part, "text"); }}});
                          RequireMember(member, "\"enter\"", "selector");
                          RequireMember(member, "\"enter\"", "text");
                      }}});
        if (action_.empty())
            throw LocatedError(value.line, "\"page\" must not be empty");
    }

    std::string action_;
    std::string target_; ///< an address, a selector, or a key
    std::string text_;
};

/// {"screenshot": PATH}
class ScreenshotStep : public SessionStep {
public:
    static constexpr const char* Name = "screenshot";

    explicit ScreenshotStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { path_ = ReadName(value, Name); }}});
    }

    bool Acts() const override { return false; }

    void Run(SessionPlayer& player) const override { player.User().SavePicture(player.PathOf(path_)); }

private:
    std::string path_;
};

/// {"workshop": NAME}
class WorkshopStep : public SessionStep {
public:
    static constexpr const char* Name = "workshop";

    explicit WorkshopStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step", {{Name, [this](const LocatedJson& value) { name_ = ReadText(value, Name); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override { ChangeWorkshop(player.ExpandPlaceholders(name_)); }

private:
    std::string name_;
};

/// {"close": DOCUMENT, "discard": true or false}
class CloseStep : public SessionStep {
public:
    static constexpr const char* Name = "close";

    explicit CloseStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step",
                    {{Name, [this](const LocatedJson& value) { document_ = ReadName(value, Name); }},
                     {"discard", [this](const LocatedJson& value) { discard_ = ReadBoolean(value, "discard"); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        LoadedDocument& document = player.Document(document_);
        if (document.IsDirty() && !discard_)
            throw StepFailure(document.Path().string() + ": the document has changes that are not saved");
        player.Cad().Close(document);
    }

private:
    std::string document_;
    bool discard_ = false;
};

/// {"save": DOCUMENT, "as": PATH}
class SaveStep : public SessionStep {
public:
    static constexpr const char* Name = "save";

    explicit SaveStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step",
                    {{Name, [this](const LocatedJson& value) { document_ = ReadName(value, Name); }},
                     {"as", [this](const LocatedJson& value) { as_ = ReadName(value, "as"); }}});
    }

    bool Acts() const override { return true; }

    void Run(SessionPlayer& player) const override
    {
        LoadedDocument& document = player.Document(document_);
        if (as_)
            player.Cad().SaveAs(document, player.PathOf(*as_));
        else
            player.Cad().Save(document);
    }

private:
    std::string document_;
    std::optional<std::string> as_;
};

/// {"tree": DOCUMENT}
class TreeStep : public SessionStep {
public:
    static constexpr const char* Name = "tree";

    explicit TreeStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step",
                    {{Name, [this](const LocatedJson& value) { document_ = ReadName(value, Name); }}});
    }

    bool Acts() const override { return false; }

    void Run(SessionPlayer& player) const override
    {
        const LoadedDocument& document = player.Document(document_);
        journal::Write("tree", {{"path", document.Path().string()}, {"root", DescribeTree(document)}});
    }

private:
    std::string document_;
};

/// {"wait": "idle" or EVENT or {"page": SELECTOR}, "seconds": N}
class WaitStep : public SessionStep {
public:
    static constexpr const char* Name = "wait";

    explicit WaitStep(const LocatedJson& step) : SessionStep(Name)
    {
        ReadMembers(step, "the step",
                    {{Name, [this](const LocatedJson& value) { ReadCondition(value); }},
                     {"seconds",
                      [this](const LocatedJson& value) { seconds_ = ReadNumber(value, "seconds", 0, LongestWait); }}});
    }

    bool Acts() const override { return false; }

    void Run(SessionPlayer& player) const override
    {
        const std::chrono::milliseconds limit(static_cast<std::int64_t>(std::ceil(seconds_ * 1000)));
        if (selector_)
            player.WaitForElement(player.ExpandPlaceholders(*selector_), limit);
        else
            player.Wait(player.ExpandPlaceholders(event_), limit);
    }

private:
    void ReadCondition(const LocatedJson& value)
    {
        if (!value.value.is_object()) {
            event_ = ReadName(value, Name);
            return;
        }
        ReadMembers(value, "\"wait\"",
                    {{"page", [this](const LocatedJson& member) { selector_ = ReadName(member, "page"); }}});
        RequireMember(value, "\"wait\"", "page");
    }

    std::optional<std::string> selector_;
    std::string event_;
    double seconds_ = UsualWait;
};

template <class Step>
std::unique_ptr<SessionStep> Make(const LocatedJson& description)
{
    return std::make_unique<Step>(description);
}

using StepMaker = std::unique_ptr<SessionStep> (*)(const LocatedJson&);

const std::map<std::string, StepMaker> StepMakers = {
    {MessageStep::Name, Make<MessageStep>},
    {UrlStep::Name, Make<UrlStep>},
    {AnswerStep::Name, Make<AnswerStep>},
    {PushStep::Name, Make<PushStep>},
    {OptionsStep::Name, Make<OptionsStep>},
    {SelectStep::Name, Make<SelectStep>},
    {WorkshopStep::Name, Make<WorkshopStep>},
    {CloseStep::Name, Make<CloseStep>},
    {SaveStep::Name, Make<SaveStep>},
    {TreeStep::Name, Make<TreeStep>},
    {WaitStep::Name, Make<WaitStep>},
    {MoveStep::Name, Make<MoveStep>},
    {HighlightStep::Name, Make<HighlightStep>},
    {CommandStep::Name, Make<CommandStep>},
    {PanelStep::Name, Make<PanelStep>},
    {PageStep::Name, Make<PageStep>},
    {ScreenshotStep::Name, Make<ScreenshotStep>},
    {ListenerStep::Name, Make<ListenerStep>},
};

} // namespace

std::unique_ptr<SessionStep> ReadStep(const LocatedJson& description)
{
    if (!description.value.is_object())
        throw LocatedError(description.line, std::string("a step must be a map, not ") + description.KindName());

    const std::string* found = nullptr;
    for (const auto& [key, member] : description.members) {
        if (!StepMakers.contains(key))
            continue;
        if (found)
            throw LocatedError(member.line, "a step has one key: \"" + *found + "\" or \"" + key + "\"");
        found = &key;
    }
    if (found)
        return StepMakers.at(*found)(description);
    if (description.members.empty())
        throw LocatedError(description.line, "a step must not be empty");
    const auto& [key, member] = description.members.front();
    throw LocatedError(member.line, "unknown step \"" + key + "\"");
}

} // namespace openhost
