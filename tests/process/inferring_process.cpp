#include "inferring_process.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

#include "ipc/channels.h"

namespace process_tests {

using velmo_parent::SendResult;

void InferringProcess::StartProcess() {
    const velmo_parent::Outcome opened = m_link.Open();
    ASSERT_TRUE(opened) << opened.Why();
    // Once the log channel is gone, what the process says goes to its output.
    const velmo_parent::Outcome started = m_link.StartProcess({ProcessProgram(), {}, m_output.Path(), m_error.Path()});
    ASSERT_TRUE(started) << started.Why();
}

std::int32_t InferringProcess::Init(std::int32_t modelType, std::int32_t quality, std::int32_t device,
                                    const std::string& engineFolder, const std::string& modelFolder) {
    const std::size_t before = m_recorder.Inits().size();
    EXPECT_EQ(m_link.Init({.deviceType = device,
                           .modelQuality = quality,
                           .modelType = modelType,
                           .modelPath = modelFolder,
                           .enginePath = engineFolder}),
              SendResult::Sent);
    EXPECT_TRUE(m_recorder.AwaitInits(before + 1));
    const auto inits = m_recorder.Inits();
    return inits.size() > before ? inits.back().result : -1000;
}

SendResult InferringProcess::TrySubmit(const std::vector<std::uint8_t>& planes, Size size, Skipping skipping) {
    EXPECT_EQ(planes.size(), 3 * size.Pixels());
    return m_link.SubmitFrame([&](calyr_ipc::InputSlot& slot) {
        auto& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
        record.temporalEnabled = skipping == Skipping::On ? 1 : 0;
        record.dataSize = static_cast<std::uint32_t>(planes.size());
        std::copy(planes.begin(), planes.end(), record.data);
        record.header = {};
        record.header.width = size.width;
        record.header.height = size.height;
        slot.index = 0;
    });
}

void InferringProcess::Submit(const std::vector<std::uint8_t>& planes, Size size, Skipping skipping) {
    ASSERT_TRUE(m_pace.AwaitRoom());
    for (;;) {
        const SendResult result = TrySubmit(planes, size, skipping);
        ASSERT_NE(result, SendResult::Closed);
        if (result == SendResult::Sent) return;
        std::this_thread::yield();
    }
}

std::vector<std::string> InferringProcess::LogTexts() const {
    std::vector<std::string> texts;
    for (const velmo_parent::LogLine& line : m_recorder.Lines())
        texts.push_back(line.text);
    return texts;
}

void InferringProcess::ExpectExit(std::int32_t code) {
    const auto exit = m_link.WaitForExit(kPatienceMs);
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code, code);
    EXPECT_THAT(m_recorder.Damages(), ::testing::IsEmpty());
}

void InferringProcess::ExpectAGoodEnd() {
    (void)m_link.Terminate();
    ExpectExit(0);
}

}  // namespace process_tests
