#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "platform/core_list.h"
#include "platform/cpuid.h"
#include "platform/processor_affinity.h"
#include "support/fake_releases.h"

namespace support {

// Processors with what they say of themselves, the system's list of them, and who may run where. Without anything set
// they say nothing: there is no instruction, no list, and one processor. Thread: one at a time.
class FakeProcessors final : public platform::Cpuid, public platform::CoreList, public platform::ProcessorAffinity {
 public:
    explicit FakeProcessors(CallLog& log) : m_log(log) {}

    // One answer to Read.
    struct ListAnswer {
        std::uint32_t error = 0;
        std::uint32_t lengthBytes = 0;
    };

    std::map<std::uint32_t, platform::CpuidRegisters> leaves;  // those that can be asked for
    std::map<int, std::uint8_t> apicIds;                       // of processors, for the byte of leaf 1; 0 for others
    std::optional<std::vector<std::byte>> list;                // nothing: there is no such call
    std::deque<ListAnswer> listAnswers;                        // these first, then as the list is
    std::uint32_t count = 1;
    std::optional<platform::ProcessorMasks> masks;  // nothing: the call fails
    std::set<std::uint64_t> refused;                // masks that the process can't be confined to
    std::function<void()> onTurn = [] {};           // when the turn is given up

    // The bytes of the brand in their leaves, at most 48, and leaves up to `highest`.
    void SetBrand(const std::string& brand, std::uint32_t highest = 0x80000004) {
        leaves[0x80000000].eax = highest;
        std::array<std::uint32_t, 12> words{};
        std::memcpy(words.data(), brand.data(), std::min(brand.size(), sizeof(words)));
        for (std::uint32_t leaf = 0; leaf < 3; ++leaf)
            leaves[0x80000002 + leaf] = {words[4 * leaf], words[4 * leaf + 1], words[4 * leaf + 2],
                                         words[4 * leaf + 3]};
    }

    // The vendor's name in leaf 0, 12 bytes.
    void SetVendor(const std::string& vendor) {
        std::array<std::uint32_t, 3> words{};
        std::memcpy(words.data(), vendor.data(), sizeof(words));
        leaves[0] = {1, words[0], words[2], words[1]};
    }

    // An Intel of family 15 with this many logical processors per package.
    void SetHyperThreading(std::uint32_t logicalPerPackage) {
        SetVendor("GenuineIntel");
        leaves[1] = {0x00000F00, logicalPerPackage << 16, 0, 1u << 28};
    }

    void SetList(const std::vector<platform::ProcessorRelation>& records) {
        const auto bytes = std::as_bytes(std::span(records));
        list.emplace(bytes.begin(), bytes.end());
    }

    std::optional<platform::CpuidRegisters> Ask(std::uint32_t leaf) override {
        constexpr char kDigits[] = "0123456789abcdef";
        std::string digits;
        for (std::uint32_t rest = leaf; digits.empty() || rest != 0; rest /= 16)
            digits.insert(digits.begin(), kDigits[rest % 16]);
        m_log.push_back("Cpuid " + digits);
        const auto found = leaves.find(leaf);
        if (found == leaves.end()) return std::nullopt;
        platform::CpuidRegisters registers = found->second;
        const auto id = apicIds.find(masks ? std::countr_zero(masks->process) : 0);
        if (leaf == 1 && id != apicIds.end()) registers.ebx |= std::uint32_t{id->second} << 24;
        return registers;
    }

    bool Exists() override {
        m_log.emplace_back("FindList");
        return list.has_value();
    }

    std::uint32_t Read(std::span<std::byte> buffer, std::uint32_t& lengthBytes) override {
        m_log.push_back("ReadList " + std::to_string(buffer.size()));
        if (!listAnswers.empty()) {
            const ListAnswer answer = listAnswers.front();
            listAnswers.pop_front();
            lengthBytes = answer.lengthBytes;
            return answer.error;
        }
        lengthBytes = static_cast<std::uint32_t>(list->size());
        if (buffer.size() < list->size()) return platform::kInsufficientBuffer;
        std::copy(list->begin(), list->end(), buffer.begin());
        return 0;
    }

    std::uint32_t ProcessorCount() override {
        m_log.emplace_back("ProcessorCount");
        return count;
    }

    bool ReadMasks(platform::ProcessorMasks& wanted) override {
        m_log.emplace_back("ReadMasks");
        if (!masks) return false;
        wanted = *masks;
        return true;
    }

    bool Confine(std::uint64_t processMask) override {
        m_log.push_back("Confine " + std::to_string(processMask));
        if (!masks || processMask == 0 || (processMask & ~masks->system) != 0) return false;
        if (refused.count(processMask) != 0) return false;
        masks->process = processMask;
        return true;
    }

    void GiveUpTurn() override {
        m_log.emplace_back("GiveUpTurn");
        onTurn();
    }

 private:
    CallLog& m_log;
};

}  // namespace support
