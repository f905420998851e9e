// What the engine keeps of one state command: its graph, and where in it the command is.
#pragma once

#include "openhost/journal/Events.h"
#include "openhost/objects/Owned.h"

#include "host/dialog_engine.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class ZALDialogCondition {
public:
    explicit ZALDialogCondition(ZALDialogAgent* agent) : agent_(agent) {}
    /// The agent with a reference for the caller, or null once it is gone.
    ZALDialogAgent* Agent() const { return static_cast<ZALDialogAgent*>(agent_.GetComponent()); }
    /// False for good once the agent is gone.
    bool Holds() const;

private:
    ZALBaseUnknown_WR agent_;
};

class ZALDialogFilter {
public:
    ZALDialogFilter(ZALStateCommand* command, ZALFilterMethod method, void* data)
        : command_(command), method_(method), data_(data)
    {
    }
    bool Accepts(ZALDialogAgent* agent) const { return (command_->*method_)(agent, data_); }

private:
    ZALBaseUnknown* command_;
    ZALFilterMethod method_;
    void* data_;
};

class ZALDialogAction {
public:
    ZALDialogAction(ZALStateCommand* command, ZALActionMethod method, void* data)
        : command_(command), method_(method), data_(data)
    {
    }
    bool Run() const { return (command_->*method_)(data_); }

private:
    ZALBaseUnknown* command_;
    ZALActionMethod method_;
    void* data_;
};

/// Belongs to its command. Code of the command runs only inside the calls below, and none of them runs inside another
/// one of the same command but EndByHost.
struct ZALStateCommandRun {
    struct Transition {
        ZALDialogState* from;
        ZALDialogState* to;
        ZALDialogCondition* condition;
        ZALDialogAction* action;
    };

    /// Enters the command into the engine, and posts its begin.
    explicit ZALStateCommandRun(ZALStateCommand* command);
    ZALStateCommandRun(const ZALStateCommandRun&) = delete;
    ZALStateCommandRun& operator=(const ZALStateCommandRun&) = delete;
    ~ZALStateCommandRun();

    std::string Name() const { return command->GetName().CastToCharPtr(); }
    ZALDialogState* AddState(const ZALString& name);

    /// A value has been given to an agent of `command`.
    static void ValueGiven(ZALStateCommand& command);
    void Begin();
    /// Takes transitions as long as a condition holds.
    void TryTransitions();
    bool WaitsForElement() const;
    /// Gives `path` to an agent of the active state. Answers why it was refused, nothing when it was taken.
    std::string Take(ZALPathElement* path);
    /// Why no agent of the active state would take `path`; nothing when one would.
    std::string Refusal(ZALPathElement* path);
    void EndByHost();
    static std::vector<std::string> GraphOf(const ZALStateCommand& command);

    ZALStateCommand* const command;
    int behavior = 0;
    ZALDialogState* initial = nullptr;
    ZALDialogState* cancel = nullptr;
    ZALDialogState* active = nullptr;
    std::vector<std::unique_ptr<ZALDialogState>> states;
    std::vector<Transition> transitions;
    std::vector<std::unique_ptr<ZALDialogCondition>> conditions;
    std::vector<std::unique_ptr<ZALDialogFilter>> filters;
    std::vector<std::unique_ptr<ZALDialogAction>> actions;

private:
    class Inside;
    using HeldAgent = openhost::Owned<ZALPathElementAgent>;

    void TakeTransitions();
    void Enter(ZALDialogState* state);
    openhost::journal::Prompt DescribePrompt() const;
    static bool HasAgent(const ZALDialogState& state);
    std::vector<HeldAgent> ElementAgents() const;
    static std::string Ask(ZALPathElementAgent& agent, ZALBaseUnknown* leaf);
    void End(const char* how, bool cancels);
    void LeaveEngine();

    std::uint64_t number_;
    int inside_ = 0;         ///< calls in progress
    bool activated_ = false; ///< its end calls Cancel
    bool ended_ = false;
};
