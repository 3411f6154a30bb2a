#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "platform/text_conversion.h"

namespace support {

// Converts UTF-8, whatever the code page, and fails on demand. What is malformed becomes U+FFFD. Thread: one at a time.
class FakeTextConversion final : public platform::TextConversion {
 public:
    // What the next calls answer, one each: nothing means that the call converts.
    void AnswerNext(std::deque<std::optional<int>> answers) { m_answers = std::move(answers); }

    // The code pages of all calls so far.
    const std::vector<platform::CodePage>& CodePages() const { return m_codePages; }

    int WideToBytes(platform::CodePage codePage, const wchar_t* text, char* buffer, int capacity) override {
        std::string bytes;
        while (*text != L'\0') {
            AppendUtf8(TakeWide(text), bytes);
        }
        return Answer(codePage, bytes, buffer, capacity);
    }

    int BytesToWide(platform::CodePage codePage, const char* text, wchar_t* buffer, int capacity) override {
        std::wstring wide;
        while (*text != '\0') {
            AppendWide(TakeUtf8(text), wide);
        }
        return Answer(codePage, wide, buffer, capacity);
    }

 private:
    static constexpr std::uint32_t kReplacement = 0xFFFD;

    static bool IsSurrogate(std::uint32_t unit, std::uint32_t first) { return unit >= first && unit < first + 0x400; }

    static std::uint32_t TakeWide(const wchar_t*& text) {
        const auto unit = static_cast<std::uint32_t>(*text++);
        if (IsSurrogate(unit, 0xD800) && IsSurrogate(static_cast<std::uint32_t>(*text), 0xDC00)) {
            return 0x10000 + ((unit - 0xD800) << 10) + (static_cast<std::uint32_t>(*text++) - 0xDC00);
        }
        return IsSurrogate(unit, 0xD800) || IsSurrogate(unit, 0xDC00) ? kReplacement : unit;
    }

    static void AppendWide(std::uint32_t codePoint, std::wstring& wide) {
        if (sizeof(wchar_t) == 2 && codePoint >= 0x10000) {
            wide += static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            wide += static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        } else {
            wide += static_cast<wchar_t>(codePoint);
        }
    }

    static std::uint32_t TakeUtf8(const char*& text) {
        const auto lead = static_cast<std::uint8_t>(*text++);
        if (lead < 0x80) {
            return lead;
        }
        const int following = lead >= 0xF0 && lead < 0xF5 ? 3 : lead >= 0xE0 ? 2 : 1;
        if (lead < 0xC2 || lead >= 0xF5) {
            return kReplacement;
        }
        std::uint32_t codePoint = lead & (0x3Fu >> following);
        for (int i = 0; i < following; ++i) {
            const auto next = static_cast<std::uint8_t>(*text);
            if ((next & 0xC0) != 0x80) {
                return kReplacement;
            }
            codePoint = (codePoint << 6) | (next & 0x3Fu);
            ++text;
        }
        return codePoint;
    }

    static void AppendUtf8(std::uint32_t codePoint, std::string& bytes) {
        if (codePoint < 0x80) {
            bytes += static_cast<char>(codePoint);
            return;
        }
        const int following = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
        constexpr std::uint32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
        bytes += static_cast<char>(kLeads[following] | codePoint >> (6 * following));
        for (int i = following - 1; i >= 0; --i) {
            bytes += static_cast<char>(0x80u | (codePoint >> (6 * i) & 0x3Fu));
        }
    }

    template <typename Text>
    int Answer(platform::CodePage codePage, const Text& converted, typename Text::value_type* buffer, int capacity) {
        m_codePages.push_back(codePage);
        if (!m_answers.empty()) {
            const std::optional<int> answer = m_answers.front();
            m_answers.pop_front();
            if (answer) {
                return *answer;
            }
        }
        const auto needed = static_cast<int>(converted.size() + 1);
        if (buffer == nullptr && capacity == 0) {
            return needed;
        }
        if (needed > capacity) {
            return 0;
        }
        Text::traits_type::copy(buffer, converted.c_str(), converted.size() + 1);
        return needed;
    }

    std::deque<std::optional<int>> m_answers;
    std::vector<platform::CodePage> m_codePages;
};

}  // namespace support
