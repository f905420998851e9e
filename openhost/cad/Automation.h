// Texts and arrays of the automation interfaces as the host keeps account of them.
#pragma once

#include "host/cad.h"

#include <string>
#include <vector>

namespace openhost {

/// Texts and arrays that nobody has freed so far.
int LivingTexts();
int LivingArrays();

/// `text` as it stands in `text`; empty for null.
ZALUnicodeString FromBSTR(ZALBSTR text);
/// The texts of `variant`; none when it is no array.
std::vector<ZALUnicodeString> TextsOf(const ZALVariant& variant);

} // namespace openhost
