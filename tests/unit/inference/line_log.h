#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "infra/logger.h"

namespace inference_tests {

// Takes the process's log lines. Thread: any.
class LineLog final : public rvo_calyr::IRvoCalyrTraceSink {
 public:
    LineLog() { rvo_calyr::g_logger.SetTraceSink(this); }
    ~LineLog() override { rvo_calyr::g_logger.SetTraceSink(nullptr); }
    LineLog(const LineLog&) = delete;
    LineLog& operator=(const LineLog&) = delete;

    std::int32_t OnTrace(std::uint32_t level, const char* text) override {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(std::to_string(level) + " " + text);
        return 0;
    }

    // The lines since the last call as they came, the level in front.
    std::vector<std::string> TakeWhole() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_lines, {});
    }

    // The same without what all lines of an object have: "[RVO_CALYR]" in front, and " [this=...]" with the low half of
    // the object's address at the end. Both have to be there.
    std::vector<std::string> Take(const void* object) {
        char suffix[32];
        (void)std::snprintf(suffix, sizeof(suffix), " [this=0x%x]",
                            static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(object) & 0xFFFFFFFFU));
        const std::string_view end = suffix;
        const std::string_view tag = "[RVO_CALYR]";
        std::vector<std::string> lines = TakeWhole();
        for (std::string& line : lines) {
            EXPECT_EQ(line.substr(2, tag.size()), tag);
            EXPECT_TRUE(line.ends_with(end)) << line << " should end with" << end;
            if (line.substr(2, tag.size()) != tag || !line.ends_with(end)) continue;
            line = line.substr(0, 2) + line.substr(2 + tag.size(), line.size() - 2 - tag.size() - end.size());
        }
        return lines;
    }

 private:
    std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

}  // namespace inference_tests
