#include "contract/kernel_objects_contract.h"

namespace contract {
namespace {

std::shared_ptr<platform::KernelObjects> TheSystemsOwn() {
    return {std::shared_ptr<void>(), &platform::SystemKernelObjects()};  // owns nothing
}

INSTANTIATE_TEST_SUITE_P(System, KernelObjectsContract, testing::Values(KernelObjectsFactory(TheSystemsOwn)));

}  // namespace
}  // namespace contract
