#include "contract/kernel_objects_contract.h"
#include "support/fake_kernel_objects.h"

namespace contract {
namespace {

std::shared_ptr<platform::KernelObjects> TheSystemsOwn() {
    return {std::shared_ptr<void>(), &platform::SystemKernelObjects()};  // owns nothing
}

std::shared_ptr<platform::KernelObjects> TheFake() {
    return std::make_shared<support::FakeKernelObjects>();
}

INSTANTIATE_TEST_SUITE_P(System, KernelObjectsContract, testing::Values(KernelObjectsFactory(TheSystemsOwn)));
INSTANTIATE_TEST_SUITE_P(Fake, KernelObjectsContract, testing::Values(KernelObjectsFactory(TheFake)));

}  // namespace
}  // namespace contract
