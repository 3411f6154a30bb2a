#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "call_text.h"
#include "library.h"

namespace hvq_double {

// One call of an exported function: counted, recorded and held up as the script says. From then on it has the library
// to itself for as long as it lives. Allocates nothing when the record is off and no rule is about the call.
class Turn {
 public:
    // `arguments` are those behind the engine, in the forms of call_text.h.
    template <typename... Arguments>
    Turn(Function function, const void* engine, Arguments... arguments) : Turn(function) {
        if (m_isRecorded) {
            std::string text = BeginText(engine);
            (Append(text, arguments), ...);
            m_library.Record(std::move(text));
        }
        HoldUp();
        Decide(engine);
    }

    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    // The call is to fail: its text is pending already, and there is nothing to do.
    bool Fails() const { return m_fails; }

    // The call is to give null.
    bool GivesNull() const { return m_givesNull; }

    // What the script wants instead of `own`.
    std::int32_t Answer(std::int32_t own) const;
    std::uint64_t Answer(std::uint64_t own) const;

    // Writes `own`, or what the script wants instead as the result at `position`; or nothing, if that is what it wants.
    // `result` may be null.
    void Write(std::int32_t* result, std::size_t position, std::int32_t own) const;

    // The same for a function with one result.
    void Write(std::uint64_t* result, std::uint64_t own) const;

    // Makes `text` pending: for the engine, unless a text is pending already; or for this thread's creations when there
    // is no engine.
    void Complain(const std::string& text);

    // What is pending, in the same sense; null for nothing. Good for the length of the turn.
    const std::string* Pending() const;
    void ResetPending();

    // Null when the caller's is null or unknown.
    Engine* engine() const { return m_engine; }

    // The engine's network; null, with a complaint, when there is none.
    Network* NetworkOrComplaint();

    Scenario& scenario() const { return m_library.m_scenario; }

    // Of creation and destruction.
    void* AddEngine();
    void RemoveEngine(const void* engine);
    // Why there can't be an engine: a script file that can't be understood. Null when there can.
    const std::string* Obstacle() const { return m_library.m_obstacle ? &*m_library.m_obstacle : nullptr; }

    void InferOnce(Network& network);
    void KeepInput(const Tensor& tensor);

 private:
    explicit Turn(Function function);
    std::string BeginText(const void* engine) const;
    void HoldUp();
    // The script's answer to this call; null when there is none.
    const Rule* AnswerRule() const;
    void Decide(const void* engine);

    Library& m_library;
    std::unique_lock<std::mutex> m_lock;
    std::size_t m_function;
    std::uint64_t m_call;  // which call of this function it is, from 1
    bool m_isRecorded;
    bool m_fails = false;
    bool m_givesNull = false;
    Engine* m_engine = nullptr;
};

}  // namespace hvq_double
