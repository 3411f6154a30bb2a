#include <gmock/gmock.h>

#include <stdexcept>
#include <string>

#include "engine/shared_library.h"
#include "infra/wide_text.h"
#include "platform/command_tail.h"
#include "roles.h"

namespace {

template <typename Path>
int Load(const Path& path) {
    try {
        (void)hvq::util::load_shared_object(path);
        return 0;
    } catch (const std::runtime_error& error) {
        platform::SystemStandardStreams().Write(platform::StandardStream::Error, error.what());
        return 1;
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const std::string tail = platform::CommandTail(argumentCount, arguments);
    const std::string path = tail.substr(tail.find(':') + 1);
    if (tail.starts_with(roles::kLoadNarrow)) return Load(path);
    if (tail.starts_with(roles::kLoadWide)) return Load(std::wstring(infra::Utf8ToWide(path).c_str()));
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
