// Streams that stand still: a run ends all the same, and leaves the thread that stands in one behind.

#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>

#include "run_fixture.h"
#include "scripted_double/scripted_library.h"
#include "velmo_media/path_name.h"

namespace run_process_tests {
namespace {

using testing::HasSubstr;

constexpr std::uint64_t kFramesBefore = 6;

// Where a thread stands until the test lets it go.
class Standstill {
 public:
    void Stand() {
        std::unique_lock lock(m_mutex);
        m_stands = true;
        m_changed.wait(lock, [this] { return m_isOver; });
    }
    bool Stands() const {
        const std::lock_guard lock(m_mutex);
        return m_stands;
    }
    void End() {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
        m_changed.notify_all();
    }

 private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stands = false;
    bool m_isOver = false;
};

// What a thread that is left behind uses has to stay for as long as the program.
template <class Kept>
Kept& Forever(Kept* kept) {
    static std::vector<std::unique_ptr<Kept>>& all = *new std::vector<std::unique_ptr<Kept>>;
    return *all.emplace_back(kept);
}

// Standard input that gives a few frames and then nothing, without an end.
struct StandingInput {
    Standstill standstill;
    FrameFeed feed{kWidth, kHeight, [this](std::uint64_t frame) {
                       if (frame == kFramesBefore) standstill.Stand();
                       return frame < kFramesBefore
                                  ? Halves(kWidth, kHeight, static_cast<std::uint8_t>(172 + 12 * frame), 20)
                                  : Grey();
                   }};
    std::istream stream{&feed};
};

// Standard output that takes a few frames and then nothing.
class StandingOutput final : public std::streambuf {
 public:
    Standstill standstill;
    std::ostream stream{this};

 protected:
    int_type overflow(int_type one) override {
        constexpr std::uint64_t kTaken = kFramesBefore * kWidth * kHeight;
        if (m_count < kTaken && ++m_count == kTaken) standstill.Stand();
        return m_count < kTaken ? one : traits_type::eof();
    }

 private:
    std::uint64_t m_count = 0;
};

class RunStands : public VideoRunTest {
 protected:
    std::ostream m_out{m_written.rdbuf()};
};

TEST_F(RunStands, InItsInputAndEndsWhenInterrupted) {
    StandingInput& input = Forever(new StandingInput);
    m_interrupted = [&input] { return input.standstill.Stands(); };
    m_options.masks = "-";
    m_options.json = At("run.json");
    EXPECT_EQ(RunOn(input.stream, m_out), 1);
    EXPECT_EQ(JsonAt("run.json").at("state"), "interrupted");
    EXPECT_EQ(FramesOf(m_written.str()).size(), JsonAt("run.json").at("frames").at("written").get<std::size_t>());
    input.standstill.End();
}

TEST_F(RunStands, InItsInputAndEndsWithTheProcess) {
    scripted_double::ScratchLibrary library;
    (void)library.Put("hvq.script", "exit hvqInfer 2 7");
    (void)library.Put("inhouse_144p_input.dll", "a model");
    m_options.family = velmo_parent::ModelFamily::Inhouse;
    m_options.engineFolder = m_options.modelFolder = velmo_media::NameOf(library.Folder());
    StandingInput& input = Forever(new StandingInput);
    EXPECT_EQ(RunOn(input.stream, m_out), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("the process ended with exit code 7"));
    input.standstill.End();
}

TEST_F(RunStands, InItsOutputAndEndsWhenInterrupted) {
    StandingOutput& output = Forever(new StandingOutput);
    FrameFeed& feed = Forever(new FrameFeed(kWidth, kHeight, Still));
    std::istream& in = Forever(new std::istream(&feed));
    m_interrupted = [&output] { return output.standstill.Stands(); };
    m_options.masks = "-";
    m_options.json = At("run.json");
    EXPECT_EQ(RunOn(in, output.stream), 1);
    EXPECT_EQ(JsonAt("run.json").at("state"), "interrupted");
    EXPECT_THAT(m_talk.Text(), HasSubstr("frames, while nobody took what was written"));
    output.standstill.End();
}

}  // namespace
}  // namespace run_process_tests
