#include "platform/string_resources.h"

namespace platform {
namespace {

class NoStringTables final : public StringResources {
 public:
    int Load(void* /*instance*/, std::uint32_t /*id*/, wchar_t* buffer, int capacity) override {
        if (buffer != nullptr && capacity > 0) *buffer = L'\0';
        return 0;
    }
};

}  // namespace

StringResources& SystemStringResources() {
    static NoStringTables& tables = *new NoStringTables;  // never destroyed: destructors of globals may still come here
    return tables;
}

}  // namespace platform
