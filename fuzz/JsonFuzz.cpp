// The parser over any bytes, the values that it gives, and the writer over those values.

#include "openhost/text/Utf.h"

#include "host/json.h"

#include <cstdlib>

namespace {

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

/// Reads `value` in every way and goes down into what it holds. Returns its depth.
int Walk(const ZALOmxAny& value)
{
    const int kind = value.GetKind() & ZALOmxKindMask;

    ZALOmxUTF8String bytes;
    ZALUnicodeString text;
    std::int64_t number = 0;
    Require(SUCCEEDED(value.GetString(bytes)) == (kind == ZALOmxKindString));
    Require(SUCCEEDED(value.GetString(text)) == (kind == ZALOmxKindString));
    Require(text.ConvertToUTF8() == bytes);
    Require(SUCCEEDED(value.GetInteger(number)) == (kind == ZALOmxKindInteger));

    int depth = 0;
    for (int index = 0; index < value.MapSize(); ++index) {
        ZALOmxKeyString key;
        ZALOmxAny member;
        ZALOmxAny found;
        Require(SUCCEEDED(value.MapGetAt(index, key, member)));
        // Keys stand once, so the lookup meets the same member. It compares one key after another, which
        // large maps need not pay for here.
        if (index < 16) {
            Require(SUCCEEDED(value.MapGetValue(key, found)));
            Require(found.GetKind() == member.GetKind());
        }
        depth = std::max(depth, Walk(member));
    }
    for (int index = 1; index <= value.ListSize(); ++index) {
        ZALOmxAny item;
        Require(SUCCEEDED(value.ListGetAt(index, item)));
        depth = std::max(depth, Walk(item));
    }
    return kind == ZALOmxKindList || kind == ZALOmxKindMap ? depth + 1 : 0;
}

ZALOmxUTF8String Written(const ZALOmxUTF8String& key, const ZALOmxAny& value)
{
    ZALOmxTextStream stream;
    ZALOmxJsonWriter writer(stream);
    writer.Object();
    writer.Attribute(key, value);
    writer.Attribute("list");
    writer.List();
    writer.Item(key);
    writer.Item(key);
    writer.End();
    writer.End();
    return stream.ToUTF8String();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const ZALOmxUTF8String text(reinterpret_cast<const char*>(data), size);
    ZALOmxJson parser;
    parser.ActivateConsistentDoubleUnstream();

    ZALOmxAny value;
    const bool isJson = SUCCEEDED(parser.parse(text, value));
    Require(isJson || value.GetKind() == ZALOmxKindNull);
    const int depth = Walk(value);
    Require(depth <= ZALOmxMaximumDepth);

    // What the writer makes of any value and any key is JSON again, and writes as the same text.
    const ZALOmxUTF8String written = Written(text, value);
    ZALOmxAny read;
    ZALOmxAny member;
    ZALOmxUTF8String key;
    if (depth == ZALOmxMaximumDepth) {
        Require(FAILED(parser.parse(written, read)));
        return 0;
    }
    Require(SUCCEEDED(parser.parse(written, read)));
    Require(SUCCEEDED(read.MapGetAt(0, key, member)));
    if (!(key == ZALOmxUTF8String("list")))
        Require(Written(key, member) == written);
    return 0;
}
