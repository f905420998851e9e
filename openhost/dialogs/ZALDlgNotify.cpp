#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/DialogSurface.h"
#include "openhost/journal/Events.h"
#include "openhost/text/Utf.h"

ZALDlgNotify::ZALDlgNotify(ZALDialog* parent, const ZALString& name, unsigned int style)
    : ZALDlgDialog(parent, name, style)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::Question;
}

ZALDlgNotify::~ZALDlgNotify() = default;

namespace {

/// The question is visible meanwhile.
int Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title)
{
    struct Visible {
        explicit Visible(ZALDialogNode& shown) : node(shown) { node.visible = true; }
        ~Visible() { node.visible = false; }
        ZALDialogNode& node;
    };
    const Visible visible(ZALDialogNode::Of(question));
    return openhost::DialogSurface::Current().Ask(question, text, title);
}

} // namespace

int ZALDlgNotify::DisplayBlocked(const ZALUnicodeString& text, const ZALUnicodeString& title)
{
    ZALDialogNode& node = ZALDialogNode::Of(*this);
    if (node.ended)
        return ZALDlgAnswerClosed;

    // Events that run meanwhile may end the question with its parent.
    AddRef();
    const auto held = ZALInterfaceHandle<ZALDlgNotify>::Take(this);
    const int answer = Ask(*this, text, title);
    openhost::journal::Write([&] {
        return openhost::journal::Dialog{.name = node.Name(),
                                         .style = node.style,
                                         .title = openhost::ToUtf8(title),
                                         .text = openhost::ToUtf8(text),
                                         .answer = answer};
    });
    if (node.ended)
        node.StayWithoutParent();
    return answer;
}
