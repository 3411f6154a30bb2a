#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "ipc/channels.h"
#include "support/fake_child_processes.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"
#include "support/std_threads.h"
#include "support/watchdog.h"
#include "velmo_parent/link.h"

namespace velmo_parent {

// The process's ends of the channels of a link called "id", over objects inside this program.
class ProcessSide : public testing::Test {
 protected:
    // In the process's order.
    void OpenProcessSide() {
        ASSERT_TRUE(m_commands.Open("idC"));
        ASSERT_TRUE(m_frames.Open("idFI"));
        ASSERT_TRUE(m_events.Open("idE"));
        ASSERT_TRUE(m_results.Open("idFO"));
        ASSERT_TRUE(m_logs.Open("idL"));
    }
    bool SendEvent(const std::function<void(calyr_ipc::EventSlot&)>& writer) {
        return m_events.Send(writer, false, kPatienceMs);
    }
    bool SendHeartBeat() {
        return SendEvent([](calyr_ipc::EventSlot& slot) { slot.index = 1; });
    }
    bool SendInitAnswer(std::int32_t result, std::uint32_t processId = 0) {
        return SendEvent([&](calyr_ipc::EventSlot& slot) {
            slot.As<calyr_ipc::IpcEventOnInit>() = {{1, 0}, processId, result};
            slot.index = 0;
        });
    }
    // The index of the next command, -1 when there is none.
    std::int8_t NextCommand(std::uint32_t timeoutMs = kPatienceMs) {
        std::int8_t index = -1;
        m_commands.Receive([&](const calyr_ipc::CommandSlot& slot) { index = slot.index; }, timeoutMs);
        return index;
    }
    bool Log(const std::string& text) {
        return m_logs.Send(
            [&](calyr_ipc::IpcLogChunk& chunk) {
                const std::uint32_t level = 2;
                chunk.flags = 3;
                chunk.length = static_cast<std::uint32_t>(4 + text.size());
                std::memcpy(chunk.payload, &level, 4);
                std::memcpy(chunk.payload + 4, text.data(), text.size());
            },
            false, kPatienceMs);
    }

    static constexpr std::uint32_t kPatienceMs = 60000;

    const support::Watchdog m_watchdog;
    support::FakeKernelObjects m_os;
    support::StdThreads m_threads;
    support::RecordingStreams m_streams;
    support::FakeChildProcesses m_children;
    Link::Seams m_seams{m_os, m_threads, m_children};
    calyr_ipc::CommandChannel m_commands{ipc::kReceives, m_os, m_streams};
    calyr_ipc::InputChannel m_frames{ipc::kReceives, m_os, m_streams};
    calyr_ipc::EventChannel m_events{ipc::kSends, m_os, m_streams};
    calyr_ipc::OutputChannel m_results{ipc::kSends, m_os, m_streams};
    calyr_ipc::LogChannel m_logs{ipc::kSends, m_os, m_streams};
};

}  // namespace velmo_parent
