#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

#include "platform/threads.h"

namespace support {

// Real threads, with failures on demand. Thread: one at a time, and it must outlive its threads.
class StdThreads : public platform::Threads {
 public:
    std::unique_ptr<platform::Thread> Start(std::function<void()> body) override {
        if (m_failNextStart.exchange(false)) return nullptr;
        ++m_started;
        return std::make_unique<Joinable>(*this, std::move(body));
    }

    // The next Start gives no thread.
    void FailNextStart() { m_failNextStart = true; }
    // The next Join answers false and leaves the thread attached.
    void FailNextJoin() { m_failNextJoin = true; }
    // Threads started so far.
    int Started() const { return m_started; }
    // Successful joins so far.
    int Joined() const { return m_joined; }

 private:
    class Joinable : public platform::Thread {
     public:
        Joinable(StdThreads& owner, std::function<void()> body) : m_owner(owner), m_thread(std::move(body)) {}
        ~Joinable() override = default;  // a thread that is still attached ends the process

        bool Join() override {
            if (m_owner.m_failNextJoin.exchange(false)) return false;
            m_thread.join();
            ++m_owner.m_joined;
            return true;
        }
        bool IsCurrent() const override { return m_thread.get_id() == std::this_thread::get_id(); }

     private:
        StdThreads& m_owner;
        std::thread m_thread;
    };

    std::atomic<bool> m_failNextStart{false};
    std::atomic<bool> m_failNextJoin{false};
    std::atomic<int> m_started{0};
    std::atomic<int> m_joined{0};
};

}  // namespace support
