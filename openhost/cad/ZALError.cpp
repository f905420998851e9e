#include "openhost/journal/Events.h"

#include "host/part_features.h"

ZALError::ZALError(const char* text) : text_(text) {}

ZALError::~ZALError() = default;

void ZALError::Flush()
{
    openhost::journal::Write([this] { return openhost::journal::Error{.text = text_.CastToCharPtr()}; });
}
