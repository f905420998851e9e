#include "openhost/cad/SolidKernel.h"

namespace openhost {

template class Port<SolidKernel>;

namespace {
class RefusingKernel final : public SolidKernel {
public:
    SolidCopy Copy(const DocumentGeometry&) override { Refuse(); }
    void Check(const DocumentGeometry&) override { Refuse(); }

private:
    [[noreturn]] static void Refuse() { throw SolidKernelError("the host has no solid kernel"); }
};
} // namespace

SolidKernel::~SolidKernel() = default;

void SolidKernel::Expect(const std::vector<std::filesystem::path>&) {}

std::unique_ptr<SolidKernel> SolidKernel::WithoutBackend()
{
    return std::make_unique<RefusingKernel>();
}

} // namespace openhost
