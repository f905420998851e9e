#include "host/text.h"

ZALString::ZALString(const char* text) : text_(text ? text : "") {}
