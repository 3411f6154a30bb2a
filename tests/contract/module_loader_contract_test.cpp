#include "contract/module_loader_contract.h"

#include "contract/temporary_folder.h"
#include "contract/test_libraries.h"
#include "support/fake_module_loader.h"

namespace contract {
namespace {

LoaderUnderTest TheSystemsOwn() {
    const std::filesystem::path library = CountingLibrary();
    return {&platform::SystemModuleLoader(), library.string(), WideOf(library), nullptr};
}

int One() {
    return 1;
}

LoaderUnderTest TheFake() {
    const auto loader = std::make_shared<support::FakeModuleLoader>();
    const std::string library = loader->Folder() + platform::kPathSeparator + "counting.dll";
    loader->Put(library, {{"counting_library_next", reinterpret_cast<platform::SymbolAddress>(One)}});
    return {loader.get(), library, std::wstring(library.begin(), library.end()), loader};
}

INSTANTIATE_TEST_SUITE_P(System, ModuleLoaderContract, testing::Values(LoaderFactory(TheSystemsOwn)));
INSTANTIATE_TEST_SUITE_P(Fake, ModuleLoaderContract, testing::Values(LoaderFactory(TheFake)));

}  // namespace
}  // namespace contract
