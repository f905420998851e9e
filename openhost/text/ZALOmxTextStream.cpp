#include "Utf.h"

ZALOmxTextStream& ZALOmxTextStream::operator<<(const char* text)
{
    if (text)
        bytes_ += text;
    return *this;
}

ZALOmxTextStream& ZALOmxTextStream::operator<<(const ZALString& text)
{
    return *this << text.CastToCharPtr();
}

ZALOmxTextStream& ZALOmxTextStream::operator<<(const ZALUnicodeString& text)
{
    bytes_ += openhost::ToUtf8(text);
    return *this;
}

ZALOmxTextStream& ZALOmxTextStream::operator<<(const ZALOmxUTF8String& text)
{
    bytes_ += openhost::View(text);
    return *this;
}

ZALOmxTextStream& ZALOmxTextStream::operator<<(std::int32_t number)
{
    bytes_ += std::to_string(number);
    return *this;
}

ZALOmxTextStream& ZALOmxTextStream::operator<<(std::uint32_t number)
{
    bytes_ += std::to_string(number);
    return *this;
}

ZALOmxTextStream& ZALOmxTextStream::operator<<(std::int64_t number)
{
    bytes_ += std::to_string(number);
    return *this;
}

ZALOmxTextStream& ZALOmxTextStream::operator<<(std::uint64_t number)
{
    bytes_ += std::to_string(number);
    return *this;
}

ZALUnicodeString ZALOmxTextStream::ToString() const
{
    return openhost::FromUtf8(bytes_);
}

ZALOmxUTF8String ZALOmxTextStream::ToUTF8String() const
{
    return ZALOmxUTF8String(bytes_.data(), bytes_.size());
}
