// Texts of the host: UTF-16 strings of the interfaces, narrow strings, lists, UTF-8 texts, text streams.
// Values without a thread of their own; an object is used by one thread at a time.
#pragma once

#include "object_model.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Answers of ZALUnicodeString::Compare.
inline constexpr int ZALTextsDiffer = 0;    ///< different texts
inline constexpr int ZALTextsMatch = 1;     ///< texts that differ only in letter case
inline constexpr int ZALTextsIdentical = 2; ///< identical texts

/// Modes of ZALUnicodeString::SearchSubString.
inline constexpr int ZALSearchBackward = 0;
inline constexpr int ZALSearchForward = 1;

/// Ends of a text, for Strip.
inline constexpr int ZALStripLeading = 1;
inline constexpr int ZALStripTrailing = 2;
inline constexpr int ZALStripBoth = 3;

/// A narrow string for names and catalog keys, in UTF-8.
class ZALString {
public:
    ZALString() = default;
    ZALString(const char* text);
    /// Zero-terminated; valid until the string changes or ends.
    const char* CastToCharPtr() const { return text_.c_str(); }
    int GetLengthInChar() const { return static_cast<int>(text_.size()); }
    friend bool operator==(const ZALString& left, const ZALString& right) { return left.text_ == right.text_; }

private:
    friend class ZALUnicodeString;
    std::string text_;
};

/// A UTF-8 text with a length; may hold zero bytes.
class ZALOmxUTF8String {
public:
    ZALOmxUTF8String() = default;
    ZALOmxUTF8String(const char* text);
    ZALOmxUTF8String(const char* bytes, std::size_t length);
    /// Not zero-terminated as far as callers are concerned.
    const char* GetData() const { return bytes_.data(); }
    std::size_t GetByteLength() const { return bytes_.size(); }
    /// Whether this is exactly `text`, which is zero-terminated.
    bool Test(const char* text) const { return bytes_ == text; }
    friend bool operator==(const ZALOmxUTF8String& left, const ZALOmxUTF8String& right)
    {
        return left.bytes_ == right.bytes_;
    }

private:
    std::string bytes_;
};

/// One character of a text: a UTF-16 code unit.
class ZALUnicodeChar {
public:
    ZALUnicodeChar(char16_t unit) : unit_(unit) {}
    /// Whether it is a letter or a digit of any script. Half a surrogate pair is neither.
    bool IsAlnum() const;
    /// The narrow value: the lower 8 bits of the code unit.
    explicit operator char() const { return static_cast<char>(unit_ & 0xFF); }
    friend bool operator==(const ZALUnicodeChar&, const ZALUnicodeChar&) = default;

private:
    friend class ZALUnicodeString;
    char16_t unit_;
};

/// Judges bytes of texts.
class ZALCodePage {
public:
    /// Whether `bytes` are well-formed UTF-8, as plain ASCII is too.
    static bool IsUTF8(const char* bytes, std::size_t length);
};

/// The string of all interfaces. Positions and lengths count UTF-16 code units from 0.
class ZALUnicodeString {
public:
    ZALUnicodeString() = default;
    /// Zero-terminated text in the host's narrow encoding, which is UTF-8 where the system's is. Bytes that
    /// are no UTF-8 are taken as ISO 8859-1, one character each.
    ZALUnicodeString(const char* text);
    ZALUnicodeString(const ZALString& text);
    ZALUnicodeString(const char16_t* text);
    ZALUnicodeString(const char16_t* text, std::size_t length);
    explicit ZALUnicodeString(const ZALOmxUTF8String& text);

    int GetLengthInChar() const { return static_cast<int>(text_.size()); }
    /// Zero-terminated code units; valid until the string changes or ends.
    const char16_t* CastToUTF16Ptr() const { return text_.c_str(); }
    char16_t operator[](int position) const { return text_[static_cast<std::size_t>(position)]; }

    /// One of the three answers above. Letter case is compared by Unicode simple folding of one code unit.
    int Compare(const ZALUnicodeString& other) const;
    /// Position of `fragment` or -1. Mode ZALSearchForward looks for the first one at or after `start`,
    /// ZALSearchBackward for the last one at or before it. Letter case counts.
    int SearchSubString(const ZALUnicodeString& fragment, int start = 0, int mode = ZALSearchForward) const;
    /// `length` units from `start`, cut off at the end of the text.
    ZALUnicodeString GetSubString(int start, int length) const;
    /// Replaces each `old` by `replacement`.
    void ReplaceAll(char16_t old, char16_t replacement);
    /// Replaces each `old` by `replacement`, from left to right and not inside what was put in. Returns how often; 0
    /// for an empty `old`.
    int ReplaceSubString(const ZALUnicodeString& old, const ZALUnicodeString& replacement);
    /// Takes `unit` away at the ends named by `where`.
    void Strip(int where, char16_t unit);
    /// Replaces each letter by its small form, by Unicode simple mapping of one code unit.
    void ToLower();
    void Append(const ZALUnicodeString& tail) { text_ += tail.text_; }
    void Append(ZALUnicodeChar character) { text_ += character.unit_; }
    ZALUnicodeString& operator+=(const ZALUnicodeString& tail)
    {
        text_ += tail.text_;
        return *this;
    }
    friend ZALUnicodeString operator+(ZALUnicodeString left, const ZALUnicodeString& right)
    {
        left.text_ += right.text_;
        return left;
    }

    /// Takes `length` bytes of UTF-8. Returns 0, or -1 for bytes that are none; the text is then empty.
    int BuildFromUTF8(const char* bytes, std::size_t length);
    /// Decimal text of `number` in the form `format`: "%u", "%I64u", or "%02d", which has two digits at least.
    void BuildFromNum(std::uint64_t number, const char* format);
    /// Takes `count` code units.
    HRESULT BuildFromUCChar(const char16_t* units, int count);
    /// Copies the code units to `units`, which has room for GetLengthInChar() of them, and their number to `count`.
    /// Fails for a text that is not kept in units of 16 bits; a host may keep one in its narrow encoding.
    HRESULT ConvertToUCChar(char16_t* units, int& count) const;
    /// The text as UTF-8; a surrogate without its partner becomes U+FFFD.
    ZALOmxUTF8String ConvertToUTF8() const;
    /// The same into `buffer`, which has room for four bytes a unit and one more. `length` is the number of bytes
    /// without the closing zero.
    void ConvertToUTF8(char* buffer, std::size_t& length) const;
    /// The text in the host's narrow encoding. A zero character stays in it, and ends it for those who read up to one.
    ZALString ConvertToChar() const;

    friend bool operator==(const ZALUnicodeString& left, const ZALUnicodeString& right)
    {
        return left.text_ == right.text_;
    }
    /// Order by code units.
    friend bool operator<(const ZALUnicodeString& left, const ZALUnicodeString& right)
    {
        return left.text_ < right.text_;
    }

private:
    std::u16string text_;
};

/// A list of strings, counted from 1. An index outside 1 to Size() is the caller's error.
class ZALListValZALUnicodeString {
public:
    int Size() const { return static_cast<int>(items_.size()); }
    ZALUnicodeString& operator[](int index) { return items_[static_cast<std::size_t>(index - 1)]; }
    const ZALUnicodeString& operator[](int index) const { return items_[static_cast<std::size_t>(index - 1)]; }
    void Append(const ZALUnicodeString& item) { items_.push_back(item); }
    /// Puts `item` at position `index`, from 1 to Size() + 1, before what stands there.
    void InsertAt(int index, const ZALUnicodeString& item) { items_.insert(items_.begin() + (index - 1), item); }
    /// Position of the first item at or after `start` that is identical to `item`; 0 when there is none.
    int Locate(const ZALUnicodeString& item, int start = 1) const;
    void RemoveAll() { items_.clear(); }
    void Swap(int first, int second) { std::swap((*this)[first], (*this)[second]); }

private:
    std::vector<ZALUnicodeString> items_;
};

/// Splits a text step by step.
class ZALToken {
public:
    explicit ZALToken(const ZALUnicodeString& text) : text_(text) {}
    /// What stands before the next character of `separators`; runs of separators count as one. Empty at the
    /// end.
    ZALUnicodeString GetNextToken(const ZALUnicodeString& separators);

private:
    ZALUnicodeString text_;
    int position_ = 0;
};

/// Collects a text from pieces.
class ZALOmxTextStream {
public:
    ZALOmxTextStream& operator<<(const char* text);
    ZALOmxTextStream& operator<<(const ZALString& text);
    ZALOmxTextStream& operator<<(const ZALUnicodeString& text);
    ZALOmxTextStream& operator<<(const ZALOmxUTF8String& text);
    ZALOmxTextStream& operator<<(std::int32_t number);
    ZALOmxTextStream& operator<<(std::uint32_t number);
    ZALOmxTextStream& operator<<(std::int64_t number);
    ZALOmxTextStream& operator<<(std::uint64_t number);
    ZALUnicodeString ToString() const;
    ZALOmxUTF8String ToUTF8String() const;

private:
    std::string bytes_;
};
