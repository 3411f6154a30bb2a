// A frame's way through the host: its output object, its helper, its result.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "helpers/calyr_output.h"
#include "helpers/hvq_input.h"
#include "host/rvo_calyr_ml_host.h"
#include "support/event_flag.h"
#include "support/fake_helper.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"
#include "support/std_threads.h"
#include "support/watchdog.h"
#include "velmo_parent/receive_end.h"
#include "velmo_parent/send_end.h"

namespace rvo_calyr {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr bool kKeepOldest = false;
constexpr std::size_t kOutputSlots = 88;  // where the slots begin, and how far apart they are
constexpr std::size_t kOutputStride = 1491000;
constexpr std::size_t kInputSlots = 88;
constexpr std::size_t kInputStride = 691248;

// A result as it was read from its slot; both records begin alike.
struct Result {
    int index = -1;
    std::int32_t status = -1;
    calyr_ipc::IpcFrameHeader header{};
    std::uint32_t maskLength = 0;
    std::uint8_t firstMaskByte = 0;
    std::ptrdiff_t slot = -1;  // which of the channel's slots it came in
};

Result ResultIn(const calyr_ipc::OutputSlot& slot) {
    const auto& plain = slot.As<calyr_ipc::RvoInhouseIpcOutput>();
    const std::uint32_t length =
        slot.index == 1 ? slot.As<calyr_ipc::RvoCalyrIpcOutput>().maskLength : plain.maskLength;
    return {slot.index, plain.status, plain.header, length, plain.mask[0], -1};
}

bool IsEmptyHeader(const calyr_ipc::IpcFrameHeader& header) {
    const calyr_ipc::IpcFrameHeader empty{};
    return std::memcmp(&header, &empty, sizeof(header)) == 0;
}

// A frame without pixels, whose header says which one it is.
RvoHvqInput FrameOf(std::uint32_t width, std::uint32_t height, std::uint64_t number = 0) {
    RvoHvqInput input;
    input.header.width = width;
    input.header.height = height;
    input.header.stampMs = number;
    std::memset(input.header.opaque24, 0x5A, sizeof(input.header.opaque24));
    return input;
}

// What a good round does: stamps the output with the frame's number, and says that it went well.
std::uint32_t Succeed(const RvoHvqInput& input, RvoHvqOutput& output) {
    output.header.stampMs = input.header.stampMs;
    const auto mask = output.MaskBytes();
    if (!mask.empty()) mask.front() = static_cast<std::uint8_t>(input.header.stampMs);
    output.status = 0;
    return kStatusSuccess;
}

// A host that is attached, and the parent's end of its results. Frames are handed to it directly: each is through when
// OnInputFrame returns, on the test's own thread.
class FramePath : public ::testing::Test {
 protected:
    void SetUp() override {
        m_helper.work = Succeed;
        ASSERT_EQ(m_host->Attach("id"), 0);
        ASSERT_TRUE(m_os.AwaitWaiters("idFI_evt_fld"));
        ASSERT_TRUE(m_results.Open("idFO"));
    }

    // An Init of this model type, served by the fake helper unless told otherwise.
    void Init(std::int32_t modelType, IRvoCalyrHelper* helper) {
        if (helper != nullptr) m_helpers.helpers[modelType] = helper;
        _CalyrPortraitOption option;
        option.modelType = modelType;
        m_host->Init(option);
    }
    void Init(std::int32_t modelType) { Init(modelType, &m_helper); }

    void Submit(const RvoHvqInput& frame) {
        RvoHvqInput input = frame;
        m_host->OnInputFrame(input);
    }

    // All results that wait.
    std::vector<Result> Results() {
        std::vector<Result> results;
        for (bool more = true; more;) {
            more = false;
            m_results.Receive(
                [&](const calyr_ipc::OutputSlot& slot) {
                    results.push_back(ResultIn(slot));
                    const auto* const at = static_cast<const std::byte*>(static_cast<const void*>(&slot));
                    results.back().slot =
                        (at - m_os.Memory("idFO_shm") - std::ptrdiff_t{kOutputSlots}) / std::ptrdiff_t{kOutputStride};
                    more = true;
                },
                0);
        }
        return results;
    }

    // Submits one frame and gives its result, which must be the only one.
    Result ResultOf(const RvoHvqInput& input) {
        Submit(input);
        const std::vector<Result> results = Results();
        EXPECT_EQ(results.size(), 1U);
        return results.empty() ? Result() : results[0];
    }

    // The bytes of the first slot of the frame output channel.
    std::byte* FirstSlot() { return m_os.Memory("idFO_shm") + kOutputSlots; }

    std::vector<std::string> Waits() {
        std::vector<std::string> waits;
        for (const std::string& call : m_os.Calls()) {
            if (call.starts_with("Wait idFO")) waits.push_back(call);
        }
        return waits;
    }

    support::Watchdog m_watchdog;
    support::FakeKernelObjects m_os;
    support::RecordingStreams m_streams;
    support::StdThreads m_threads;
    support::FakeHelper m_helper;
    support::FakeHelpers m_helpers;
    std::unique_ptr<RvoCalyrMlHost> m_host =
        std::make_unique<RvoCalyrMlHost>(HostSeams{m_os, m_streams, m_threads, m_helpers});
    calyr_ipc::OutputChannel m_results{ipc::kReceives, m_os, m_streams};
};

// A helper whose Init takes until the test lets it end.
class HeldHelper final : public support::FakeHelper {
 public:
    std::uint32_t Init(const _CalyrPortraitOption& option) override {
        inInit.Set();
        EXPECT_TRUE(mayEnd.Wait());
        return FakeHelper::Init(option);
    }

    support::EventFlag inInit;
    support::EventFlag mayEnd;
};

TEST_F(FramePath, WaitsForAnInitThatIsUnderWay) {
    HeldHelper held;
    held.work = Succeed;
    std::thread init([&] { Init(0, &held); });
    EXPECT_TRUE(held.inInit.Wait());
    support::EventFlag isThrough;
    std::thread frame([&] {
        Submit(FrameOf(2, 2, 6));
        isThrough.Set();
    });

    EXPECT_FALSE(isThrough.Wait(std::chrono::milliseconds(50)));
    EXPECT_EQ(held.inferCount, 0);
    EXPECT_THAT(Results(), IsEmpty());
    held.mayEnd.Set();
    EXPECT_TRUE(isThrough.Wait());
    frame.join();
    init.join();

    EXPECT_EQ(held.inferCount, 1);
    EXPECT_THAT(Results(), ElementsAre(Field(&Result::header, Field(&calyr_ipc::IpcFrameHeader::stampMs, 6U))));
}

class FrameWithoutAHelper : public FramePath {};

TEST_F(FrameWithoutAHelper, IsAnsweredWithAFullRecordOfStatusFourAndZeros) {
    std::memset(FirstSlot(), 0xC3, kOutputStride);

    Submit(FrameOf(640, 360, 1));

    const std::byte* const slot = FirstSlot();
    EXPECT_EQ(slot[0], std::byte{4});
    for (const std::size_t at : {1U, 2U, 3U})
        EXPECT_EQ(slot[at], std::byte{0});
    EXPECT_TRUE(std::all_of(slot + 8, slot + 1490988, [](std::byte byte) { return byte == std::byte{0}; }));
    EXPECT_EQ(slot[1490992], std::byte{1});
    for (const std::size_t padding : {4U, 7U, 1490988U, 1490991U, 1490993U, 1490999U})
        EXPECT_EQ(slot[padding], std::byte{0xC3}) << padding;
    EXPECT_THAT(Results(), ElementsAre(Field(&Result::index, 1)));
}

TEST_F(FrameWithoutAHelper, IsAnsweredWithAMaskRecordAfterAnInitOfAnyTypeButZero) {
    for (const std::int32_t type : {1, 2, 7, -1}) {
        SCOPED_TRACE(type);
        Init(type, nullptr);
        const auto pixels = static_cast<std::uint32_t>(100 + type);  // another size, and so another object
        const Result result = ResultOf(FrameOf(pixels, 1));
        EXPECT_EQ(result.index, 0);
        EXPECT_EQ(result.status, 4);
        EXPECT_TRUE(IsEmptyHeader(result.header));
        EXPECT_EQ(result.maskLength, 0U);
    }
}

TEST_F(FrameWithoutAHelper, LeavesWhatStandsBehindTheMaskRecord) {
    Init(2, nullptr);
    std::memset(FirstSlot(), 0xC3, kOutputStride);

    Submit(FrameOf(640, 360));

    const std::byte* const slot = FirstSlot();
    EXPECT_TRUE(std::all_of(slot + 8, slot + 230444, [](std::byte byte) { return byte == std::byte{0}; }));
    EXPECT_TRUE(std::all_of(slot + 230444, slot + 1490992, [](std::byte byte) { return byte == std::byte{0xC3}; }));
    EXPECT_EQ(slot[1490992], std::byte{0});
}

TEST_F(FrameWithoutAHelper, IsAnsweredWithFourWhateverItsSize) {
    for (const auto& [width, height] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
             {0, 0}, {1, 1}, {640, 360}, {230401, 1}, {65536, 65536}, {65536, 65537}, {0xFFFFFFFF, 0xFFFFFFFF}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        const Result result = ResultOf(FrameOf(width, height));
        EXPECT_EQ(result.status, 4);
        EXPECT_EQ(result.maskLength, 0U);
        EXPECT_TRUE(IsEmptyHeader(result.header));
    }
}

TEST_F(FrameWithoutAHelper, GivesTheObjectOfAFrameBeforeInitToThoseOfItsSizeAfterwards) {
    Submit(FrameOf(640, 360));
    Init(2, nullptr);
    Submit(FrameOf(640, 360));
    Submit(FrameOf(256, 144));
    EXPECT_THAT(Results(), ElementsAre(Field(&Result::index, 1), Field(&Result::index, 1), Field(&Result::index, 0)));
}

class FrameWithAHelper : public FramePath {};

TEST_F(FrameWithAHelper, ReachesItAsItCameWithTheOutputObject) {
    Init(0);
    RvoHvqInput input = FrameOf(4, 3, 9);
    const std::uint8_t pixels[36] = {};
    input.temporalEnabled = 1;
    input.dataSize = sizeof(pixels);
    input.data = pixels;
    bool isAsItCame = false;
    m_helper.work = [&](const RvoHvqInput& given, RvoHvqOutput& output) {
        isAsItCame = given.temporalEnabled == 1 && given.dataSize == 36 && given.data == pixels &&
                     std::memcmp(&given.header, &input.header, sizeof(input.header)) == 0;
        EXPECT_EQ(output.status, 4);
        EXPECT_EQ(output.maskLength, 12U);
        return kStatusSuccess;
    };

    m_host->OnInputFrame(input);

    EXPECT_TRUE(isAsItCame);
    EXPECT_EQ(m_helper.inferCount, 1);
    EXPECT_EQ(m_helper.lastInput, &input);
}

TEST_F(FrameWithAHelper, GetsTheFullObjectForTypeZeroAndThePlainOneForTheOthers) {
    for (const std::int32_t type : {0, 1, 2}) {
        SCOPED_TRACE(type);
        Init(type);
        const Result result = ResultOf(FrameOf(100, static_cast<std::uint32_t>(1 + type)));
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.index, type == 0 ? 1 : 0);
        EXPECT_EQ(dynamic_cast<RvoCalyrOutput*>(m_helper.lastOutput) != nullptr, type == 0);
    }
}

TEST_F(FrameWithAHelper, SendsTheHeaderOfTheFirstFrameOfItsSizeWithAFreshStamp) {
    Init(0);
    RvoHvqInput first = FrameOf(640, 360, 1);
    first.header.opaque0[0] = std::byte{0x11};
    RvoHvqInput second = FrameOf(640, 360, 2);
    second.header.opaque0[0] = std::byte{0x22};

    EXPECT_EQ(ResultOf(first).header.stampMs, 1U);
    const Result result = ResultOf(second);

    EXPECT_EQ(result.header.stampMs, 2U);
    first.header.stampMs = 2;
    EXPECT_EQ(std::memcmp(&result.header, &first.header, sizeof(first.header)), 0);
    EXPECT_EQ(result.maskLength, 230'400U);
    EXPECT_EQ(result.firstMaskByte, 2);
}

TEST_F(FrameWithAHelper, KeepsItsObjectForATurnedFrame) {
    Init(0);
    Submit(FrameOf(640, 360, 1));
    const RvoHvqOutput* const object = m_helper.lastOutput;

    Submit(FrameOf(360, 640, 2));

    EXPECT_EQ(m_helper.lastOutput, object);
    const std::vector<Result> results = Results();
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[1].header.width, 640U);
    EXPECT_EQ(results[1].header.height, 360U);
    EXPECT_EQ(results[1].header.stampMs, 2U);
}

TEST_F(FrameWithAHelper, OfAnotherPixelCountBeginsAnewWithItsOwnHeader) {
    Init(0);
    Submit(FrameOf(640, 360, 1));
    std::int32_t statusAtFirst = -1;
    m_helper.work = [&](const RvoHvqInput& input, RvoHvqOutput& output) {
        statusAtFirst = output.status;
        EXPECT_EQ(output.MaskBytes().back(), 0);
        return Succeed(input, output);
    };

    Submit(FrameOf(256, 144, 2));

    EXPECT_EQ(statusAtFirst, 4);
    const std::vector<Result> results = Results();
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[1].header.width, 256U);
    EXPECT_EQ(results[1].header.height, 144U);
    EXPECT_EQ(results[1].header.stampMs, 2U);
    EXPECT_EQ(results[1].maskLength, 36'864U);
}

TEST_F(FrameWithAHelper, OfOnePixelMoreOrLessBeginsAnew) {
    Init(0);
    std::vector<std::int32_t> statuses;
    m_helper.work = [&](const RvoHvqInput& input, RvoHvqOutput& output) {
        statuses.push_back(output.status);
        return Succeed(input, output);
    };
    for (const std::uint32_t pixels : {1000U, 1001U, 1000U, 1000U, 999U})
        Submit(FrameOf(pixels, 1));
    EXPECT_THAT(statuses, ElementsAre(4, 4, 4, 0, 4));
}

TEST_F(FrameWithAHelper, IsNotTakenForOneOfAnotherSizeBecauseAProductOverflows) {
    Init(0);
    std::vector<std::int32_t> statuses;
    m_helper.work = [&](const RvoHvqInput& input, RvoHvqOutput& output) {
        statuses.push_back(output.status);
        return Succeed(input, output);
    };
    // In 32 bits all of them have no pixels, and the last two 65,536.
    Submit(FrameOf(0, 0));
    Submit(FrameOf(65536, 65536));
    Submit(FrameOf(0x80000000, 2));
    Submit(FrameOf(65536, 1));
    Submit(FrameOf(65536, 65537));
    EXPECT_THAT(statuses, ElementsAre(4, 4, 0, 4, 4));  // 65536 × 65536 is 0x80000000 × 2
}

TEST_F(FrameWithAHelper, TooLargeForARecordIsAnEmptySuccessWithoutAMaskToWriteTo) {
    for (const std::int32_t type : {0, 2}) {
        Init(type);
        const Result result = ResultOf(FrameOf(230401, static_cast<std::uint32_t>(1 + type), 5));
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(IsEmptyHeader(result.header));
        EXPECT_EQ(result.maskLength, 0U);
        EXPECT_TRUE(m_helper.lastOutput->MaskBytes().empty());
    }
}

TEST_F(FrameWithAHelper, KeepsTheLastStatusWhenThereWasNoRound) {
    Init(0);
    EXPECT_EQ(ResultOf(FrameOf(640, 360, 1)).status, 0);
    m_helper.work = [](const RvoHvqInput&, RvoHvqOutput&) { return kStatusBadArguments; };

    const Result result = ResultOf(FrameOf(360, 640, 2));

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.header.stampMs, 1U);  // and with it the last mask and its stamp
    EXPECT_EQ(result.firstMaskByte, 1);
}

TEST_F(FrameWithAHelper, IsJudgedByTheOutputsStatusAndNotByTheHelpersResult) {
    Init(0);
    m_helper.work = [](const RvoHvqInput& input, RvoHvqOutput& output) {
        (void)Succeed(input, output);
        return kStatusInferenceFailed;
    };
    EXPECT_EQ(ResultOf(FrameOf(2, 2)).status, 0);

    for (const std::int32_t status : {2, 3, 4, 7, -1}) {
        m_helper.work = [status](const RvoHvqInput&, RvoHvqOutput& output) {
            output.status = status;
            return kStatusSuccess;
        };
        const Result result = ResultOf(FrameOf(2, 2));
        EXPECT_EQ(result.status, status);
        EXPECT_TRUE(IsEmptyHeader(result.header));
        EXPECT_EQ(result.maskLength, 0U);
    }
}

TEST_F(FrameWithAHelper, ThatThrowsPassesItOnAndSendsNothing) {
    Init(0);
    m_helper.work = [](const RvoHvqInput&, RvoHvqOutput&) -> std::uint32_t { throw std::runtime_error("no"); };

    EXPECT_THROW(Submit(FrameOf(2, 2)), std::runtime_error);

    EXPECT_THAT(Results(), IsEmpty());
    m_helper.work = Succeed;
    std::thread other([this] { Submit(FrameOf(2, 2)); });  // the lock is free again
    other.join();
    EXPECT_THAT(Results(), SizeIs(1));
}

TEST_F(FrameWithAHelper, HoldsUpAHeartbeatMeanwhile) {
    Init(0);
    infra::Timer unusedTimer;
    support::EventFlag ticked;
    std::thread tick;
    bool tickedMeanwhile = true;
    m_helper.work = [&](const RvoHvqInput& input, RvoHvqOutput& output) {
        tick = std::thread([&] {
            m_host->OnTimer(unusedTimer);
            ticked.Set();
        });
        tickedMeanwhile = ticked.Wait(std::chrono::milliseconds(50));
        return Succeed(input, output);
    };

    Submit(FrameOf(2, 2));

    EXPECT_FALSE(tickedMeanwhile);
    EXPECT_TRUE(ticked.Wait());
    tick.join();
}

TEST_F(FrameWithAHelper, FindsAFreshObjectAfterStop) {
    Init(0);
    Submit(FrameOf(2, 2));
    (void)m_host->Stop();
    std::int32_t status = -1;
    m_helper.work = [&](const RvoHvqInput&, RvoHvqOutput& output) {
        status = output.status;
        return kStatusSuccess;
    };

    Submit(FrameOf(2, 2));  // no channel any more: worked on, and not sent

    EXPECT_EQ(status, 4);
}

// Not even while the host waits for the parent to read a result.
TEST_F(FrameWithAHelper, HoldsUpAHeartbeatWhileItsResultWaitsForASlot) {
    Init(0);
    for (int frame = 0; frame < 5; ++frame)
        Submit(FrameOf(2, 2));
    support::EventFlag waits;
    support::EventFlag mayGoOn;
    std::atomic<bool> wentOn{false};
    m_os.OnWait("idFO_evt_avl", [&] {
        waits.Set();
        EXPECT_TRUE(mayGoOn.Wait());
        wentOn = true;
    });
    m_os.ScriptWaits("idFO_evt_avl", {platform::WaitResult::TimedOut});
    std::thread sixth([this] { Submit(FrameOf(2, 2)); });
    EXPECT_TRUE(waits.Wait());
    infra::Timer unusedTimer;
    support::EventFlag ticked;
    bool tickedBehindIt = false;
    std::thread tick([&] {
        m_host->OnTimer(unusedTimer);
        tickedBehindIt = wentOn;
        ticked.Set();
    });

    EXPECT_FALSE(ticked.Wait(std::chrono::milliseconds(50)));

    mayGoOn.Set();
    EXPECT_TRUE(ticked.Wait());
    EXPECT_TRUE(tickedBehindIt);
    sixth.join();
    tick.join();
}

class FrameResults : public FramePath {};

TEST_F(FrameResults, GoThroughTheSlotsInTurn) {
    Init(0);
    for (std::uint64_t number = 0; number < 12; ++number) {
        const Result result = ResultOf(FrameOf(2, 2, number));
        EXPECT_EQ(result.header.stampMs, number);
        EXPECT_EQ(result.slot, static_cast<std::ptrdiff_t>(number % 5));
    }
}

TEST_F(FrameResults, ThatNobodyReadsAreLostFromTheSixthOnAfterHalfASecondEach) {
    Init(0);
    for (std::uint64_t number = 1; number <= 5; ++number)
        Submit(FrameOf(2, 2, number));
    EXPECT_THAT(Waits(), IsEmpty());
    m_os.ScriptWaits("idFO_evt_avl", {platform::WaitResult::TimedOut, platform::WaitResult::TimedOut});

    Submit(FrameOf(2, 2, 6));
    Submit(FrameOf(2, 2, 7));

    EXPECT_THAT(Waits(), ElementsAre("Wait idFO_evt_avl 500", "Wait idFO_evt_avl 500"));
    EXPECT_EQ(m_helper.inferCount, 7);
    const std::vector<Result> results = Results();
    ASSERT_EQ(results.size(), 5U);
    for (std::size_t at = 0; at < 5; ++at)
        EXPECT_EQ(results[at].header.stampMs, at + 1);  // the oldest are kept
    EXPECT_EQ(ResultOf(FrameOf(2, 2, 8)).header.stampMs, 8U);
}

TEST_F(FrameResults, AreWaitedForByTheClock) {
    for (int frame = 0; frame < 5; ++frame)
        Submit(FrameOf(2, 2));
    const auto start = std::chrono::steady_clock::now();
    Submit(FrameOf(2, 2));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(500));
    EXPECT_LE(waited, std::chrono::seconds(20));
}

TEST_F(FrameResults, GoNowhereWithoutAChannel) {
    RvoCalyrMlHost host(HostSeams{m_os, m_streams, m_threads, m_helpers});
    m_helpers.helpers[0] = &m_helper;
    host.Init({});
    RvoHvqInput input = FrameOf(2, 2);
    host.OnInputFrame(input);
    EXPECT_EQ(m_helper.inferCount, 1);
    EXPECT_THAT(Results(), IsEmpty());
}

class HelperChoice : public FramePath {
 protected:
    // The results of all Inits so far that have not been read.
    std::vector<std::int32_t> InitResults() {
        std::vector<std::int32_t> results;
        for (bool more = true; more;) {
            more = false;
            m_events.Receive(
                [&](const calyr_ipc::EventSlot& slot) {
                    results.push_back(slot.As<calyr_ipc::IpcEventOnInit>().result);
                    more = true;
                },
                0);
        }
        return results;
    }
    // The level and the text of each line that waits.
    std::vector<std::string> LogLines() {
        std::vector<std::string> lines;
        for (bool more = true; more;) {
            more = false;
            m_logs.Receive(
                [&](const calyr_ipc::IpcLogChunk& chunk) {
                    lines.push_back(std::to_string(chunk.payload[0]) +
                                    std::string(chunk.payload + 4, chunk.payload + chunk.length));
                    more = true;
                },
                0);
        }
        return lines;
    }

    void SetUp() override {
        FramePath::SetUp();
        ASSERT_TRUE(m_events.Open("idE"));
        ASSERT_TRUE(m_logs.Open("idL"));
    }

    calyr_ipc::EventChannel m_events{ipc::kReceives, m_os, m_streams};
    calyr_ipc::LogChannel m_logs{ipc::kReceives, m_os, m_streams};
};

TEST_F(HelperChoice, IsMadeByTheModelType) {
    support::FakeHelper other;
    other.initStatus = 7;
    Init(0);
    Init(2, &other);
    EXPECT_THAT(m_helpers.asked, ElementsAre(0, 2));
    EXPECT_THAT(m_helper.options, ElementsAre(Field(&_CalyrPortraitOption::modelType, 0)));
    EXPECT_THAT(other.options, ElementsAre(Field(&_CalyrPortraitOption::modelType, 2)));
    EXPECT_THAT(InitResults(), ElementsAre(0, 7));

    Submit(FrameOf(2, 2));
    EXPECT_EQ(m_helper.inferCount, 0);
    EXPECT_EQ(other.inferCount, 1);
}

TEST_F(HelperChoice, StaysAsItWasForABadModelTypeAndTheHelpersWordCounts) {
    Init(0);
    Init(7, nullptr);
    EXPECT_THAT(m_helpers.asked, ElementsAre(0, 7));
    EXPECT_THAT(m_helper.options,
                ElementsAre(Field(&_CalyrPortraitOption::modelType, 0), Field(&_CalyrPortraitOption::modelType, 7)));
    EXPECT_THAT(InitResults(), ElementsAre(0, 0));
    const std::vector<std::string> lines = LogLines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], AllOf(StartsWith("2"), HasSubstr("Init() ret=0 [this=")));
    EXPECT_THAT(lines[1], AllOf(StartsWith("0"), HasSubstr("] [RVO_CALYR]RvoCalyrMlHost::Init() fail, error model "
                                                           "type, option.modelType=7 [this=")));
    EXPECT_THAT(lines[2], AllOf(StartsWith("2"), HasSubstr("Init() ret=0 [this=")));
}

TEST_F(HelperChoice, IsNoneForABadModelType) {
    Init(7, nullptr);
    Init(-1, nullptr);
    EXPECT_THAT(m_helpers.asked, ElementsAre(7, -1));
    EXPECT_THAT(InitResults(), ElementsAre(2, 2));
}

// Keeps what the frame output channel brings, as its reader by the parent's rules.
class ResultReader {
 public:
    ResultReader(platform::KernelObjects& os, platform::Threads& threads) : m_end(os, threads) {
        EXPECT_TRUE(m_end.Open("idFO", [this](const calyr_ipc::OutputSlot& slot) {
            const std::lock_guard lock(m_mutex);
            m_results.push_back(ResultIn(slot));
            m_changed.notify_all();
        }));
    }
    std::vector<Result> Await(std::size_t count) {
        std::unique_lock lock(m_mutex);
        const auto end = std::chrono::system_clock::now() + std::chrono::minutes(1);
        EXPECT_TRUE(m_changed.wait_until(lock, end, [&] { return m_results.size() >= count; }));
        return m_results;
    }

 private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Result> m_results;
    velmo_parent::ReceiveEnd<calyr_ipc::OutputSlot, 5> m_end;  // declared last: its thread uses the others
};

// The whole way, from one channel to the other.
class FrameStream : public ::testing::Test {
 protected:
    FrameStream() {
        m_helpers.helpers[0] = &m_helper;
        m_helper.work = Succeed;
    }

    // Of the frame of this number: no two of its opaque bytes are the same.
    static calyr_ipc::IpcFrameHeader HeaderOf(std::uint64_t number) {
        calyr_ipc::IpcFrameHeader header = DistinctHeader();
        header.width = 16;
        header.height = 9;
        header.stampMs = number;
        return header;
    }

    // 32 bytes, no two of them the same.
    static calyr_ipc::IpcFrameHeader DistinctHeader() {
        std::byte bytes[sizeof(calyr_ipc::IpcFrameHeader)];
        for (std::size_t at = 0; at < sizeof(bytes); ++at)
            bytes[at] = static_cast<std::byte>(0xA1 + at);
        calyr_ipc::IpcFrameHeader header{};
        std::memcpy(&header, bytes, sizeof(header));
        return header;
    }

    static bool AreEqual(const calyr_ipc::IpcFrameHeader& left, const calyr_ipc::IpcFrameHeader& right) {
        return std::memcmp(&left, &right, sizeof(left)) == 0;
    }

    static void Write(calyr_ipc::InputSlot& slot, std::uint64_t number) {
        RvoHvqInput input;
        input.header = HeaderOf(number);
        const std::vector<std::uint8_t> pixels(432, static_cast<std::uint8_t>(number));
        input.temporalEnabled = static_cast<std::uint8_t>(number % 2);
        input.dataSize = static_cast<std::uint32_t>(pixels.size());
        input.data = pixels.data();
        input.CopyToIpcRecord(slot);
    }

    void ExpectInOrder(const std::vector<Result>& results) {
        for (std::size_t at = 0; at < results.size(); ++at) {
            EXPECT_EQ(results[at].status, 0);
            EXPECT_EQ(results[at].index, 1);
            EXPECT_TRUE(AreEqual(results[at].header, HeaderOf(at))) << at;
            EXPECT_EQ(results[at].maskLength, 144U);
            EXPECT_EQ(results[at].firstMaskByte, at % 256);
        }
    }

    support::Watchdog m_watchdog;
    support::FakeKernelObjects m_os;
    support::RecordingStreams m_streams;
    support::StdThreads m_threads;
    support::FakeHelper m_helper;
    support::FakeHelpers m_helpers;
    RvoCalyrMlHost m_host{HostSeams{m_os, m_streams, m_threads, m_helpers}};
};

TEST_F(FrameStream, WorksOnFiveQueuedFramesInTheirOrderAndInTheirSlots) {
    {
        calyr_ipc::InputChannel frames(ipc::kSends, m_os, m_streams);
        ASSERT_TRUE(frames.Open("idFI"));
        ResultReader reader(m_os, m_threads);
        for (std::uint64_t number = 0; number < 5; ++number) {
            ASSERT_TRUE(frames.Send([&](calyr_ipc::InputSlot& slot) { Write(slot, number); }, kKeepOldest, 0));
        }
        std::vector<std::ptrdiff_t> places;  // of the pixels, from the beginning of the mapping
        m_helper.work = [&](const RvoHvqInput& input, RvoHvqOutput& output) {
            places.push_back(static_cast<const std::byte*>(static_cast<const void*>(input.data)) -
                             m_os.Memory("idFI_shm"));
            EXPECT_TRUE(AreEqual(input.header, HeaderOf(places.size() - 1)));
            EXPECT_EQ(input.dataSize, 432U);
            EXPECT_EQ(input.temporalEnabled, input.header.stampMs % 2);
            EXPECT_EQ(input.data[0], input.header.stampMs);
            EXPECT_EQ(input.data[431], input.header.stampMs);
            return Succeed(input, output);
        };
        m_host.Init({});

        ASSERT_EQ(m_host.Attach("id"), 0);

        ExpectInOrder(reader.Await(5));
        ASSERT_TRUE(m_os.AwaitWaiters("idFI_evt_fld"));  // the reader has left the last frame
        EXPECT_THAT(places,
                    ElementsAre(kInputSlots + 8, kInputSlots + kInputStride + 8, kInputSlots + 2 * kInputStride + 8,
                                kInputSlots + 3 * kInputStride + 8, kInputSlots + 4 * kInputStride + 8));
        EXPECT_TRUE(m_os.IsSet("idFI_evt_avl"));
    }
    (void)m_host.Stop();
}

TEST_F(FrameStream, HandsOnEveryByteOfAHeader) {
    const calyr_ipc::IpcFrameHeader sent = DistinctHeader();
    calyr_ipc::IpcFrameHeader handed{};
    m_helper.work = [&](const RvoHvqInput& input, RvoHvqOutput&) {
        handed = input.header;
        return kStatusSuccess;
    };
    {
        calyr_ipc::InputChannel frames(ipc::kSends, m_os, m_streams);
        ASSERT_TRUE(frames.Open("idFI"));
        const auto write = [&](calyr_ipc::InputSlot& slot) {
            Write(slot, 0);
            slot.As<calyr_ipc::RvoCalyrIpcInput>().header = sent;
        };
        ASSERT_TRUE(frames.Send(write, kKeepOldest, 0));
        m_host.Init({});
        ASSERT_EQ(m_host.Attach("id"), 0);
        ASSERT_TRUE(m_os.AwaitWaiters("idFI_evt_fld"));
    }
    (void)m_host.Stop();

    EXPECT_EQ(m_helper.inferCount, 1);
    EXPECT_TRUE(AreEqual(handed, sent));
}

// Only -1 says that there is none; there is no other record that the number could mean.
TEST_F(FrameStream, ReadsASlotOfAnUnknownIndexAsAFrame) {
    constexpr std::int8_t kUnknownIndices[] = {5, 1, 127, -2};
    {
        calyr_ipc::InputChannel frames(ipc::kSends, m_os, m_streams);
        ASSERT_TRUE(frames.Open("idFI"));
        ResultReader reader(m_os, m_threads);
        for (std::uint64_t number = 0; number < std::size(kUnknownIndices); ++number) {
            const auto write = [&](calyr_ipc::InputSlot& slot) {
                Write(slot, number);
                slot.index = kUnknownIndices[number];
            };
            ASSERT_TRUE(frames.Send(write, kKeepOldest, 0));
        }
        m_host.Init({});

        ASSERT_EQ(m_host.Attach("id"), 0);

        ExpectInOrder(reader.Await(std::size(kUnknownIndices)));
    }
    (void)m_host.Stop();
}

TEST_F(FrameStream, AnswersEveryFrameOnceAndInOrder) {
    constexpr std::uint64_t kFrames = 300;
    m_host.Init({});
    ASSERT_EQ(m_host.Attach("id"), 0);
    m_os.StopRecording();
    ResultReader reader(m_os, m_threads);
    velmo_parent::SendEnd<calyr_ipc::InputSlot, 5> frames(m_os, m_threads);
    ASSERT_TRUE(frames.Open("idFI"));
    for (std::uint64_t number = 0; number < kFrames;) {
        const auto sent = frames.Send([&](calyr_ipc::InputSlot& slot) { Write(slot, number); });
        ASSERT_NE(sent, velmo_parent::SendResult::Closed);
        if (sent == velmo_parent::SendResult::Sent) {
            ++number;
        } else {
            std::this_thread::yield();
        }
    }

    const std::vector<Result> results = reader.Await(kFrames);

    EXPECT_EQ(results.size(), kFrames);
    ExpectInOrder(results);
    (void)m_host.Stop();
    EXPECT_EQ(m_helper.inferCount, static_cast<int>(kFrames));
}

}  // namespace
}  // namespace rvo_calyr
