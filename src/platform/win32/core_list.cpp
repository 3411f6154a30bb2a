#include "platform/core_list.h"

#include <windows.h>

#include "platform/win32/system_function.h"

namespace platform {
namespace {

using Record = SYSTEM_LOGICAL_PROCESSOR_INFORMATION;
static_assert(sizeof(Record) == sizeof(ProcessorRelation));
static_assert(offsetof(Record, Relationship) == offsetof(ProcessorRelation, relationship));
static_assert(kRelationCore == RelationProcessorCore && kRelationCache == RelationCache);
static_assert(kInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER);

using ListFunction = BOOL(WINAPI*)(Record*, DWORD*);

ListFunction FindList() {
    return win32::FindSystemFunction<ListFunction>(L"kernel32", "GetLogicalProcessorInformation");
}

class SystemCalls final : public CoreList {
 public:
    bool Exists() override { return FindList() != nullptr; }

    std::uint32_t Read(std::span<std::byte> buffer, std::uint32_t& lengthBytes) override {
        // Memory that was allocated as bytes is aligned for every type; none at all is what the caller begins with.
        auto* const records = buffer.empty() ? nullptr : reinterpret_cast<Record*>(buffer.data());
        DWORD length = static_cast<DWORD>(buffer.size());
        const BOOL done = FindList()(records, &length);
        const DWORD error = done != 0 ? ERROR_SUCCESS : ::GetLastError();
        lengthBytes = length;
        return error;
    }
};

}  // namespace

CoreList& SystemCoreList() {
    static SystemCalls& calls = *new SystemCalls;  // never destroyed: destructors of globals may still come here
    return calls;
}

}  // namespace platform
