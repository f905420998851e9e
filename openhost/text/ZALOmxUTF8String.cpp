#include "host/text.h"

ZALOmxUTF8String::ZALOmxUTF8String(const char* text) : bytes_(text ? text : "") {}

ZALOmxUTF8String::ZALOmxUTF8String(const char* bytes, std::size_t length)
{
    if (bytes)
        bytes_.assign(bytes, length);
}
