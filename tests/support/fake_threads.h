#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/threads.h"

namespace support {

// Threads that run, and fail on demand; or that only hold their bodies, which the test then runs itself.
// Outlives the threads that it started. Thread: any, but for RunHeld.
class FakeThreads final : public platform::Threads {
 public:
    // The next Start gives null.
    void RefuseNextStart() {
        const std::lock_guard lock(m_facts->mutex);
        m_facts->refuseNextStart = true;
    }

    // The next Join fails; the thread stays attached and can be joined later.
    void FailNextJoin() {
        const std::lock_guard lock(m_facts->mutex);
        m_facts->failNextJoin = true;
    }

    // Whether each thread takes any other for itself.
    void ClaimToBeCurrent(bool claims) {
        const std::lock_guard lock(m_facts->mutex);
        m_facts->claimsToBeCurrent = claims;
    }

    // From now on bodies are kept and not run.
    void HoldBodies() {
        const std::lock_guard lock(m_facts->mutex);
        m_facts->holdsBodies = true;
    }

    // Runs the oldest body kept, on the calling thread; what it throws is passed on. False when there is none.
    bool RunHeld() {
        std::function<void()> body;
        {
            const std::lock_guard lock(m_facts->mutex);
            if (m_facts->held.empty()) {
                return false;
            }
            body = std::move(m_facts->held.front());
            m_facts->held.erase(m_facts->held.begin());
        }
        body();
        return true;
    }

    std::int32_t StartedCount() const {
        const std::lock_guard lock(m_facts->mutex);
        return m_facts->started;
    }

    // Successful joins.
    std::int32_t JoinedCount() const {
        const std::lock_guard lock(m_facts->mutex);
        return m_facts->joined;
    }

    std::unique_ptr<platform::Thread> Start(std::function<void()> body) override {
        const std::lock_guard lock(m_facts->mutex);
        if (std::exchange(m_facts->refuseNextStart, false)) {
            return nullptr;
        }
        ++m_facts->started;
        if (m_facts->holdsBodies) {
            m_facts->held.push_back(std::move(body));
            return std::make_unique<FakeThread>(m_facts, std::thread());
        }
        return std::make_unique<FakeThread>(m_facts, std::thread(std::move(body)));
    }

 private:
    struct Facts {
        std::mutex mutex;
        bool refuseNextStart = false;
        bool failNextJoin = false;
        bool claimsToBeCurrent = false;
        bool holdsBodies = false;
        std::vector<std::function<void()>> held;
        std::int32_t started = 0;
        std::int32_t joined = 0;
    };

    class FakeThread final : public platform::Thread {
     public:
        FakeThread(std::shared_ptr<Facts> facts, std::thread thread)
            : m_facts(std::move(facts)), m_thread(std::move(thread)) {}

        bool Join() override {
            {
                const std::lock_guard lock(m_facts->mutex);
                if (std::exchange(m_facts->failNextJoin, false)) {
                    return false;
                }
            }
            if (m_thread.joinable()) {
                m_thread.join();
            }
            const std::lock_guard lock(m_facts->mutex);
            ++m_facts->joined;
            return true;
        }

        bool IsCurrent() const override {
            const std::lock_guard lock(m_facts->mutex);
            return m_facts->claimsToBeCurrent || m_thread.get_id() == std::this_thread::get_id();
        }

     private:
        std::shared_ptr<Facts> m_facts;
        std::thread m_thread;  // none when the body is held; ends the process when it is destroyed unjoined
    };

    std::shared_ptr<Facts> m_facts = std::make_shared<Facts>();
};

}  // namespace support
