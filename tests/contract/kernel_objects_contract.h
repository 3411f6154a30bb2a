#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "contract/object_names.h"
#include "platform/clock.h"
#include "platform/kernel_objects.h"

// What everybody may expect of KernelObjects, whoever stands behind it. Instantiate the suite with whatever has to keep
// it: INSTANTIATE_TEST_SUITE_P(Mine, KernelObjectsContract, testing::Values(...)).
namespace contract {

// Makes the objects under test; each test asks once.
using KernelObjectsFactory = std::function<std::shared_ptr<platform::KernelObjects>()>;

class KernelObjectsContract : public testing::TestWithParam<KernelObjectsFactory> {
 protected:
    using MappingAccess = platform::MappingAccess;
    using WaitResult = platform::WaitResult;

    std::unique_ptr<platform::NamedEvent> Event(const std::string& name) { return m_os->CreateOrOpenEvent(name); }

    std::unique_ptr<platform::NamedMapping> Made(const std::string& name, std::uint32_t bytes) {
        return m_os->CreateMapping(name, bytes);
    }

    std::unique_ptr<platform::NamedMapping> Opened(const std::string& name) {
        return m_os->OpenMapping(name, MappingAccess::ReadWrite);
    }

    // Both kinds of object can be made under this name, and a second user finds the same ones.
    void ExpectUsable(const std::string& name) {
        SCOPED_TRACE(testing::PrintToString(name));
        const auto event = Event(name + "e");
        const auto again = Event(name + "e");
        ASSERT_NE(event, nullptr) << m_os->LastError();
        ASSERT_NE(again, nullptr) << m_os->LastError();
        EXPECT_TRUE(event->Set());
        EXPECT_EQ(again->Wait(0), WaitResult::Signalled);

        const auto mapping = Made(name + "m", 1);
        const auto second = Opened(name + "m");
        ASSERT_NE(mapping, nullptr) << m_os->LastError();
        ASSERT_NE(second, nullptr) << m_os->LastError();
        *mapping->Map(1) = std::byte{7};
        EXPECT_EQ(*second->Map(1), std::byte{7});
    }

    void ExpectRefused(const std::string& name) {
        SCOPED_TRACE(testing::PrintToString(name));
        EXPECT_EQ(Event(name), nullptr);
        EXPECT_NE(m_os->LastError(), 0U);
        EXPECT_EQ(Opened(name), nullptr);
        EXPECT_EQ(Made(name, 4096), nullptr);
    }

    std::shared_ptr<platform::KernelObjects> m_os = GetParam()();
};

TEST_P(KernelObjectsContract, ANewEventIsNotSignalled) {
    const auto event = Event(FreshName());
    ASSERT_NE(event, nullptr);

    EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);
}

TEST_P(KernelObjectsContract, ASignalLetsOneWaitThrough) {
    const auto event = Event(FreshName());
    ASSERT_NE(event, nullptr);

    EXPECT_TRUE(event->Set());

    EXPECT_EQ(event->Wait(0), WaitResult::Signalled);
    EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);
}

TEST_P(KernelObjectsContract, SignalsDoNotAddUp) {
    const auto event = Event(FreshName());
    ASSERT_NE(event, nullptr);

    EXPECT_TRUE(event->Set());
    EXPECT_TRUE(event->Set());

    EXPECT_EQ(event->Wait(0), WaitResult::Signalled);
    EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);
}

TEST_P(KernelObjectsContract, EventsOfOneNameAreOneEvent) {
    const std::string name = FreshName();
    const auto one = Event(name);
    const auto other = Event(name);
    ASSERT_NE(one, nullptr);
    ASSERT_NE(other, nullptr);

    EXPECT_TRUE(one->Set());

    EXPECT_EQ(other->Wait(platform::kNoTimeLimit), WaitResult::Signalled);
    EXPECT_EQ(one->Wait(0), WaitResult::TimedOut);
}

TEST_P(KernelObjectsContract, NamesThatAreBeginningsOfEachOtherAreDifferentEvents) {
    const std::string name = FreshName();
    const auto shortest = Event(name);
    const auto longer = Event(name + "_evt");
    const auto longest = Event(name + "_evt_avl");
    ASSERT_NE(shortest, nullptr);
    ASSERT_NE(longer, nullptr);
    ASSERT_NE(longest, nullptr);

    EXPECT_TRUE(longer->Set());

    EXPECT_EQ(shortest->Wait(0), WaitResult::TimedOut);
    EXPECT_EQ(longest->Wait(0), WaitResult::TimedOut);
    EXPECT_EQ(longer->Wait(0), WaitResult::Signalled);
}

TEST_P(KernelObjectsContract, AnEventKeepsItsSignalWhileOneUserIsLeft) {
    const std::string name = FreshName();
    auto first = Event(name);
    const auto second = Event(name);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(first->Set());

    first.reset();

    EXPECT_EQ(Event(name)->Wait(0), WaitResult::Signalled);
}

TEST_P(KernelObjectsContract, AnEventForgetsItsSignalWithItsLastUser) {
    const std::string name = FreshName();
    auto first = Event(name);
    auto second = Event(name);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(first->Set());

    first.reset();
    second.reset();

    EXPECT_EQ(Event(name)->Wait(0), WaitResult::TimedOut);
}

TEST_P(KernelObjectsContract, AWaitTakesItsWholeTime) {
    // Windows ends a wait at a tick of its clock, which may lie one tick of at most 16 ms before the steady counter's
    // own reckoning.
    const std::int64_t toleranceMs = OnWindows() ? 16 : 0;
    platform::Clock& clock = platform::SystemClock();
    const auto event = Event(FreshName());
    ASSERT_NE(event, nullptr);

    const std::int64_t start = clock.Counter();
    EXPECT_EQ(event->Wait(80), WaitResult::TimedOut);
    const std::int64_t ticks = clock.Counter() - start;

    EXPECT_GE(ticks * 1000, (80 - toleranceMs) * clock.Frequency());
}

TEST_P(KernelObjectsContract, AWaitWithoutLimitEndsWithTheSignalOfAnotherThread) {
    const auto event = Event(FreshName());
    const auto answer = Event(FreshName());
    ASSERT_NE(event, nullptr);
    ASSERT_NE(answer, nullptr);
    WaitResult seen = WaitResult::Failed;
    std::thread waiter([&] {
        seen = event->Wait(platform::kNoTimeLimit);
        answer->Set();
    });

    EXPECT_TRUE(event->Set());

    EXPECT_EQ(answer->Wait(60000), WaitResult::Signalled);
    waiter.join();
    EXPECT_EQ(seen, WaitResult::Signalled);
}

TEST_P(KernelObjectsContract, ThreadsPlayBackAndForthWithoutLosingASignal) {
    constexpr int kRounds = 2000;
    const std::string pingName = FreshName();
    const std::string pongName = FreshName();
    const auto ping = Event(pingName);
    const auto pong = Event(pongName);
    ASSERT_NE(ping, nullptr);
    ASSERT_NE(pong, nullptr);
    int ball = 0;  // plain on purpose: the signals are its order
    std::thread other([&] {
        const auto otherPing = Event(pingName);
        const auto otherPong = Event(pongName);
        for (int round = 0; round < kRounds && otherPing->Wait(60000) == WaitResult::Signalled; ++round) {
            ++ball;
            otherPong->Set();
        }
    });

    for (int round = 0; round < kRounds; ++round) {
        ++ball;
        EXPECT_TRUE(ping->Set());
        ASSERT_EQ(pong->Wait(60000), WaitResult::Signalled) << round;
    }

    other.join();
    EXPECT_EQ(ball, 2 * kRounds);
}

// Were one signal to let two waiters through, the second signal would find nobody and stay.
TEST_P(KernelObjectsContract, EachSignalLetsExactlyOneOfTwoWaitersThrough) {
    const auto event = Event(FreshName());
    const auto passed = Event(FreshName());
    ASSERT_NE(event, nullptr);
    ASSERT_NE(passed, nullptr);
    const auto wait = [&] {
        EXPECT_EQ(event->Wait(60000), WaitResult::Signalled);
        passed->Set();
    };
    std::thread one(wait);
    std::thread two(wait);

    EXPECT_TRUE(event->Set());
    EXPECT_EQ(passed->Wait(60000), WaitResult::Signalled);
    EXPECT_TRUE(event->Set());
    EXPECT_EQ(passed->Wait(60000), WaitResult::Signalled);

    one.join();
    two.join();
    EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);
}

TEST_P(KernelObjectsContract, AMappingThatNobodyMadeCannotBeOpened) {
    EXPECT_EQ(Opened(FreshName()), nullptr);
    EXPECT_EQ(m_os->LastError(), 2U);  // the same number on all systems: no such file
}

TEST_P(KernelObjectsContract, ANewMappingIsZeroToItsEnd) {
    constexpr std::uint32_t kBytes = 7455088;
    const auto mapping = Made(FreshName(), kBytes);
    ASSERT_NE(mapping, nullptr);

    const std::byte* const view = mapping->Map(kBytes);

    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(std::all_of(view, view + kBytes, [](std::byte value) { return value == std::byte{0}; }));
}

TEST_P(KernelObjectsContract, AViewBeginsAtAPage) {
    const auto mapping = Made(FreshName(), 100);
    ASSERT_NE(mapping, nullptr);

    const auto address = reinterpret_cast<std::uintptr_t>(mapping->Map(100));

    EXPECT_NE(address, 0U);
    EXPECT_EQ(address % 4096, 0U);
}

TEST_P(KernelObjectsContract, BothUsersOfAMappingSeeWhatTheOtherWrites) {
    const std::string name = FreshName();
    const auto made = Made(name, 8192);
    const auto opened = Opened(name);
    ASSERT_NE(made, nullptr);
    ASSERT_NE(opened, nullptr);
    std::byte* const one = made->Map(8192);
    std::byte* const other = opened->Map(8192);
    ASSERT_NE(one, nullptr);
    ASSERT_NE(other, nullptr);

    one[0] = std::byte{1};
    other[8191] = std::byte{2};

    EXPECT_EQ(other[0], std::byte{1});
    EXPECT_EQ(one[8191], std::byte{2});
}

TEST_P(KernelObjectsContract, MakingAMappingThatExistsOpensItAsItStands) {
    const std::string name = FreshName();
    const auto first = Made(name, 4096);
    ASSERT_NE(first, nullptr);
    *first->Map(4096) = std::byte{9};

    const auto second = Made(name, 3 * 4096);

    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->Map(4097), nullptr);
    const std::byte* const view = second->Map(4096);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(*view, std::byte{9});
}

TEST_P(KernelObjectsContract, AViewCanBeAsLongAsTheMappingRoundedUpToPagesAndNoLonger) {
    const auto mapping = Made(FreshName(), 4097);
    ASSERT_NE(mapping, nullptr);

    EXPECT_NE(mapping->Map(1), nullptr);
    EXPECT_NE(mapping->Map(8192), nullptr);
    EXPECT_EQ(mapping->Map(8193), nullptr);
    EXPECT_NE(m_os->LastError(), 0U);
    EXPECT_EQ(mapping->Map(std::uint64_t{1} << 40), nullptr);
}

TEST_P(KernelObjectsContract, NothingOfZeroBytesIsMadeOrShown) {
    const std::string name = FreshName();

    EXPECT_EQ(Made(name, 0), nullptr);
    EXPECT_NE(m_os->LastError(), 0U);

    EXPECT_EQ(Opened(name), nullptr);
    const auto mapping = Made(name, 1);
    ASSERT_NE(mapping, nullptr);
    EXPECT_EQ(mapping->Map(0), nullptr);
}

TEST_P(KernelObjectsContract, AReadOnlyUserSeesWhatOthersWrite) {
    const std::string name = FreshName();
    const auto made = Made(name, 4096);
    const auto reader = m_os->OpenMapping(name, MappingAccess::ReadOnly);
    ASSERT_NE(made, nullptr);
    ASSERT_NE(reader, nullptr);
    const std::byte* const seen = reader->Map(4096);
    ASSERT_NE(seen, nullptr);

    made->Map(4096)[17] = std::byte{3};

    EXPECT_EQ(seen[17], std::byte{3});
}

TEST_P(KernelObjectsContract, AViewCanBeTakenAwayTwiceAndMadeAgain) {
    const auto mapping = Made(FreshName(), 4096);
    ASSERT_NE(mapping, nullptr);
    mapping->Unmap();
    *mapping->Map(4096) = std::byte{5};

    mapping->Unmap();
    mapping->Unmap();

    const std::byte* const view = mapping->Map(4096);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(*view, std::byte{5});
}

TEST_P(KernelObjectsContract, ContentsStayWhileOneUserIsLeft) {
    const std::string name = FreshName();
    auto maker = Made(name, 4096);
    const auto other = Opened(name);
    ASSERT_NE(maker, nullptr);
    ASSERT_NE(other, nullptr);
    *maker->Map(4096) = std::byte{5};

    maker.reset();

    const auto third = Made(name, 4096);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(*third->Map(4096), std::byte{5});
}

TEST_P(KernelObjectsContract, AMappingGoesWithItsLastUser) {
    const std::string name = FreshName();
    auto maker = Made(name, 4096);
    auto other = Opened(name);
    ASSERT_NE(maker, nullptr);
    ASSERT_NE(other, nullptr);
    *maker->Map(4096) = std::byte{5};

    maker.reset();
    other.reset();

    EXPECT_EQ(Opened(name), nullptr);
    const auto next = Made(name, 4096);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(*next->Map(4096), std::byte{0});
}

TEST_P(KernelObjectsContract, NamesThatAreBeginningsOfEachOtherAreDifferentMappings) {
    const std::string name = FreshName();
    const auto shortest = Made(name, 1);
    const auto longer = Made(name + "C", 1);
    const auto longest = Made(name + "C_shm", 1);
    ASSERT_NE(shortest, nullptr);
    ASSERT_NE(longer, nullptr);
    ASSERT_NE(longest, nullptr);

    *longer->Map(1) = std::byte{1};

    EXPECT_EQ(*shortest->Map(1), std::byte{0});
    EXPECT_EQ(*longest->Map(1), std::byte{0});
}

TEST_P(KernelObjectsContract, NamesMayHoldBytesThatFileNamesMayNot) {
    for (const char* const part : {"/", "a/b", "..", "../x", " ", "  two", "%", "%2F", "%s", "\n", "\t", "\x01", "\x7F",
                                   ":*?\"<>|", "=", "$HOME", "\xC3\xA9"}) {
        ExpectUsable(FreshName(part));
    }
}

TEST_P(KernelObjectsContract, NamesThatDifferInOneOddByteAreDifferentObjects) {
    const std::string base = FreshName();
    std::vector<std::string> names;
    for (const char* const part : {"", "/", "%", "%2F", "%25", " ", "_", "\n", "\t", "=", "a", "A", ".", "-"}) {
        names.push_back(base + part);
    }
    // Windows takes names for texts of its code page, where bytes above 127 need not stand for anything by themselves.
    names.push_back(base + "\xC3\xA9");
    names.push_back(base + "\xC3\xA8");
    if (!OnWindows()) names.push_back(base + "\xFF");
    std::vector<std::unique_ptr<platform::NamedEvent>> events;
    for (const std::string& name : names)
        events.push_back(Event(name));

    for (std::size_t index = 0; index < names.size(); ++index) {
        SCOPED_TRACE(testing::PrintToString(names[index]));
        ASSERT_NE(events[index], nullptr);
        EXPECT_TRUE(events[index]->Set());
        for (const auto& event : events) {
            const WaitResult expected = event == events[index] ? WaitResult::Signalled : WaitResult::TimedOut;
            EXPECT_EQ(event->Wait(0), expected);
        }
    }
}

TEST_P(KernelObjectsContract, NamesOf259BytesAreTakenAndOf260Refused) {
    std::string longest = FreshName();
    longest.resize(258, '/');  // the worst case: bytes that need the most room elsewhere
    ExpectUsable(longest);     // which adds the 259th

    ExpectRefused(longest + "/x");
}

TEST_P(KernelObjectsContract, LongNamesThatDifferInTheirLastByteAreDifferentObjects) {
    std::string name = FreshName();
    name.resize(258, ' ');
    const auto one = Made(name + "1", 1);
    const auto two = Made(name + "2", 1);
    ASSERT_NE(one, nullptr);
    ASSERT_NE(two, nullptr);

    *one->Map(1) = std::byte{1};

    EXPECT_EQ(*two->Map(1), std::byte{0});
}

TEST_P(KernelObjectsContract, AnEmptyNameIsRefused) {
    ExpectRefused("");
}

TEST_P(KernelObjectsContract, ANameWithANulInsideIsRefused) {
    ExpectRefused(FreshName(std::string("\0x", 2)));
}

TEST_P(KernelObjectsContract, ABackslashIsRefusedOutsideTheNamespacePrefixes) {
    ExpectRefused(FreshName("\\b"));
    ExpectRefused("Local\\" + FreshName("\\b"));
    ExpectRefused("Elsewhere\\" + FreshName());
}

TEST_P(KernelObjectsContract, TheNamespacePrefixesAreTaken) {
    ExpectUsable("Local\\" + FreshName());
    ExpectUsable("Global\\" + FreshName());
}

TEST_P(KernelObjectsContract, TheLocalNamespaceIsTheOneWithoutPrefix) {
    const std::string name = FreshName();
    const auto bare = Event(name);
    const auto local = Event("Local\\" + name);
    ASSERT_NE(bare, nullptr);
    ASSERT_NE(local, nullptr);

    EXPECT_TRUE(bare->Set());

    EXPECT_EQ(local->Wait(0), WaitResult::Signalled);
}

TEST_P(KernelObjectsContract, ClosingObjectsKeepsTheLastError) {
    auto event = Event(FreshName());
    auto mapping = Made(FreshName(), 4096);
    ASSERT_NE(event, nullptr);
    ASSERT_NE(mapping, nullptr);
    ASSERT_NE(mapping->Map(4096), nullptr);
    ASSERT_EQ(Opened(FreshName()), nullptr);

    event.reset();
    mapping.reset();

    EXPECT_EQ(m_os->LastError(), 2U);
}

TEST_P(KernelObjectsContract, EachThreadHasALastErrorOfItsOwn) {
    ASSERT_EQ(Opened(FreshName()), nullptr);

    std::thread other([&] {
        EXPECT_EQ(Made(FreshName(), 0), nullptr);
        EXPECT_NE(m_os->LastError(), 2U);
    });
    other.join();

    EXPECT_EQ(m_os->LastError(), 2U);
}

}  // namespace contract
