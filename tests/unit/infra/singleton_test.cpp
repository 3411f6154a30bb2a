#include "infra/singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/event_flag.h"

namespace infra {
namespace {

// Keeps the destructor call, for the test to make.
struct RecordingPolicy {
    static void OnBuilt(void (*destroy)()) noexcept {
        ++registrations;
        lastDestroy = destroy;
    }

    static inline std::int32_t registrations = 0;
    static inline void (*lastDestroy)() = nullptr;
};

class Plain : public Singleton<Plain, NoDestructor> {
 public:
    std::int32_t value = 5;
};

static_assert(std::has_virtual_destructor_v<Singleton<Plain, NoDestructor>>);

TEST(Singleton, GivesTheSameObjectEachTime) {
    Plain::GetInstance().value = 6;

    EXPECT_EQ(&Plain::GetInstance(), &Plain::GetInstance());
    EXPECT_EQ(Plain::GetInstance().value, 6);
}

TEST(Singleton, LetsOthersBeBuiltBesideIt) {
    const Plain first;
    const Plain second;

    EXPECT_NE(&first, &second);
    EXPECT_NE(&first, &Plain::GetInstance());
    EXPECT_EQ(first.value, 5);
}

// Filled up to its alignment, as padding is a warning with some compilers.
class alignas(64) Aligned : public Singleton<Aligned, NoDestructor> {
 public:
    std::byte bytes[64 - sizeof(void*)];
};
static_assert(sizeof(Aligned) == 64);

TEST(Singleton, IsAlignedAsItsTypeAsks) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&Aligned::GetInstance()) % 64, 0u);
}

class Lazy : public Singleton<Lazy, RecordingPolicy> {
 public:
    Lazy() { ++built; }
    ~Lazy() override { ++destroyed; }

    static inline std::int32_t built = 0;
    static inline std::int32_t destroyed = 0;
};

TEST(Singleton, IsBuiltAndRegisteredOnFirstUseAndOnce) {
    EXPECT_EQ(Lazy::built, 0);
    const std::int32_t registrationsBefore = RecordingPolicy::registrations;

    Lazy::GetInstance();
    Lazy::GetInstance();

    EXPECT_EQ(Lazy::built, 1);
    EXPECT_EQ(RecordingPolicy::registrations, registrationsBefore + 1);
    EXPECT_EQ(Lazy::destroyed, 0);
    RecordingPolicy::lastDestroy();
    EXPECT_EQ(Lazy::destroyed, 1);
}

class FailsOnce : public Singleton<FailsOnce, RecordingPolicy> {
 public:
    FailsOnce() {
        if (++tries == 1) {
            throw std::runtime_error("first try");
        }
    }

    static inline std::int32_t tries = 0;
};

TEST(Singleton, IsBuiltAtTheNextTryWhenItsConstructorThrows) {
    const std::int32_t registrationsBefore = RecordingPolicy::registrations;

    EXPECT_THROW(FailsOnce::GetInstance(), std::runtime_error);
    EXPECT_EQ(RecordingPolicy::registrations, registrationsBefore);

    EXPECT_NO_THROW(FailsOnce::GetInstance());
    EXPECT_EQ(FailsOnce::tries, 2);
    EXPECT_EQ(RecordingPolicy::registrations, registrationsBefore + 1);
    EXPECT_NO_THROW(FailsOnce::GetInstance());
    EXPECT_EQ(FailsOnce::tries, 2);
}

class Contended : public Singleton<Contended, NoDestructor> {
 public:
    Contended() {
        ++built;
        inConstructor.Set();
        EXPECT_TRUE(letGo.Wait());
        value = 7;
    }

    static inline std::atomic<std::int32_t> built{0};
    static inline support::EventFlag inConstructor;
    static inline support::EventFlag letGo;
    std::int32_t value = 0;  // plain: the others must see it written
};

TEST(Singleton, IsBuiltByOneThreadWhileTheOthersWait) {
    constexpr std::size_t kThreads = 4;
    std::vector<Contended*> seen(kThreads);
    std::vector<std::int32_t> values(kThreads);
    std::vector<std::thread> threads;
    std::atomic<std::size_t> arrived{0};
    support::EventFlag allArrived;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            if (++arrived == kThreads) {
                allArrived.Set();
            }
            seen[i] = &Contended::GetInstance();
            values[i] = seen[i]->value;
        });
    }
    ASSERT_TRUE(allArrived.Wait());
    ASSERT_TRUE(Contended::inConstructor.Wait());
    Contended::letGo.Set();
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(Contended::built, 1);
    EXPECT_EQ(seen, std::vector<Contended*>(kThreads, &Contended::GetInstance()));
    EXPECT_EQ(values, std::vector<std::int32_t>(kThreads, 7));
}

#if GTEST_HAS_DEATH_TEST

void Say(const char* text) {
    std::fputs(text, stderr);
}

class Destroyed : public Singleton<Destroyed, NeedDestructor> {
 public:
    ~Destroyed() override { Say("destroyed "); }
};

class Kept : public Singleton<Kept, NoDestructor> {
 public:
    ~Kept() override { Say("kept was destroyed "); }
};

TEST(SingletonDeathTest, IsDestroyedInTheOrderOfExitHandlers) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    EXPECT_EXIT(
        {
            std::atexit([] { Say("first\n"); });
            Destroyed::GetInstance();
            std::atexit([] { Say("last "); });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "last destroyed first");
}

TEST(SingletonDeathTest, StaysWhenItIsNeverToBeDestroyed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    EXPECT_EXIT(
        {
            std::atexit([] { Say("first\n"); });
            Kept::GetInstance();
            std::atexit([] { Say("last "); });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "last first");
}

#endif

}  // namespace
}  // namespace infra
