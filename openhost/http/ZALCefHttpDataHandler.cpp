#include "host/http.h"

ZALCefHttpDataHandler::~ZALCefHttpDataHandler() = default;
