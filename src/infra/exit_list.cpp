#include "infra/exit_list.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <mutex>

namespace infra {
namespace {

// Far more than a process has of such objects, and no memory to ask for.
struct ExitList {
    std::mutex mutex;  // guards the rest
    std::array<void (*)(), 64> calls{};
    std::size_t count = 0;
    bool isHandler = false;  // the exit handler that runs the list stands
};

ExitList& TheList() {
    static ExitList& list = *new ExitList;  // never destroyed: exit handlers use it
    return list;
}

}  // namespace

void AtProcessEnd(void (*last)()) noexcept {
    ExitList& list = TheList();
    const std::lock_guard lock(list.mutex);
    if (!list.isHandler) list.isHandler = std::atexit([] { RunExitList(); }) == 0;
    if (list.count < list.calls.size()) list.calls[list.count++] = last;  // else the object just stays
}

void RunExitList() noexcept {
    ExitList& list = TheList();
    for (;;) {
        void (*call)() = nullptr;
        {
            const std::lock_guard lock(list.mutex);
            if (list.count == 0) return;
            call = list.calls[--list.count];
        }
        call();
    }
}

}  // namespace infra
