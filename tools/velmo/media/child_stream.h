#pragma once

#include <memory>
#include <streambuf>
#include <utility>
#include <vector>

#include "platform/child_process.h"

namespace velmo_media {

// What a child writes, as a stream to read.
class ChildStreamBuffer final : public std::streambuf {
 public:
    explicit ChildStreamBuffer(std::unique_ptr<platform::ChildPipe> pipe)
        : m_pipe(std::move(pipe)), m_bytes(kBufferBytes) {}

 protected:
    int_type underflow() override {
        const std::size_t count = m_pipe->Read(m_bytes.data(), m_bytes.size());
        setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + count);
        return count == 0 ? traits_type::eof() : traits_type::to_int_type(m_bytes[0]);
    }

 private:
    static constexpr std::size_t kBufferBytes = 1U << 16;

    std::unique_ptr<platform::ChildPipe> m_pipe;
    std::vector<char> m_bytes;
};

}  // namespace velmo_media
