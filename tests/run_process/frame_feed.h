#pragma once

#include <cstdint>
#include <functional>
#include <streambuf>
#include <string>
#include <vector>

namespace run_process_tests {

// One picture: a byte of brightness for each pixel.
using Grey = std::vector<std::uint8_t>;

// Standard input that a test writes as it is read: a Y4M stream of grey pictures, full range, so that the model sees
// exactly these bytes. Thread: the reader's.
class FrameFeed final : public std::streambuf {
 public:
    // `next` gives the picture with this number; an empty one is the end.
    FrameFeed(std::uint32_t width, std::uint32_t height, std::function<Grey(std::uint64_t frame)> next);

 protected:
    int_type underflow() override;

 private:
    std::function<Grey(std::uint64_t)> m_next;
    std::uint64_t m_frame = 0;
    std::string m_bytes;
};

// A bright left half and a dark right one, so that every mask has an outline.
Grey Halves(std::uint32_t width, std::uint32_t height, std::uint8_t bright, std::uint8_t dark);

}  // namespace run_process_tests
