#include "standin/pending_error.h"

#include <cstddef>

namespace standin {
namespace {

constexpr std::string_view kOutOfMemory = "The inference library ran out of memory.";

// Threads that failed and then ended without asking leave their text behind. This bounds it.
constexpr std::size_t kMostThreads = 1000;

}  // namespace

void PendingError::Set(const char* function, const std::exception_ptr& exception) noexcept {
    if (m_set) return;
    m_set = true;
    m_outOfMemory = false;
    try {
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& error) {
            m_text = std::string(function) + ": " + error.what();
        } catch (...) {
            m_text = std::string(function) + ": failed without a reason";
        }
    } catch (...) {
        m_outOfMemory = true;
    }
}

void PendingError::Reset() noexcept {
    m_set = false;
    m_text.clear();
}

std::string_view PendingError::Text() const noexcept {
    if (!m_set) return {};
    return m_outOfMemory ? kOutOfMemory : std::string_view(m_text);
}

void CreationErrors::Set(const char* function, const std::exception_ptr& exception) noexcept {
    try {
        const std::lock_guard lock(m_mutex);
        if (m_errors.size() >= kMostThreads) m_errors.clear();
        PendingError& error = m_errors[std::this_thread::get_id()];
        error.Reset();
        error.Set(function, exception);
    } catch (...) {  // NOLINT(bugprone-empty-catch): no memory for a note, and nobody to tell; the null handle tells
    }
}

void CreationErrors::Reset() noexcept {
    try {
        const std::lock_guard lock(m_mutex);
        m_errors.erase(std::this_thread::get_id());
    } catch (...) {  // NOLINT(bugprone-empty-catch): a mutex that can't be locked guards nothing that anybody reads
    }
}

bool CreationErrors::IsSet() noexcept {
    try {
        const std::lock_guard lock(m_mutex);
        return m_errors.count(std::this_thread::get_id()) != 0;
    } catch (...) {
        return false;
    }
}

std::string CreationErrors::Text() {
    const std::lock_guard lock(m_mutex);
    const auto found = m_errors.find(std::this_thread::get_id());
    return found == m_errors.end() ? std::string() : std::string(found->second.Text());
}

}  // namespace standin
