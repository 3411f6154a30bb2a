#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/child_process.h"

namespace support {

// Children that do what a test says. Time runs fast for them: a wait that runs out takes a millisecond, however long it
// was to be. Thread: any, but `refusal` is set before the first start and `starts` read behind the last; it must
// outlive its children.
class FakeChildProcesses final : public platform::ChildProcesses {
 public:
    static constexpr std::uint32_t kId = 4711;

    std::unique_ptr<platform::ChildProcess> Start(const platform::ChildStart& start, std::string& error) override {
        const std::lock_guard lock(m_mutex);
        starts.push_back(start);
        if (!refusal.empty()) {
            error = refusal;
            return nullptr;
        }
        return std::make_unique<Child>(*this);
    }

    // All children have ended so.
    void End(const platform::ChildExit& exit) {
        const std::lock_guard lock(m_mutex);
        m_exit = exit;
    }
    // Time limit of the latest wait.
    std::uint32_t WaitedMs() const {
        const std::lock_guard lock(m_mutex);
        return m_waitedMs;
    }
    int Kills() const {
        const std::lock_guard lock(m_mutex);
        return m_kills;
    }

    std::vector<platform::ChildStart> starts;
    std::string refusal;  // why none can be started; "" when they can

 private:
    class Child final : public platform::ChildProcess {
     public:
        explicit Child(FakeChildProcesses& owner) : m_owner(owner) {}
        std::uint32_t Id() const override { return kId; }
        std::optional<platform::ChildExit> WaitForExit(std::uint32_t timeoutMs) override {
            {
                const std::lock_guard lock(m_owner.m_mutex);
                m_owner.m_waitedMs = timeoutMs;
                if (m_owner.m_exit) return m_owner.m_exit;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return std::nullopt;
        }
        void Kill() override {
            const std::lock_guard lock(m_owner.m_mutex);
            ++m_owner.m_kills;
        }

     private:
        FakeChildProcesses& m_owner;
    };

    mutable std::mutex m_mutex;  // guards what follows
    std::optional<platform::ChildExit> m_exit;
    std::uint32_t m_waitedMs = 0;
    int m_kills = 0;
};

}  // namespace support
