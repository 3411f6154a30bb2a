#pragma once

namespace velmo_parent {

// Marks the calling thread as being inside a callback, or a writer, of the object `owner`, so that operations which
// would wait for themselves can tell. Thread: each has its own marks.
class CallbackScope {
 public:
    enum class Kind { None, Writer, Callback, Ended };

    CallbackScope(const void* owner, Kind kind) : m_owner(owner), m_kind(kind), m_outer(t_innermost) {
        t_innermost = this;
    }
    ~CallbackScope() { t_innermost = m_outer; }
    CallbackScope(const CallbackScope&) = delete;
    CallbackScope& operator=(const CallbackScope&) = delete;

    // The innermost one of this owner's that the calling thread is in.
    static Kind Of(const void* owner) {
        for (const CallbackScope* scope = t_innermost; scope != nullptr; scope = scope->m_outer) {
            if (scope->m_owner == owner) return scope->m_kind;
        }
        return Kind::None;
    }

 private:
    static inline thread_local const CallbackScope* t_innermost = nullptr;

    const void* m_owner;
    Kind m_kind;
    const CallbackScope* m_outer;
};

}  // namespace velmo_parent
