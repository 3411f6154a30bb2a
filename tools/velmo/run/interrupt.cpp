#include "velmo_run/interrupt.h"

#include <atomic>
#include <csignal>

namespace velmo_run {
namespace {

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);  // or a handler might not touch it

extern "C" void OnInterrupt(int signal) {
    g_interrupted = true;
    (void)std::signal(signal, SIG_DFL);
}

}  // namespace

InterruptWatch::InterruptWatch() {
    g_interrupted = false;
    (void)std::signal(SIGINT, OnInterrupt);
    (void)std::signal(SIGTERM, OnInterrupt);
}

InterruptWatch::~InterruptWatch() {
    (void)std::signal(SIGINT, SIG_DFL);
    (void)std::signal(SIGTERM, SIG_DFL);
}

bool InterruptWatch::Interrupted() {
    return g_interrupted;
}

InterruptShield::InterruptShield() {
    (void)std::signal(SIGINT, SIG_IGN);
}

InterruptShield::~InterruptShield() {
    // Behind the first interrupt the second one ends this program.
    (void)std::signal(SIGINT, InterruptWatch::Interrupted() ? SIG_DFL : OnInterrupt);
}

}  // namespace velmo_run
