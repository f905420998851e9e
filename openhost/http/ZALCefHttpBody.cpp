#include "host/http.h"

void ZALCefHttpBody::SetContents(const void* bytes, std::size_t length)
{
    contents_.assign(static_cast<const char*>(bytes), bytes ? length : 0);
}
