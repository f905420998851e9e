#include "openhost/cad/LvrWriter.h"

#include <utility>

namespace openhost {

namespace {

std::unique_ptr<LvrWriter>& Installed()
{
    static std::unique_ptr<LvrWriter> writer;
    return writer;
}

} // namespace

LvrWriter::~LvrWriter() = default;

LvrWriter* LvrWriter::Current()
{
    return Installed().get();
}

std::unique_ptr<LvrWriter> LvrWriter::Install(std::unique_ptr<LvrWriter> writer)
{
    return std::exchange(Installed(), std::move(writer));
}

} // namespace openhost
