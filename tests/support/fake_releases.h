#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/version_blocks.h"
#include "platform/version_sources.h"

namespace support {

using CallLog = std::vector<std::string>;

// For logs: only ASCII comes here.
inline std::string PlainText(const std::wstring& text) {
    std::string plain;
    for (const wchar_t one : text)
        plain += static_cast<char>(one);
    return plain;
}

struct FakeVersion {
    std::uint32_t platformId = 0;
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
};

// A release of Windows that tells its version in three places, or fails to. Thread: one at a time.
class FakeReleases final : public platform::VersionSources, public platform::VersionBlocks {
 public:
    explicit FakeReleases(CallLog& log) : m_log(log) {}

    std::optional<FakeVersion> reported;        // nothing: the call fails
    bool knowsLongRecord = true;                // false: only the short one succeeds
    std::optional<FakeVersion> real;            // nothing: there is no such call
    std::int32_t realStatus = 0;                // its status; with another than 0 it writes all the same
    std::optional<std::uint16_t> architecture;  // nothing: there is no such call
    std::wstring folder = L"C:\\Windows";       // empty: the call fails
    std::uint32_t blockBytes = 0;               // 0: there is no block
    bool blockIsReadable = true;
    std::optional<platform::ProductVersion> product;  // nothing: not in the block
    platform::VersionRecord seenRecord;               // what the latest version call was given
    bool blockWasZero = false;                        // when it was handed over to be read into

    bool ReportedVersion(platform::VersionRecord& record) override {
        m_log.push_back("ReportedVersion " + std::to_string(record.recordBytes));
        seenRecord = record;
        if (!reported || (!knowsLongRecord && record.recordBytes != platform::kShortVersionRecordBytes)) return false;
        Fill(record, *reported);
        return true;
    }

    bool HasRtlVersion() override {
        m_log.emplace_back("HasRtlVersion");
        return real.has_value();
    }

    std::int32_t RtlVersion(platform::VersionRecord& record) override {
        m_log.push_back("RtlVersion " + std::to_string(record.recordBytes));
        seenRecord = record;
        Fill(record, real.value());
        return realStatus;
    }

    bool HasNativeArchitecture() override {
        m_log.emplace_back("HasNativeArchitecture");
        return architecture.has_value();
    }

    std::uint16_t NativeArchitecture() override {
        m_log.emplace_back("NativeArchitecture");
        return architecture.value();
    }

    std::uint32_t SystemFolder(std::span<wchar_t> buffer) override {
        m_log.push_back("SystemFolder " + std::to_string(buffer.size()));
        if (folder.size() >= buffer.size()) {
            std::fill(buffer.begin(), buffer.end(), L'x');  // what stands there then is up to the system
            return static_cast<std::uint32_t>(folder.size() + 1);
        }
        std::copy(folder.begin(), folder.end(), buffer.begin());
        return static_cast<std::uint32_t>(folder.size());
    }

    std::uint32_t BlockBytes(const std::wstring& path) override {
        m_log.push_back("BlockBytes " + PlainText(path));
        return blockBytes;
    }

    bool ReadBlock(const std::wstring& path, std::span<std::byte> block) override {
        m_log.push_back("ReadBlock " + PlainText(path) + " " + std::to_string(block.size()));
        blockWasZero = std::all_of(block.begin(), block.end(), [](std::byte one) { return one == std::byte{0}; });
        std::fill(block.begin(), block.end(), std::byte{0xB1});
        return blockIsReadable;
    }

    bool FindProductVersion(std::span<const std::byte> block, platform::ProductVersion& version) override {
        m_log.push_back("FindProductVersion " + std::to_string(block.size()));
        if (!product) return false;
        version = *product;
        return true;
    }

 private:
    static void Fill(platform::VersionRecord& record, const FakeVersion& version) {
        record.platformId = version.platformId;
        record.major = version.major;
        record.minor = version.minor;
        record.build = version.build;
    }

    CallLog& m_log;
};

}  // namespace support
