#pragma once

namespace infra {

class Timer;

// What a Timer calls.
class AbstractTimerSink {
 public:
    // One tick of `timer`. What is thrown ends the process. The timer's Stop and Start must not be called in here: both
    // throw std::system_error, "device or resource busy".
    // Thread: the timer's own. Lock: the timer's, held; Stop on another thread waits for this to return.
    virtual void OnTimer(Timer& timer) = 0;

    virtual ~AbstractTimerSink() = default;
};

}  // namespace infra
