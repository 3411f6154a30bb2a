#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "frame_feed.h"
#include "process_fixture.h"
#include "velmo_run/run_video.h"

namespace run_process_tests {

inline constexpr std::uint32_t kWidth = 256;
inline constexpr std::uint32_t kHeight = 144;

// What a run says, which may be asked for while it goes on. Thread: any.
class Talk final : public std::streambuf {
 public:
    std::string Text() const {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }

 protected:
    int_type overflow(int_type one) override {
        const std::lock_guard lock(m_mutex);
        m_text += traits_type::to_char_type(one);
        return one;
    }

 private:
    mutable std::mutex m_mutex;
    std::string m_text;
};

// `velmo run` in this process, with the real inference process beside it.
class VideoRunTest : public ::testing::Test {
 protected:
    // With the real stand-in, and the test networks under the names that the process looks for: their mask is the mean
    // of the three planes and the mask before.
    VideoRunTest();

    // Pictures of which no two in a row of seventy are so alike that one of them would be skipped.
    static Grey Changing(std::uint64_t frame) {
        return Halves(kWidth, kHeight, static_cast<std::uint8_t>(172 + 12 * (frame % 7)),
                      static_cast<std::uint8_t>(12 * (frame / 7 % 10)));
    }
    // One picture again and again.
    static Grey Still(std::uint64_t /*frame*/) { return Halves(kWidth, kHeight, kBright, kDark); }
    static constexpr std::uint8_t kBright = 240;
    static constexpr std::uint8_t kDark = 20;

    // Runs so many pictures from `next` through standard input; the exit code.
    int RunFrames(std::uint64_t frames, const std::function<Grey(std::uint64_t)>& next);
    // The same without an end; `next` may give an empty picture.
    int RunFeed(const std::function<Grey(std::uint64_t)>& next);
    // With this input, whatever the options say.
    int RunStream(std::streambuf& input);
    // On these streams, for which nobody waits when the run has given up the thread that stands in one.
    int RunOn(std::istream& in, std::ostream& out);
    // With the input that the options name.
    int Run();

    // A name in the test's folder, UTF-8.
    std::string At(const std::string& name) const;
    // The frames of a Y4M stream: all bytes of each. Expects it to be whole.
    std::vector<Grey> FramesOf(const std::string& y4m) const;
    std::vector<Grey> FramesAt(const std::string& name) const { return FramesOf(process_tests::FileText(At(name))); }
    nlohmann::json JsonAt(const std::string& name) const;

    velmo_run::RunOptions m_options;
    std::function<bool()> m_interrupted = [] { return false; };
    std::streambuf* m_output = nullptr;  // standard output; null is a text that is kept in m_written
    std::ostringstream m_written;
    Talk m_talk;
    process_tests::ScratchFolder m_folder;
};

}  // namespace run_process_tests
