// JSON of the host: dynamic values, the parser and the writer. Used on the user-interface thread.
#pragma once

#include "text.h"

#include <memory>

/// Type tags of a JSON value, as GetKind gives them under ZALOmxKindMask.
inline constexpr int ZALOmxKindMask = 0x7FFF;
inline constexpr int ZALOmxKindNull = 0;
inline constexpr int ZALOmxKindBoolean = 1;
inline constexpr int ZALOmxKindInteger = 2; ///< a number without fraction and exponent that fits 64 bits signed
inline constexpr int ZALOmxKindDouble = 3;  ///< any other number
inline constexpr int ZALOmxKindString = 4;
inline constexpr int ZALOmxKindList = 5;
inline constexpr int ZALOmxKindMap = 6;

/// Deepest nesting of lists and maps that the parser takes.
inline constexpr int ZALOmxMaximumDepth = 200;

/// Key of a map member.
using ZALOmxKeyString = ZALOmxUTF8String;

/// A JSON value. Copies are cheap and share their content, which never changes.
/// A read operation of another type than the value's fails and leaves its output alone.
class ZALOmxAny {
public:
    /// A null value.
    ZALOmxAny() = default;

    /// The type tag; bits outside ZALOmxKindMask belong to the host.
    int GetKind() const;
    HRESULT GetString(ZALOmxUTF8String& value) const;
    HRESULT GetString(ZALUnicodeString& value) const;
    HRESULT GetInteger(std::int64_t& value) const;
    /// Any value as a text: a string as it stands, another value as JSON writes it.
    ZALUnicodeString ConvertToUnicodeString() const;

    /// The member `key` of a map. Fails for a missing key and for a value that is not a map.
    HRESULT MapGetValue(const ZALOmxKeyString& key, ZALOmxAny& value) const;
    /// Number of members of a map, in the order in which they stood in the text; 0 for other values.
    int MapSize() const;
    /// Key and value of the member `index`, from 0.
    HRESULT MapGetAt(int index, ZALOmxKeyString& key, ZALOmxAny& value) const;

    /// Number of items of a list; 0 for other values.
    int ListSize() const;
    /// The item `index`, from 1.
    HRESULT ListGetAt(int index, ZALOmxAny& value) const;

private:
    friend struct ZALOmxAnyAccess;
    std::shared_ptr<const void> value_; // the host's own representation; null is the null value
};

/// The parser.
class ZALOmxJson {
public:
    /// Keeps "1.0" and "1e0" floating and "1" an integer, independent of the locale.
    void ActivateConsistentDoubleUnstream();
    /// Parses the whole of `text`. Fails, and leaves `value` alone, for a text that is not JSON, that is not
    /// valid UTF-8, that nests deeper than ZALOmxMaximumDepth, or that holds a number beyond the range of a
    /// double. A byte order mark in front is skipped. Of members with one key the last counts, in the place of
    /// the first.
    HRESULT parse(const ZALOmxUTF8String& text, ZALOmxAny& value);
};

/// Writes a JSON text into a stream, without white space. Calls nest: Object or List opens, End closes the
/// innermost one that is open.
class ZALOmxJsonWriter {
public:
    /// `stream` outlives the writer.
    explicit ZALOmxJsonWriter(ZALOmxTextStream& stream) : stream_(stream) {}
    ZALOmxJsonWriter(const ZALOmxJsonWriter&) = delete;
    ZALOmxJsonWriter& operator=(const ZALOmxJsonWriter&) = delete;
    /// Opens an object: the text itself, an item of a list, or the value of Attribute.
    void Object();
    /// Opens a list, in the same places.
    void List();
    /// Begins a member whose value the next call gives.
    void Attribute(const ZALOmxKeyString& key);
    /// Writes a member.
    void Attribute(const ZALOmxKeyString& key, const ZALOmxUTF8String& value);
    void Attribute(const ZALOmxKeyString& key, std::int64_t value);
    void Attribute(const ZALOmxKeyString& key, const ZALOmxAny& value);
    /// Writes an item of the open list.
    void Item(const ZALOmxUTF8String& value);
    void End();

private:
    void Separate();
    ZALOmxTextStream& stream_;
    std::vector<char> closers_; // what closes each open level
    bool first_ = true;         // nothing written yet on the innermost level
};
