#include "platform/posix/file_event.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <new>

#include "platform/posix/deadline.h"
#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

constexpr std::uint32_t kUnsignalled = 0;
constexpr std::uint32_t kSignalled = 1;

// Two users of one event in one process see its word at two addresses. The language knows no order between operations
// on different addresses, and a race detector neither, so what one thread did before Set would not be known to come
// before what another does after Wait. One more atomic per event, found by the file, carries that order within the
// process.
std::array<std::atomic<std::uint32_t>, 256> g_order;

std::atomic<std::uint32_t>& OrderOf(const ObjectFile& file) {
    return g_order[file.Identity() % g_order.size()];
}

// Not the private kind of wait: the word's waiters are found by the file's page, in whichever process they are.
long Futex(std::uint32_t* word, int operation, std::uint32_t value, const timespec* moment) {
    return ::syscall(SYS_futex, word, operation, value, moment, nullptr, FUTEX_BITSET_MATCH_ANY);
}

}  // namespace

std::unique_ptr<FileEvent> FileEvent::Attach(ObjectFile file) {
    std::unique_ptr<FileEvent> event(new FileEvent(std::move(file)));
    const std::optional<std::uint64_t> bytes = event->m_file.Bytes();
    if (!bytes) return nullptr;
    if (*bytes < kFileBytes) {
        SetLastError(EINVAL);
        return nullptr;
    }
    if (!event->m_view.Map(event->m_file.Descriptor(), kFileBytes, MappingAccess::ReadWrite)) {
        SetLastError(errno);
        return nullptr;
    }
    // The page was filled by the system, not by a constructor; the word is an integer from its first byte on.
    void* const begin = event->m_view.Begin();
    event->m_word = static_cast<std::uint32_t*>(begin);
    return event;
}

bool FileEvent::Set() {
    OrderOf(m_file).fetch_add(1, std::memory_order_release);
    std::atomic_ref<std::uint32_t>(*m_word).exchange(kSignalled);
    // Also when the event was set already: a waiter that was woken for that signal may have been killed before it took
    // it, and then somebody else has to be woken.
    if (Futex(m_word, FUTEX_WAKE, 1, nullptr) == -1) {
        SetLastError(errno);
        return false;
    }
    return true;
}

bool FileEvent::TakeSignal() {
    const std::atomic_ref<std::uint32_t> word(*m_word);
    // Whatever is not "unsignalled" counts: a sleep begins at that word alone, so one that is neither signal nor its
    // absence would let nobody sleep and nobody through.
    std::uint32_t seen = word.load();
    do {
        if (seen == kUnsignalled) return false;
    } while (!word.compare_exchange_weak(seen, kUnsignalled));
    (void)OrderOf(m_file).load(std::memory_order_acquire);  // for the order alone
    return true;
}

WaitResult FileEvent::Wait(std::uint32_t timeoutMs) {
    if (TakeSignal()) return WaitResult::Signalled;
    if (timeoutMs == 0) return WaitResult::TimedOut;
    const Deadline deadline(timeoutMs);
    for (;;) {
        const long result = Futex(m_word, FUTEX_WAIT_BITSET, kUnsignalled, deadline.Moment());
        const int error = result == -1 ? errno : 0;
        if (TakeSignal()) return WaitResult::Signalled;  // also at the last moment
        switch (error) {
            case 0:       // woken, but somebody else was faster
            case EAGAIN:  // signalled and taken in between
            case EINTR:
                // The system looks at the time only when it sleeps, and need never sleep beside busy neighbours.
                if (deadline.HasPassed()) return WaitResult::TimedOut;
                break;
            case ETIMEDOUT:
                return WaitResult::TimedOut;
            default:
                SetLastError(error);
                return WaitResult::Failed;
        }
    }
}

}  // namespace platform::posix
