#include "infra/logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/event_flag.h"
#include "support/recording_streams.h"

namespace rvo_calyr {
namespace {

using platform::StandardStream;
using support::EventFlag;
using support::RecordingStreams;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class RecordingSink final : public IRvoCalyrTraceSink {
 public:
    std::int32_t OnTrace(std::uint32_t level, const char* text) override {
        lines.emplace_back(level, text);
        return 0;
    }

    std::vector<std::pair<std::uint32_t, std::string>> lines;
};

class ThrowingSink final : public IRvoCalyrTraceSink {
 public:
    std::int32_t OnTrace(std::uint32_t /*level*/, const char* /*text*/) override {
        throw std::runtime_error("sink failed");
    }
};

// Says when a thread is inside, and keeps it there until it is let go.
class BlockingSink final : public IRvoCalyrTraceSink {
 public:
    std::int32_t OnTrace(std::uint32_t /*level*/, const char* /*text*/) override {
        isInside = true;
        entered.Set();
        EXPECT_TRUE(letGo.Wait());
        isInside = false;
        return 0;
    }

    EventFlag entered;
    EventFlag letGo;
    std::atomic<bool> isInside{false};
};

TEST(LoggerLog, WritesLevel0ToStandardErrorWithALineFeed) {
    RecordingStreams streams;
    Logger logger(&streams);

    logger.Log(0, "failed");

    EXPECT_THAT(streams.Texts(StandardStream::Error), ElementsAre("failed\n"));
    EXPECT_THAT(streams.Texts(StandardStream::Output), IsEmpty());
}

TEST(LoggerLog, WritesTheOtherLevelsToStandardOutputWithALineFeed) {
    RecordingStreams streams;
    Logger logger(&streams);
    logger.SetLevel(4);

    for (std::int32_t level = 1; level <= 4; ++level) {
        logger.Log(level, std::to_string(level).c_str());
    }

    EXPECT_THAT(streams.Texts(StandardStream::Error), IsEmpty());
    EXPECT_THAT(streams.Texts(StandardStream::Output), ElementsAre("1\n", "2\n", "3\n", "4\n"));
}

TEST(LoggerLog, GivesTheSinkTheTextAsItStands) {
    RecordingStreams streams;
    Logger logger(&streams);
    RecordingSink sink;
    logger.SetTraceSink(&sink);

    logger.Log(0, "failed");
    logger.Log(2, "100%s\n");

    EXPECT_THAT(sink.lines, ElementsAre(Pair(0, "failed"), Pair(2, "100%s\n")));
    EXPECT_THAT(streams.Texts(StandardStream::Error), IsEmpty());
    EXPECT_THAT(streams.Texts(StandardStream::Output), IsEmpty());
}

TEST(LoggerLog, GoesBackToTheStreamsWithoutASink) {
    RecordingStreams streams;
    Logger logger(&streams);
    RecordingSink sink;
    logger.SetTraceSink(&sink);
    EXPECT_EQ(logger.GetTraceSink(), &sink);

    logger.SetTraceSink(nullptr);
    logger.Log(2, "late");

    EXPECT_EQ(logger.GetTraceSink(), nullptr);
    EXPECT_THAT(sink.lines, IsEmpty());
    EXPECT_THAT(streams.Texts(StandardStream::Output), ElementsAre("late\n"));
}

TEST(LoggerLog, PassesLinesOfAnyLengthOnWhole) {
    RecordingStreams streams;
    Logger logger(&streams);
    for (const std::size_t length : {0u, 1022u, 1023u, 1024u, 1025u, 5000u}) {
        const std::string text(length, 'x');

        logger.Log(2, text.c_str());
        EXPECT_EQ(streams.Texts(StandardStream::Output).back(), text + "\n");

        RecordingSink sink;
        logger.SetTraceSink(&sink);
        logger.Log(2, text.c_str());
        EXPECT_THAT(sink.lines, ElementsAre(Pair(2, text)));
        logger.SetTraceSink(nullptr);
    }
}

TEST(LoggerLevel, Is2AtFirst) {
    RecordingStreams streams;
    Logger logger(&streams);

    EXPECT_EQ(logger.GetLevel(), 2);
    logger.Log(2, "in");
    logger.Log(3, "out");
    EXPECT_THAT(streams.Texts(StandardStream::Output), ElementsAre("in\n"));
}

TEST(LoggerLevel, IsClampedOnBothSides) {
    Logger logger;
    const std::vector<std::pair<std::int32_t, std::int32_t>> cases = {{9, 4},   {5, 4},   {4, 4},  {0, 0},
                                                                      {-1, -1}, {-2, -1}, {-7, -1}};
    for (const auto& [given, stored] : cases) {
        logger.SetLevel(given);
        EXPECT_EQ(logger.GetLevel(), stored) << given;
    }
}

TEST(LoggerLevel, DropsEvenLevel0WhenItIsMinusOne) {
    RecordingStreams streams;
    Logger logger(&streams);
    RecordingSink sink;

    logger.SetLevel(-1);
    logger.Log(0, "dropped");
    logger.Error("dropped");
    logger.SetTraceSink(&sink);
    logger.Log(0, "dropped");
    logger.Log(-1, "dropped");

    EXPECT_THAT(streams.Texts(StandardStream::Error), IsEmpty());
    EXPECT_THAT(sink.lines, IsEmpty());
}

TEST(LoggerLevel, LetsOnlyLevel0ThroughWhenItIs0) {
    RecordingStreams streams;
    Logger logger(&streams);
    logger.SetLevel(0);

    logger.Log(0, "in");
    logger.Log(1, "out");

    EXPECT_THAT(streams.Texts(StandardStream::Error), ElementsAre("in\n"));
    EXPECT_THAT(streams.Texts(StandardStream::Output), IsEmpty());
}

TEST(LoggerPrint, PutsThePrefixWithTheLevelsNameInFront) {
    RecordingStreams streams;
    Logger logger(&streams);
    RecordingSink sink;
    logger.SetTraceSink(&sink);
    logger.SetLevel(4);

    logger.Error("e%d", 0);
    logger.Warning("w%s", "1");
    logger.Info("i%u", 2u);
    logger.Debug("d%c", '3');
    logger.Detail("t%.1f", 4.0);
    logger.Print(1, "%d%%", 50);

    EXPECT_THAT(sink.lines, ElementsAre(Pair(0, "[rvo_calyr][ERROR]: e0"), Pair(1, "[rvo_calyr][WARNING]: w1"),
                                        Pair(2, "[rvo_calyr][INFO]: i2"), Pair(3, "[rvo_calyr][DEBUG]: d3"),
                                        Pair(4, "[rvo_calyr][DETAIL]: t4.0"), Pair(1, "[rvo_calyr][WARNING]: 50%")));
}

TEST(LoggerPrint, GoesToTheStreamsLikeLog) {
    RecordingStreams streams;
    Logger logger(&streams);

    logger.Error("a");
    logger.Info("b");

    EXPECT_THAT(streams.Texts(StandardStream::Error), ElementsAre("[rvo_calyr][ERROR]: a\n"));
    EXPECT_THAT(streams.Texts(StandardStream::Output), ElementsAre("[rvo_calyr][INFO]: b\n"));
}

TEST(LoggerPrint, WritesNothingAboveTheThreshold) {
    RecordingStreams streams;
    Logger logger(&streams);

    logger.Debug("out");
    logger.Print(3, "out");
    logger.Print(5, "out");

    EXPECT_THAT(streams.Texts(StandardStream::Output), IsEmpty());
}

TEST(LoggerPrint, TakesALevelBelow0For0) {
    Logger logger;
    RecordingSink sink;
    logger.SetTraceSink(&sink);

    logger.Print(-3, "odd");

    EXPECT_THAT(sink.lines, ElementsAre(Pair(0, "[rvo_calyr][ERROR]: odd")));
}

TEST(LoggerPrint, CutsTheResultAt1023Chars) {
    const std::string prefix = "[rvo_calyr][INFO]: ";
    Logger logger;
    RecordingSink sink;
    logger.SetTraceSink(&sink);

    const std::string fits(1023 - prefix.size(), 'x');
    logger.Info("%s", fits.c_str());
    logger.Info("%s", (fits + "y").c_str());

    EXPECT_THAT(sink.lines, ElementsAre(Pair(2, prefix + fits), Pair(2, prefix + fits)));
}

TEST(LoggerPrint, CutsPrefixAndFormatTogetherAt1023Chars) {
    const std::string prefix = "[rvo_calyr][INFO]: ";
    Logger logger;
    RecordingSink sink;
    logger.SetTraceSink(&sink);

    // Percent signs come out half as long, so that only the format's own bound can cut.
    const std::string pairs((1023 - prefix.size()) / 2 * 2, '%');
    const std::string fits = pairs.size() + prefix.size() == 1023 ? pairs : pairs + "a";
    ASSERT_EQ(prefix.size() + fits.size(), 1023u);
    const std::string result = prefix + std::string(pairs.size() / 2, '%') + fits.substr(pairs.size());
    logger.Print(2, fits.c_str());
    logger.Print(2, (fits + "b").c_str());

    EXPECT_THAT(sink.lines, ElementsAre(Pair(2, result), Pair(2, result)));
}

TEST(LoggerPrint, LeavesOutAConversionThatIsCutInTwo) {
    const std::string prefix = "[rvo_calyr][INFO]: ";
    Logger logger;
    RecordingSink sink;
    logger.SetTraceSink(&sink);

    for (const std::string conversion : {"%%", "%d", "%5d", "%-5d", "%05d", "%+.3d", "%hd"}) {
        for (std::size_t kept = 1; kept < conversion.size(); ++kept) {
            SCOPED_TRACE(conversion.substr(0, kept));
            const std::string before(1023 - prefix.size() - kept, 'x');

            logger.Print(2, (before + conversion).c_str(), 7);

            EXPECT_EQ(sink.lines.back().second, prefix + before);
        }
    }
}

TEST(LoggerPrint, KeepsAConversionThatEndsWithTheBound) {
    const std::string prefix = "[rvo_calyr][INFO]: ";
    Logger logger;
    RecordingSink sink;
    logger.SetTraceSink(&sink);
    const std::string before(1023 - prefix.size() - 2, 'x');

    logger.Print(2, (before + "%dcut").c_str(), 7);

    EXPECT_EQ(sink.lines.back().second, prefix + before + "7");
}

TEST(LoggerSink, LetsItsExceptionThroughAndTheLockGo) {
    Logger logger;
    ThrowingSink sink;
    logger.SetTraceSink(&sink);
    EXPECT_THROW(logger.Log(0, "line"), std::runtime_error);
    EXPECT_THROW(logger.Error("line"), std::runtime_error);

    EventFlag replaced;
    std::thread other([&] {
        logger.SetTraceSink(nullptr);
        replaced.Set();
    });

    EXPECT_TRUE(replaced.Wait());
    other.join();
}

TEST(LoggerSink, IsEnteredBySeveralThreadsAtOnce) {
    class MeetingSink final : public IRvoCalyrTraceSink {
     public:
        std::int32_t OnTrace(std::uint32_t level, const char* /*text*/) override {
            (level == 0 ? first : second).Set();
            haveMet[level] = (level == 0 ? second : first).Wait();
            return 0;
        }

        EventFlag first;
        EventFlag second;
        bool haveMet[2] = {false, false};
    };
    Logger logger;
    MeetingSink sink;
    logger.SetTraceSink(&sink);

    std::thread other([&] { logger.Log(1, "line"); });
    logger.Log(0, "line");
    other.join();

    EXPECT_TRUE(sink.haveMet[0]);
    EXPECT_TRUE(sink.haveMet[1]);
}

TEST(LoggerSink, HasNobodyInsideOnceItIsReplaced) {
    Logger logger;
    BlockingSink oldSink;
    RecordingSink newSink;
    logger.SetTraceSink(&oldSink);
    std::thread logging([&] { logger.Log(2, "for the old one"); });
    ASSERT_TRUE(oldSink.entered.Wait());

    EventFlag replaced;
    bool wasInside = true;
    std::thread replacing([&] {
        logger.SetTraceSink(&newSink);
        wasInside = oldSink.isInside;
        logger.Log(2, "for the new one");
        replaced.Set();
    });
    EXPECT_FALSE(replaced.Wait(std::chrono::milliseconds(100))) << "replaced while a thread was inside";
    oldSink.letGo.Set();
    EXPECT_TRUE(replaced.Wait());
    logging.join();
    replacing.join();

    EXPECT_FALSE(wasInside);
    EXPECT_THAT(newSink.lines, ElementsAre(Pair(2, "for the new one")));
}

TEST(LoggerSink, CanBeReplacedWhileManyThreadsLog) {
    class CountingSink final : public IRvoCalyrTraceSink {
     public:
        std::int32_t OnTrace(std::uint32_t /*level*/, const char* /*text*/) override {
            ++lines;
            return 0;
        }

        std::atomic<std::int32_t> lines{0};
    };
    constexpr int kThreads = 3;
    constexpr int kLines = 500;
    RecordingStreams streams;
    Logger logger(&streams);
    CountingSink first;
    CountingSink second;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int line = 0; line < kLines; ++line) {
                logger.Log(2, "line");
            }
        });
    }
    for (int i = 0; i < 100; ++i) {
        logger.SetTraceSink(i % 3 == 0 ? &first : i % 3 == 1 ? &second : nullptr);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    const auto written = static_cast<std::int32_t>(streams.Texts(StandardStream::Output).size());
    EXPECT_EQ(first.lines + second.lines + written, kThreads * kLines);
}

// Lines logged by constructors of other globals: only a logger that stands before them can take them.
class LogsEarly {
 public:
    LogsEarly() {
        levelSeen = g_logger.GetLevel();
        sinkSeen = g_logger.GetTraceSink();
        g_logger.SetTraceSink(&sink);
        g_logger.Log(2, "before main");
        g_logger.SetTraceSink(nullptr);
    }

    RecordingSink sink;
    std::int32_t levelSeen = 0;
    IRvoCalyrTraceSink* sinkSeen = &sink;
};

LogsEarly g_logsEarly;

TEST(GlobalLogger, StandsBeforeOtherGlobalsAreBuilt) {
    EXPECT_EQ(g_logsEarly.levelSeen, 2);
    EXPECT_EQ(g_logsEarly.sinkSeen, nullptr);
    EXPECT_THAT(g_logsEarly.sink.lines, ElementsAre(Pair(2, "before main")));
}

TEST(GlobalLogger, WritesToTheSystemsStreamsWithoutASink) {
    testing::internal::CaptureStderr();
    g_logger.Log(0, "to standard error");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "to standard error\n");

    testing::internal::CaptureStdout();
    g_logger.Log(1, "to standard output");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to standard output\n");
}

}  // namespace
}  // namespace rvo_calyr
