#include "contract/file_views_contract.h"

#include "contract/temporary_folder.h"
#include "support/fake_file_views.h"

namespace contract {
namespace {

FilesUnderTest TheSystemsOwn() {
    const auto folder = std::make_shared<TemporaryFolder>();
    return {
        &platform::SystemFileViews(),
        [folder](const std::string& name, const std::string& content) { return WideOf(folder->Write(name, content)); },
        [folder](const std::string& name) {
            create_directory(folder->Path() / name);
            return WideOf(folder->Path() / name);
        },
        folder};
}

FilesUnderTest TheFake() {
    const auto files = std::make_shared<support::FakeFileViews>();
    const auto path = [](const std::string& name) { return L"/" + std::wstring(name.begin(), name.end()); };
    return {files.get(),
            [files, path](const std::string& name, const std::string& content) {
                files->Put(path(name), content);
                return path(name);
            },
            [files, path](const std::string& name) {
                files->PutFolder(path(name));
                return path(name);
            },
            files};
}

INSTANTIATE_TEST_SUITE_P(System, FileViewsContract, testing::Values(FilesFactory(TheSystemsOwn)));
INSTANTIATE_TEST_SUITE_P(Fake, FileViewsContract, testing::Values(FilesFactory(TheFake)));

}  // namespace
}  // namespace contract
