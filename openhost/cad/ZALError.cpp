#include "openhost/journal/Journal.h"

#include "host/part_features.h"

ZALError::ZALError(const char* text) : text_(text) {}

ZALError::~ZALError() = default;

void ZALError::Flush()
{
    openhost::journal::Write("error", {{"text", text_.CastToCharPtr()}});
}
