#include "platform/registry_keys.h"

#include "platform/posix/processor_files.h"

namespace platform {
namespace {

class ProcessorKey final : public RegistryKey {
 public:
    bool ReadNumber(const std::wstring& name, std::uint32_t& number) override {
        if (name != L"~MHz") return false;
        const std::uint32_t mhz = posix::NominalMhz(posix::kProcessorFolder, posix::kProcessorInfoFile);
        if (mhz != 0) number = mhz;
        return mhz != 0;
    }
};

class ProcessorKeys final : public RegistryKeys {
 public:
    std::unique_ptr<RegistryKey> OpenMachineKey(const std::wstring& path, std::uint32_t /*accessMask*/) override {
        if (path != L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0") return nullptr;
        return std::make_unique<ProcessorKey>();
    }
};

}  // namespace

RegistryKeys& SystemRegistryKeys() {
    static ProcessorKeys& keys = *new ProcessorKeys;  // never destroyed: destructors of globals may still come here
    return keys;
}

}  // namespace platform
