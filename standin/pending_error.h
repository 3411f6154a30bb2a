#pragma once

#include <exception>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace standin {

// The text of a failure that the caller hasn't asked for yet. Nothing here throws. Lock: the owner's.
class PendingError {
 public:
    // Takes the text of an exception, behind "function: ". A text that is pending already stays: it is the cause, and
    // what fails behind it mostly a consequence.
    void Set(const char* function, const std::exception_ptr& exception) noexcept;

    void Reset() noexcept;

    [[nodiscard]] bool IsSet() const noexcept { return m_set; }

    // Empty when there is none.
    [[nodiscard]] std::string_view Text() const noexcept;

 private:
    std::string m_text;
    bool m_set = false;
    bool m_outOfMemory = false;  // even for the text
};

// The latest failed creation of an engine on each thread. It can't be thread-local data: its clean-up could run in a
// library that has been unloaded. Thread: any.
class CreationErrors {
 public:
    void Set(const char* function, const std::exception_ptr& exception) noexcept;
    void Reset() noexcept;
    [[nodiscard]] bool IsSet() noexcept;

    // A copy, since other threads write as well. Throws std::bad_alloc.
    [[nodiscard]] std::string Text();

 private:
    std::mutex m_mutex;
    std::map<std::thread::id, PendingError> m_errors;  // guarded by m_mutex
};

}  // namespace standin
