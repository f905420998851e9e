#include "Paths.h"

#include "openhost/text/Utf.h"

#include <algorithm>

namespace openhost {

namespace {

constexpr std::u16string_view Separators = u"/\\";

ZALUnicodeString ToText(std::u16string_view units)
{
    return ZALUnicodeString(units.data(), units.size());
}

} // namespace

std::string SystemPath(const ZALUnicodeString& path)
{
    std::string bytes = ToUtf8(path);
    if (bytes.find('\0') != std::string::npos)
        return {};

    std::replace(bytes.begin(), bytes.end(), '\\', '/');
    return bytes;
}

bool HasParentComponent(const ZALUnicodeString& path)
{
    std::u16string_view rest = View(path);
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find_first_of(Separators), rest.size());
        if (rest.substr(0, end) == u"..")
            return true;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

} // namespace openhost

void ZALMakePath(ZALUnicodeString& folder, const ZALUnicodeString& name)
{
    using namespace openhost;

    std::u16string_view below = View(name);
    below.remove_prefix(std::min(below.find_first_not_of(Separators), below.size()));
    if (below.empty())
        return;

    // Without a folder the name is below the current one; a separator in front would make it absolute.
    std::u16string path(View(folder));
    if (!path.empty()) {
        path.erase(path.find_last_not_of(Separators) + 1);
        path += u'/';
    }
    path += below;
    folder = ToText(path);
}

void ZALSplitPath(const ZALUnicodeString& path, ZALUnicodeString& folder, ZALUnicodeString& name)
{
    using namespace openhost;

    // A copy, because the outputs may be the path itself.
    const std::u16string whole(View(path));
    const std::u16string_view text = whole;
    const std::size_t separator = text.find_last_of(Separators);
    if (separator == std::u16string_view::npos) {
        folder = {};
        name = ToText(text);
        return;
    }

    // The root keeps its separator, and so stays apart from a path without a folder.
    folder = ToText(text.substr(0, std::max<std::size_t>(separator, 1)));
    name = ToText(text.substr(separator + 1));
}

ZALUnicodeString GetFileExtensionName(const ZALUnicodeString& path)
{
    using namespace openhost;

    std::u16string_view name = View(path);
    name.remove_prefix(name.find_last_of(Separators) + 1);

    // A dot in front hides the file; what follows it is the name.
    const std::size_t dot = name.rfind(u'.');
    if (dot == std::u16string_view::npos || dot == 0)
        return {};
    return ToText(name.substr(dot + 1));
}
