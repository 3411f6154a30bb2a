#include "platform/string_resources.h"

#include <windows.h>

namespace platform {
namespace {

class ModuleStrings final : public StringResources {
 public:
    int Load(void* instance, std::uint32_t id, wchar_t* buffer, int capacity) override {
        // A capacity of 0 would have the system write a pointer into the buffer.
        if (buffer == nullptr || capacity <= 0) return 0;
        *buffer = L'\0';
        return ::LoadStringW(static_cast<HINSTANCE>(instance), id, buffer, capacity);
    }
};

}  // namespace

StringResources& SystemStringResources() {
    static ModuleStrings& strings = *new ModuleStrings;  // never destroyed: destructors of globals may still come here
    return strings;
}

}  // namespace platform
