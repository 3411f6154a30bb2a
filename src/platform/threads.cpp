#include "platform/threads.h"

#include <system_error>
#include <thread>
#include <utility>

namespace platform {
namespace {

class StandardThread final : public Thread {
 public:
    explicit StandardThread(std::function<void()> body) : m_thread(std::move(body)) {}

    bool Join() override {
        try {
            m_thread.join();
            return true;
        } catch (const std::system_error&) {
            return false;  // from the thread itself, or a second time
        }
    }

    bool IsCurrent() const override { return m_thread.get_id() == std::this_thread::get_id(); }

 private:
    std::thread m_thread;
};

class StandardThreads final : public Threads {
 public:
    std::unique_ptr<Thread> Start(std::function<void()> body) override {
        try {
            return std::make_unique<StandardThread>(std::move(body));
        } catch (const std::system_error&) {
            return nullptr;
        }
    }
};

}  // namespace

Threads& SystemThreads() {
    static StandardThreads& threads =
        *new StandardThreads;  // never destroyed: destructors of globals may still come here
    return threads;
}

}  // namespace platform
