#include "infra/log_line.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace rvo_calyr {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

// Takes the process's lines as long as it stands.
class LogLines : public testing::Test, public IRvoCalyrTraceSink {
 protected:
    LogLines() { g_logger.SetTraceSink(this); }
    ~LogLines() override { g_logger.SetTraceSink(nullptr); }

    std::int32_t OnTrace(std::uint32_t level, const char* text) override {
        m_lines.emplace_back(level, text);
        return 0;
    }

    std::vector<std::pair<std::uint32_t, std::string>> m_lines;
    const void* const m_object = reinterpret_cast<const void*>(std::uintptr_t{0x2a1f3c40});
};

TEST_F(LogLines, HaveTagMessageValuesAndObject) {
    LogLine("RvoCalyrMlHost::Init() fail, error model type")
        .Value("option.modelType", 3)
        .This(m_object)
        .Log(kErrorLevel);

    EXPECT_THAT(m_lines, ElementsAre(Pair(0,
                                          "[RVO_CALYR]RvoCalyrMlHost::Init() fail, error model type, "
                                          "option.modelType=3 [this=0x2a1f3c40]")));
}

TEST_F(LogLines, DoWithoutValues) {
    LogLine("RvoCalyrMlHost::OnTimer() heart beat timeout, will terminate process").This(m_object).Log(kInfoLevel);

    EXPECT_THAT(m_lines,
                ElementsAre(Pair(2,
                                 "[RVO_CALYR]RvoCalyrMlHost::OnTimer() heart beat timeout, will terminate process "
                                 "[this=0x2a1f3c40]")));
}

TEST_F(LogLines, DoWithoutAnObject) {
    LogLine("calyrhost init ipc fail").Value("cmdLine", " id ").Value("ipcId", std::string("id")).Log(kErrorLevel);

    EXPECT_THAT(m_lines, ElementsAre(Pair(0, "[RVO_CALYR]calyrhost init ipc fail, cmdLine= id , ipcId=id")));
}

TEST_F(LogLines, AreCutAt1023CharsFromTheObjectOn) {
    const std::string tag = "[RVO_CALYR]";
    const std::string object = " [this=0x2a1f3c40]";
    const std::size_t room = 1023 - tag.size();
    for (std::size_t lost = 0; lost <= object.size() + 1; ++lost) {
        SCOPED_TRACE(lost);
        const std::string message(room - object.size() + lost, 'x');

        LogLine(message.c_str()).This(m_object).Log(kInfoLevel);

        EXPECT_EQ(m_lines.back().second, (tag + message + object).substr(0, 1023));
    }
    EXPECT_EQ(m_lines.back().second, tag + std::string(room, 'x'));
}

}  // namespace
}  // namespace rvo_calyr
