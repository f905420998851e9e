// The events of the journal. docs/reference.md tells what each of them means.
#pragma once

#include "openhost/journal/Journal.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace openhost::journal {

/// What is sent for an event: its name, then its members in their order, without those that it does not have.
class Line {
public:
    explicit Line(const char* event) { json_["event"] = event; }

    template <class Value>
    Line&& With(const char* name, const Value& value) &&
    {
        json_[name] = value;
        return std::move(*this);
    }
    template <class Value>
    Line&& With(const char* name, const std::optional<Value>& value) &&
    {
        return value ? std::move(*this).With(name, *value) : std::move(*this);
    }

    const nlohmann::ordered_json& Json() const { return json_; }

private:
    nlohmann::ordered_json json_;
};

/// The events that a journal has before its end.
inline constexpr std::array<std::string_view, 29> EventNames = {
    "bridge",  "command",  "dialog",       "document", "error",  "extracted", "highlight", "load",
    "message", "moved",    "notification", "options",  "page",   "panel",     "progress",  "prompt",
    "push",    "refused",  "request",      "result",   "script", "selection", "settings",  "step",
    "trace",   "transfer", "tree",         "url",      "window"};

using Headers = std::vector<std::pair<std::string, std::string>>;

/// "S_OK", or eight hexadecimal digits.
std::string CodeText(std::int32_t code);
/// `headers` as one object, in which those of one name are one.
nlohmann::ordered_json Joined(const Headers& headers);

// ---------------------------------------------------------------------------------------------
// The session

struct Step {
    std::size_t number; ///< from 1
    std::string key;

    Line ToLine() const { return Line("step").With("number", number).With("key", key); }
};

/// Nothing for an empty list.
inline std::optional<std::vector<std::string>> GivenOnly(const std::vector<std::string>& list)
{
    return list.empty() ? std::nullopt : std::optional(list);
}

struct End {
    int status;
    std::optional<std::size_t> step{};
    std::optional<std::string> reason{};
    std::optional<std::size_t> unusedAnswers{};
    std::optional<std::size_t> unusedReplies{};
    std::vector<std::string> unsavedDocuments{};
    std::vector<std::string> closedQuestions{}; ///< that nobody has answered
    std::vector<std::string> openWindows{};

    /// What is left undone, in words; empty for nothing.
    std::string Undone() const;

    Line ToLine() const
    {
        return Line("end")
            .With("status", status)
            .With("step", step)
            .With("reason", reason)
            .With("unusedAnswers", unusedAnswers)
            .With("unusedReplies", unusedReplies)
            .With("unsavedDocuments", GivenOnly(unsavedDocuments))
            .With("closedQuestions", GivenOnly(closedQuestions))
            .With("openWindows", GivenOnly(openWindows));
    }
};

/// An operation of the module has returned.
struct Result {
    std::string operation;
    std::int32_t code; ///< an HRESULT

    Line ToLine() const { return Line("result").With("operation", operation).With("code", CodeText(code)); }
};

struct Notification {
    std::string className;
    std::string publisher;

    Line ToLine() const { return Line("notification").With("class", className).With("publisher", publisher); }
};

struct Bridge {
    std::string direction;
    std::string text;

    Line ToLine() const { return Line("bridge").With("direction", direction).With("text", text); }
};

struct Trace {
    std::string name;
    std::string text;

    Line ToLine() const { return Line("trace").With("name", name).With("text", text); }
};

struct Error {
    std::string text;

    Line ToLine() const { return Line("error").With("text", text); }
};

struct Settings {
    std::string action;
    std::optional<std::string> error{};

    Line ToLine() const { return Line("settings").With("action", action).With("error", error); }
};

// ---------------------------------------------------------------------------------------------
// The panel and its page

struct Panel {
    std::string action;

    Line ToLine() const { return Line("panel").With("action", action); }
};

struct Message {
    std::string text;

    Line ToLine() const { return Line("message").With("text", text); }
};

struct Url {
    std::string url;

    Line ToLine() const { return Line("url").With("url", url); }
};

struct Script {
    std::string text;

    Line ToLine() const { return Line("script").With("text", text); }
};

struct Load {
    std::string url;

    Line ToLine() const { return Line("load").With("url", url); }
};

/// What the user does to the page.
struct Page {
    std::string action;
    std::string target;
    std::optional<std::string> text{};

    Line ToLine() const { return Line("page").With("action", action).With("target", target).With("text", text); }
};

// ---------------------------------------------------------------------------------------------
// Dialogs

struct Window {
    std::string name;
    unsigned int style;
    std::string action;

    Line ToLine() const { return Line("window").With("name", name).With("style", style).With("action", action); }
};

struct Progress {
    std::string dialog;
    std::string control;
    int position;

    Line ToLine() const
    {
        return Line("progress").With("dialog", dialog).With("control", control).With("position", position);
    }
};

struct Dialog {
    std::string name;
    unsigned int style;
    std::string title;
    std::string text;
    int answer;

    Line ToLine() const
    {
        return Line("dialog")
            .With("name", name)
            .With("style", style)
            .With("title", title)
            .With("text", text)
            .With("answer", answer);
    }
};

struct Push {
    std::string dialog;
    std::string control;
    std::optional<std::string> text{};
    std::optional<bool> state{};

    Line ToLine() const
    {
        return Line("push").With("dialog", dialog).With("control", control).With("text", text).With("state", state);
    }
};

struct Options {
    std::string operation;

    Line ToLine() const { return Line("options").With("operation", operation); }
};

// ---------------------------------------------------------------------------------------------
// Transfers and files

struct Request {
    std::string method;
    std::string url;
    Headers headers;

    Line ToLine() const
    {
        return Line("request").With("method", method).With("url", url).With("headers", Joined(headers));
    }
};

struct Transfer {
    std::string url;
    std::string end;
    int status;
    int code;
    std::uint64_t bytes;
    std::optional<std::string> error{};

    Line ToLine() const
    {
        return Line("transfer")
            .With("url", url)
            .With("end", end)
            .With("status", status)
            .With("code", code)
            .With("bytes", bytes)
            .With("error", error);
    }
};

struct Extracted {
    std::string path;

    Line ToLine() const { return Line("extracted").With("path", path); }
};

struct Moved {
    std::string from;
    std::string to;

    Line ToLine() const { return Line("moved").With("from", from).With("to", to); }
};

/// An entry of an archive was refused.
struct RefusedEntry {
    std::string entry;
    std::string reason;

    Line ToLine() const { return Line("refused").With("entry", entry).With("reason", reason); }
};

// ---------------------------------------------------------------------------------------------
// Documents

/// Something has become of a document.
struct Document {
    std::string path;
    std::string action;
    std::optional<bool> hidden{};

    Line ToLine() const { return Line("document").With("path", path).With("action", action).With("hidden", hidden); }
};

/// The workspace has refused an operation of the module. Called "document" in the text, with the action "refused".
struct RefusedOperation {
    std::string operation;
    std::string reason;

    Line ToLine() const
    {
        return Line("document").With("action", "refused").With("operation", operation).With("reason", reason);
    }
};

struct Tree {
    std::string path;
    nlohmann::ordered_json root;

    Line ToLine() const { return Line("tree").With("path", path).With("root", root); }
};

struct Highlight {
    std::string element;

    Line ToLine() const { return Line("highlight").With("element", element); }
};

// ---------------------------------------------------------------------------------------------
// Commands

/// The availability of a command is set. Called "command" in the text, like the next one.
struct CommandHeader {
    std::string header;
    int mask;
    int state;
    bool available;

    Line ToLine() const
    {
        return Line("command")
            .With("header", header)
            .With("mask", mask)
            .With("state", state)
            .With("available", available);
    }
};

/// A command begins, enters a state, or ends.
struct Command {
    std::string command;
    std::string action;
    std::optional<std::string> state{};

    Line ToLine() const { return Line("command").With("command", command).With("action", action).With("state", state); }
};

struct Prompt {
    std::string command;
    std::string state;
    std::string text;

    Line ToLine() const { return Line("prompt").With("command", command).With("state", state).With("text", text); }
};

struct Selection {
    std::string element;
    bool accepted;
    std::optional<std::string> command{};
    std::optional<std::string> reason{};

    Line ToLine() const
    {
        return Line("selection")
            .With("element", element)
            .With("accepted", accepted)
            .With("command", command)
            .With("reason", reason);
    }
};

// ---------------------------------------------------------------------------------------------
// Writing

/// Writes the event that `make` gives. It is asked for only when somebody receives events, so that a write costs
/// nothing otherwise, and needs no memory.
template <std::invocable Make>
void Write(const Make& make)
{
    if (IsOpen())
        Send(make().ToLine().Json());
}

/// Writes that `operation` of the module has returned `code`.
void WriteResult(const char* operation, std::int32_t code);

} // namespace openhost::journal
