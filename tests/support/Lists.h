// Lists of texts as the host has them, and as tests do.
#pragma once

#include "host/text.h"
#include "openhost/text/Utf.h"
#include "tests/support/Objects.h"

namespace openhost::testing {

inline ZALListValZALUnicodeString List(const Texts& texts)
{
    ZALListValZALUnicodeString list;
    for (const std::string& text : texts)
        list.Append(FromUtf8(text));
    return list;
}

inline Texts TextsOf(const ZALListValZALUnicodeString& list)
{
    Texts texts;
    for (int index = 1; index <= list.Size(); ++index)
        texts.push_back(ToUtf8(list[index]));
    return texts;
}

} // namespace openhost::testing
