// Commands of the host: their base, their headers in menus and tool bars, the application, the recorder.
// All of it is used on the user-interface thread.
#pragma once

#include "text.h"

/// Command modes.
inline constexpr int ZALCommandModeUndefined = 3; ///< lives beside the running command, takes no focus

/// A command. Its owner releases it.
class ZALCommand : public ZALEventSubscriber {
public:
    ZALCommand(const ZALString& name, int mode);
    ~ZALCommand() override;
    const ZALString& GetName() const { return name_; }
    int GetMode() const { return mode_; }

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    ZALString name_;
    int mode_;
};

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

/// The application.
class ZALApplication {
public:
    virtual ~ZALApplication();
    /// The running application, or null.
    static ZALApplication* MainApplication();
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
    /// The recorder, or null when the session has none.
    static ZALRecord* GetMain();
    virtual bool IsCapture() const = 0;
    virtual bool IsReplay() const = 0;
};
