// Operations of the host that insert, replace and the dialogs ask for; they take the place of the host's own.

#include "tests/steps/Services.h"

#include "host/cad.h"
#include "host/dialog_engine.h"
#include "host/dialogs.h"
#include "openhost/commands/ZALStateCommandRun.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/frame/Frame.h"
#include "openhost/text/Utf.h"

#include <dlfcn.h>
#include <new>
#include <string>

namespace {

using openhost::testing::CurrentServices;

void Note(const std::string& call)
{
    CurrentServices().calls.push_back(call);
    if (call == CurrentServices().scarceCall)
        throw std::bad_alloc();
}

/// The host's own operation behind the one that is defined here, by its name in the library.
template <class Operation>
Operation* TheHostsOwn(const char* name)
{
    return reinterpret_cast<Operation*>(dlsym(RTLD_NEXT, name));
}

std::string Pointer(const void* pointer)
{
    return pointer ? "something" : "nothing";
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Commands

HRESULT ZALCommand::Activate(ZALBaseUnknown* publisher, ZALNotification* notification)
{
    Note("activate by " + Pointer(publisher) + " with " + Pointer(notification));
    return CurrentServices().commandResult;
}

HRESULT ZALCommand::Cancel(ZALBaseUnknown* publisher, ZALNotification* notification)
{
    Note("cancel by " + Pointer(publisher) + " with " + Pointer(notification));
    return CurrentServices().commandResult;
}

ZALStateCommand::ZALStateCommand(const ZALString& name, int behavior, int mode)
    : ZALCommand(name, static_cast<ZALCommandMode>(mode)), run_(std::make_unique<ZALStateCommandRun>(this))
{
    Note(std::string("command ") + name.CastToCharPtr() + " " + std::to_string(behavior) + " " + std::to_string(mode));
}

ZALString ZALStateCommand::GetResourceFilename(int level) const
{
    Note("file at " + std::to_string(level));
    return "the file of the base";
}

ZALString ZALStateCommand::GetResourceClass(int level) const
{
    Note("class at " + std::to_string(level));
    return "the class of the base";
}

int ZALStateCommand::IsOtherResourceFile(int level) const
{
    Note("other file at " + std::to_string(level));
    return 7;
}

ZALDialogAgent::~ZALDialogAgent()
{
    Note(std::string("end of ") + name_.CastToCharPtr());
}

// ---------------------------------------------------------------------------------------------
// Dialogs

ZALDlgToolsOptionsFrame::ZALDlgToolsOptionsFrame(ZALDialog* parent, const ZALString& name, const ZALString& icon,
                                                 int layout)
    : ZALDialog(parent, name, ZALDlgFrameWithoutTitle)
{
    Note(std::string("page ") + name.CastToCharPtr() + " '" + icon.CastToCharPtr() + "' " + std::to_string(layout));
    content_ = new ZALDlgFrame(this, "Content", ZALDlgGridFrameWithoutTitle);
}

void ZALDlgProgress::SetRange(int minimum, int maximum)
{
    Note("range " + std::to_string(minimum) + " " + std::to_string(maximum));
}

void ZALDlgProgress::SetPos(int position)
{
    Note("position " + std::to_string(position));
}

void ZALDialog::SetRectDimensions(int x, int y, int height, int width)
{
    Note("place " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(height) + " " +
         std::to_string(width));
}

// ---------------------------------------------------------------------------------------------
// Automation

ZALBSTR ConvertToBSTR(const ZALUnicodeString& text)
{
    Note("text " + openhost::ToUtf8(text) + " behind cursor " + std::to_string(openhost::BusyCursorCount()));
    static auto* const convert = TheHostsOwn<ZALBSTR(const ZALUnicodeString&)>("_Z13ConvertToBSTRRK16ZALUnicodeString");
    return convert(text);
}

void ZALFreeString(ZALBSTR text)
{
    if (text)
        Note("free text behind cursor " + std::to_string(openhost::BusyCursorCount()));
    static auto* const release = TheHostsOwn<void(ZALBSTR)>("_Z13ZALFreeStringPDs");
    release(text);
}

HRESULT BuildSafeArrayVariant(const ZALListValZALUnicodeString& texts, ZALVariant& variant)
{
    Note("array of " + std::to_string(texts.Size()));
    static auto* const build = TheHostsOwn<HRESULT(const ZALListValZALUnicodeString&, ZALVariant&)>(
        "_Z21BuildSafeArrayVariantRK26ZALListValZALUnicodeStringR10ZALVariant");
    return build(texts, variant);
}

void FreeVariantSafeArray(ZALVariant& variant)
{
    if (variant.array)
        Note("free array");
    static auto* const release = TheHostsOwn<void(ZALVariant&)>("_Z20FreeVariantSafeArrayR10ZALVariant");
    release(variant);
}

HRESULT ZALDocumentServices::GetDocumentInSession(const ZALUnicodeString& path, ZALDocument** document)
{
    Note("in workspace " + openhost::ToUtf8(path));
    static auto* const find = TheHostsOwn<HRESULT(const ZALUnicodeString&, ZALDocument**)>(
        "_ZN19ZALDocumentServices20GetDocumentInSessionERK16ZALUnicodeStringPP11ZALDocument");
    const HRESULT result = find(path, document);
    return SUCCEEDED(CurrentServices().inSessionResult) ? result : CurrentServices().inSessionResult;
}
