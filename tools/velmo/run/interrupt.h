#pragma once

namespace velmo_run {

// Ctrl-C, and what else asks this program to end in an orderly way. The first one is kept for Interrupted; the second
// ends the program at once, as it always did. Thread: any; one object at a time.
class InterruptWatch {
 public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    static bool Interrupted();
};

// While this lives, which should be for a moment, Ctrl-C means nothing to this program and is lost. A child that is
// started meanwhile goes on meaning nothing by it: a terminal tells everybody, but the child is ended by its parent,
// with its frames done. Inside an InterruptWatch.
class InterruptShield {
 public:
    InterruptShield();
    ~InterruptShield();
    InterruptShield(const InterruptShield&) = delete;
    InterruptShield& operator=(const InterruptShield&) = delete;
};

}  // namespace velmo_run
