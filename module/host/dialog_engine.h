// Commands of the host: their base, their headers in menus and tool bars, the application, the recorder.
// All of it is used on the user-interface thread.
#pragma once

#include "text.h"

#include <cstddef>
#include <memory>
#include <vector>

/// How a command stands beside others.
enum ZALCommandMode : int {
    ZALCommandModeUndefined = 3, ///< lives beside the running command, takes no focus
};

/// A command. One that the host has started by name belongs to the host and ends by RequestDelayedDestruction, at the
/// latest with the run; any other is released by its owner.
class ZALCommand : public ZALEventSubscriber {
public:
    ZALCommand(const ZALString& name, ZALCommandMode mode);
    ~ZALCommand() override;
    const ZALString& GetName() const { return name_; }
    ZALCommandMode GetMode() const { return mode_; }
    /// Asks the host to drop the reference of `new` between two events, never inside the call; also from inside the
    /// constructor. Asking again does nothing. Commands with states end by their graph instead.
    virtual void RequestDelayedDestruction();
    /// The host makes the command the current one, or takes that back. Both arguments may be null. S_OK.
    virtual HRESULT Activate(ZALBaseUnknown* publisher, ZALNotification* notification);
    virtual HRESULT Cancel(ZALBaseUnknown* publisher, ZALNotification* notification);

    ZAL_DECLARE_META_CLASS

private:
    ZALString name_;
    ZALCommandMode mode_;
    bool endRequested_ = false;
};

// ---------------------------------------------------------------------------------------------
// State commands
//
// Life of a state command, in order:
//   1. `new`; the host owns it from then on, and nobody else keeps a pointer to it.
//   2. From the event loop the engine calls BuildCommandGraph once, then Activate, and enters the initial state. A
//      command without one, or whose initial state has no agent, is cancelled.
//   3. In a state the user and the code give values to its agents. After each value, and when a state is entered, the
//      transitions from it are tried in the order in which they were added: the first whose condition holds runs its
//      action, and its target state is entered. A value that is given while no transition can be taken, such as inside
//      an action or before the agent's state is entered, is kept and counts then. Values stay until
//      InitializeAcquisition forgets them.
//   4. The command ends at the null state or the cancel state, or when the host ends it by itself; all but the null
//      state call Cancel. The engine releases it between two events.

class ZALPathElement;
class ZALStateCommand;

/// An input of a state command.
class ZALDialogAgent : public ZALBaseUnknown {
public:
    /// `behavior` is a mask, 0 for none; `mode` 3 lets the engine decide when input is taken.
    ZALDialogAgent(const ZALString& name, int behavior = 0, int mode = 3);
    ~ZALDialogAgent() override;
    const ZALString& GetName() const { return name_; }
    void SetBehavior(int behavior) { behavior_ = behavior; }
    int GetBehavior() const { return behavior_; }
    int GetMode() const { return mode_; }
    /// Gives the agent its value by code, without the user. `notification` is null, `option` 0.
    void Accept(ZALNotification* notification, int option);
    /// Forgets the value, so that it can be given anew.
    void InitializeAcquisition() { outputSet_ = false; }
    /// Whether the agent has a value.
    bool IsOutputSet() const { return outputSet_; }

private:
    friend class ZALDialogState;
    friend struct ZALStateCommandRun;
    ZALString name_;
    int behavior_;
    int mode_;
    bool outputSet_ = false;
    ZALBaseUnknown_WR command_; ///< the command in whose states the agent stands
};

/// The behaviour of an agent that takes one element from the tree or the view, highlighted while the pointer is over
/// it.
inline constexpr int ZALAgentTakesOneElement = 0x821000;

class ZALDialogFilter;

/// An input that is an element of the workspace, picked by the user.
class ZALPathElementAgent : public ZALDialogAgent {
public:
    ZALPathElementAgent(const ZALString& name, ZALClassId elementType = nullptr, int behavior = 0);
    ~ZALPathElementAgent() override;
    /// Takes elements only that offer the interface `elementType`; null takes any.
    void SetElementType(ZALClassId elementType) { elementType_ = elementType; }
    /// Takes elements only that `filter` accepts; null takes any. The filter belongs to the command that made it.
    void SetFilter(ZALDialogFilter* filter) { filter_ = filter; }
    /// The path of the picked element, or null. Belongs to the agent, which keeps it until another value or its own
    /// end, also after InitializeAcquisition.
    ZALPathElement* GetValue() const { return value_; }
    /// The object under the pointer while a filter is asked, otherwise the leaf of the value, or null. No reference
    /// is added.
    ZALBaseUnknown* GetElementValue() const { return offered_ ? offered_ : leaf_; }

private:
    friend struct ZALStateCommandRun;
    ZALString elementType_;
    ZALDialogFilter* filter_ = nullptr;
    ZALPathElement* value_ = nullptr;
    ZALBaseUnknown* leaf_ = nullptr; ///< of the value, which holds it
    ZALBaseUnknown* offered_ = nullptr;
};

/// A state of a command. Belongs to its command.
class ZALDialogState {
public:
    const ZALString& GetName() const { return name_; }
    /// Key of the prompt in the command's resource file; without one the state has no prompt.
    void SetResourceID(const ZALString& id) { resourceId_ = id; }
    const ZALString& GetResourceID() const { return resourceId_; }
    /// Lets `agent` take input while the state is active. It stays its owner's.
    void AddDialogAgent(ZALDialogAgent* agent);

private:
    friend struct ZALStateCommandRun;
    ZALDialogState(ZALStateCommand* command, const ZALString& name) : command_(command), name_(name) {}
    ZALStateCommand* command_;
    ZALString name_;
    ZALString resourceId_;
    std::vector<ZALBaseUnknown_WR> agents_; ///< in the order in which they were added
};

/// The form of an action: true lets the transition go on to its target, false stays.
using ZALActionMethod = bool (ZALBaseUnknown::*)(void* data);
/// The form of a filter: true accepts the element of `agent`.
using ZALFilterMethod = bool (ZALBaseUnknown::*)(ZALDialogAgent* agent, void* data);

class ZALDialogCondition;
class ZALDialogAction;

/// A command with states.
class ZALStateCommand : public ZALCommand {
public:
    /// Hands the command to the engine. `behavior` and `mode` are 0.
    ZALStateCommand(const ZALString& name, int behavior = 0, int mode = 0);
    ~ZALStateCommand() override;

    /// Name of the resource file at `level`, 0 for that of the most special class; empty at the end of the list. A
    /// prompt is the text that the first file with the state's key has.
    virtual ZALString GetResourceFilename(int level) const;
    /// Name of the class whose resources stand in the file of `level`; empty at the end of the list.
    virtual ZALString GetResourceClass(int level) const;
    /// 1 when the file of `level` is another class's too: keys in it begin with the resource class and a dot.
    virtual int IsOtherResourceFile(int level) const;
    /// Builds states and transitions; called once by the engine.
    virtual void BuildCommandGraph() = 0;

    // For BuildCommandGraph. What these give belongs to the command.

    /// The initial state, made at the first call with `name`.
    ZALDialogState* GetInitialState(const ZALString& name);
    ZALDialogState* AddDialogState(const ZALString& name);
    ZALDialogState* GetCancelState();
    /// A null `to` ends the command; a null `action` does nothing. Without `from` or `condition` nothing is added.
    void AddTransition(ZALDialogState* from, ZALDialogState* to, ZALDialogCondition* condition,
                       ZALDialogAction* action);
    /// Holds when `agent` has a value.
    ZALDialogCondition* IsOutputSetCondition(ZALDialogAgent* agent);
    ZALDialogFilter* Filter(ZALFilterMethod method, void* data);
    ZALDialogAction* Action(ZALActionMethod method, ZALActionMethod undo, ZALActionMethod redo, void* data);
    template <class Command>
    ZALDialogFilter* Filter(bool (Command::*method)(ZALDialogAgent*, void*), void* data)
    {
        return Filter(static_cast<ZALFilterMethod>(method), data);
    }
    template <class Command>
    ZALDialogAction* Action(bool (Command::*method)(void*), std::nullptr_t, std::nullptr_t, void* data)
    {
        return Action(static_cast<ZALActionMethod>(method), ZALActionMethod(), ZALActionMethod(), data);
    }

    ZAL_DECLARE_META_CLASS

private:
    friend struct ZALStateCommandRun;
    std::unique_ptr<struct ZALStateCommandRun> run_; ///< the engine's state of the command
};

// ---------------------------------------------------------------------------------------------
// Headers, application, recorder

/// Masks of ZALCommandHeader::SetAvailability.
inline constexpr int ZALHeaderInGlobalMode = 1;
inline constexpr int ZALHeaderInLocalMode = 8;
inline constexpr int ZALHeaderInContextMode = 16;

/// The entry of a command in menus and tool bars.
class ZALCommandHeader {
public:
    virtual ~ZALCommandHeader();
    /// The header `name`, or null. Belongs to the host. `options` is 0.
    static ZALCommandHeader* GetHeaderFromList(const ZALString& name, int options);
    /// 1 when the command can be started, 0 when it is greyed.
    virtual int IsAvailable() const = 0;
    /// Makes the command available (`state` 1) or not (0) in the modes of `mask`.
    virtual void SetAvailability(int mask, int state) = 0;
};

/// The form of a time-out: the client and the data that it was added with.
using ZALTimeOutFunction = void (*)(ZALBaseUnknown* client, void* data);

/// The application.
class ZALApplication {
public:
    virtual ~ZALApplication();
    /// The running application, or null.
    static ZALApplication* MainApplication();
    /// Calls `function` once, from the event loop, when `milliseconds` have passed. Ends with `client` or the
    /// application; no reference is added. Without a client or a function nothing is added.
    virtual void AddTimeOut(unsigned int milliseconds, ZALBaseUnknown* client, void* data,
                            ZALTimeOutFunction function) = 0;
    /// Ends the time-outs that were added with these four and have not been called; there may be none.
    virtual void RemoveTimeOut(unsigned int milliseconds, ZALBaseUnknown* client, void* data,
                               ZALTimeOutFunction function) = 0;
};

/// An application with a display.
class ZALInteractiveApplication : public ZALApplication {
public:
    ~ZALInteractiveApplication() override;
    /// Repaints what has changed, without taking input.
    virtual void UpdateDisplay() = 0;
};

/// The recorder of the user's actions.
class ZALRecord {
public:
    virtual ~ZALRecord();
    /// The recorder, or null when the run has none.
    static ZALRecord* GetMain();
    virtual bool IsCapture() const = 0;
    virtual bool IsReplay() const = 0;
};
