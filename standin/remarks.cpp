#include "standin/remarks.h"

namespace standin {

void Remarks::SetCallback(HvqLogCallback callback, void* context) {
    const std::lock_guard lock(m_mutex);
    m_callback = callback;
    m_context = context;
}

void Remarks::Say(Severity severity, const std::string& text) noexcept {
    try {
        const std::lock_guard lock(m_mutex);
        if (m_callback != nullptr) m_callback(m_context, static_cast<std::int32_t>(severity), text.c_str());
    } catch (...) {  // NOLINT(bugprone-empty-catch): a remark that nobody gets is no failure
    }
}

}  // namespace standin
