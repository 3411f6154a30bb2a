#pragma once

#include <cerrno>
#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string>

namespace run_tests {

// A stream that takes so many bytes and then fails, as a full disk does.
class FullDisk final : public std::streambuf {
 public:
    explicit FullDisk(std::size_t room) : m_room(room) {}

    const std::string& Taken() const { return m_taken; }

 protected:
    int_type overflow(int_type one) override {
        if (m_taken.size() == m_room) {
            errno = ENOSPC;
            return traits_type::eof();
        }
        m_taken += traits_type::to_char_type(one);
        return one;
    }

 private:
    std::size_t m_room;
    std::string m_taken;
};

}  // namespace run_tests
