#include "platform/threads.h"

#include <exception>
#include <system_error>
#include <thread>
#include <utility>

namespace platform {
namespace {

class StandardThread final : public Thread {
 public:
    // Some run-times keep a terminate handler per thread: the new thread gets its maker's.
    explicit StandardThread(std::function<void()> body)
        : m_thread([body = std::move(body), onTerminate = std::get_terminate()] {
              std::set_terminate(onTerminate);
              body();
          }) {}

    bool Join() override {
        if (IsCurrent()) return false;  // not asked of the system: a thread sanitizer would take the thread for joined
        try {
            m_thread.join();
            return true;
        } catch (const std::system_error&) {
            return false;  // a second time
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
    static StandardThreads& threads = *new StandardThreads;  // never destroyed, as destructors of globals may come here
    return threads;
}

}  // namespace platform
