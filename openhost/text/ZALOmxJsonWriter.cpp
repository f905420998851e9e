#include "JsonValues.h"
#include "Utf.h"

namespace {

/// `text` in quotes, escaped.
std::string Quote(const ZALOmxUTF8String& text)
{
    return openhost::ToJsonText(openhost::View(text));
}

} // namespace

void ZALOmxJsonWriter::Object()
{
    Separate();
    stream_ << "{";
    closers_.push_back('}');
    first_ = true;
}

void ZALOmxJsonWriter::List()
{
    Separate();
    stream_ << "[";
    closers_.push_back(']');
    first_ = true;
}

void ZALOmxJsonWriter::Attribute(const ZALOmxKeyString& key)
{
    Separate();
    stream_ << Quote(key).c_str() << ":";
    // The value follows its key as the first item follows a bracket, without a comma.
    first_ = true;
}

void ZALOmxJsonWriter::Attribute(const ZALOmxKeyString& key, const ZALOmxUTF8String& value)
{
    Attribute(key);
    Item(value);
}

void ZALOmxJsonWriter::Attribute(const ZALOmxKeyString& key, std::int64_t value)
{
    Attribute(key);
    Separate();
    stream_ << value;
}

void ZALOmxJsonWriter::Attribute(const ZALOmxKeyString& key, const ZALOmxAny& value)
{
    Attribute(key);
    Separate();
    stream_ << openhost::ToJsonText(ZALOmxAnyAccess::Unwrap(value)).c_str();
}

void ZALOmxJsonWriter::Item(const ZALOmxUTF8String& value)
{
    Separate();
    stream_ << Quote(value).c_str();
}

void ZALOmxJsonWriter::End()
{
    if (closers_.empty())
        return;

    const char closer[] = {closers_.back(), '\0'};
    stream_ << closer;
    closers_.pop_back();
    first_ = false;
}

void ZALOmxJsonWriter::Separate()
{
    if (!first_)
        stream_ << ",";
    first_ = false;
}
