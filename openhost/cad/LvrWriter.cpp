#include "openhost/cad/LvrWriter.h"

namespace openhost {

template class Port<LvrWriter>;

namespace {
class RefusingWriter final : public LvrWriter {
public:
    int Write(const ZALRep&, const std::string&) override { return 1; }
};
} // namespace

LvrWriter::~LvrWriter() = default;

std::unique_ptr<LvrWriter> LvrWriter::WithoutBackend()
{
    return std::make_unique<RefusingWriter>();
}

} // namespace openhost
