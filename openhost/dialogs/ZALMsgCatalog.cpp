#include "host/dialogs.h"

#include "openhost/dialogs/TextFile.h"

ZALUnicodeString ZALMsgCatalog::BuildMessage(const ZALString& catalog, const ZALString& key,
                                             const ZALUnicodeString* parameters, int count,
                                             const ZALUnicodeString& defaultText)
{
    const ZALUnicodeString text =
        openhost::FindText(openhost::TextKind::MessageCatalog, catalog.CastToCharPtr(), key.CastToCharPtr())
            .value_or(defaultText);

    // One pass from left to right, so that a parameter's own "/P2" stays as it is.
    ZALUnicodeString message;
    int copied = 0;
    for (int position = 0; parameters && position + 2 < text.GetLengthInChar(); ++position) {
        if (text[position] != u'/' || text[position + 1] != u'P')
            continue;
        const int number = text[position + 2] - u'0';
        if (number < 1 || number > 9 || number > count)
            continue;
        message += text.GetSubString(copied, position - copied);
        message += parameters[number - 1];
        copied = position + 3;
    }
    message += text.GetSubString(copied, text.GetLengthInChar() - copied);
    return message;
}
