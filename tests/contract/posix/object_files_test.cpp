#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <barrier>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "contract/object_names.h"
#include "contract/object_steps.h"
#include "contract/own_child.h"
#include "platform/kernel_objects.h"
#include "platform/posix/object_file.h"
#include "platform/posix/object_name.h"
#include "platform/posix/unique_descriptor.h"

// What named objects leave in the file system.
namespace contract {
namespace {

using platform::MappingAccess;
using platform::WaitResult;
using platform::posix::ObjectFile;
using platform::posix::ObjectFileName;
using platform::posix::ObjectKind;
using platform::posix::UniqueDescriptor;

std::filesystem::path FileOf(ObjectKind kind, const std::string& name) {
    int error = 0;
    return "/dev/shm/" + ObjectFileName(kind, name, error);
}

class ObjectFiles : public testing::Test {
 protected:
    bool EventFileExists() { return exists(FileOf(ObjectKind::Event, m_event)); }
    bool MappingFileExists() { return exists(FileOf(ObjectKind::Mapping, m_mapping)); }

    // Two users in two processes, both ended from outside.
    void LeaveADeadPairsFiles() {
        const std::string ready = FreshName("r");
        const auto readyEvent = m_os.CreateOrOpenEvent(ready);
        ASSERT_NE(readyEvent, nullptr);
        const std::string steps = std::string(kStepsRole) + "event " + m_event + ";create " + m_mapping +
                                  " 4096;event " + ready + ";set " + ready + ";hang";
        OwnChild one(steps);
        ASSERT_EQ(readyEvent->Wait(kWatchdogMs), WaitResult::Signalled);
        OwnChild two(steps);
        ASSERT_EQ(readyEvent->Wait(kWatchdogMs), WaitResult::Signalled);
        one.Kill();
        two.Kill();
        ASSERT_TRUE(EventFileExists());
        ASSERT_TRUE(MappingFileExists());
    }

    platform::KernelObjects& m_os = platform::SystemKernelObjects();
    const std::string m_event = FreshName("e/");
    const std::string m_mapping = FreshName("m/");
};

TEST_F(ObjectFiles, StandWhileThereIsAUserAndCanBeReadByNobodyElse) {
    auto event = m_os.CreateOrOpenEvent(m_event);
    auto mapping = m_os.CreateMapping(m_mapping, 4096);
    ASSERT_TRUE(EventFileExists());
    ASSERT_TRUE(MappingFileExists());
    const auto onlyMine = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    EXPECT_EQ(status(FileOf(ObjectKind::Event, m_event)).permissions(), onlyMine);
    EXPECT_EQ(status(FileOf(ObjectKind::Mapping, m_mapping)).permissions(), onlyMine);

    event.reset();
    mapping.reset();

    EXPECT_FALSE(EventFileExists());
    EXPECT_FALSE(MappingFileExists());
}

TEST_F(ObjectFiles, OfADeadPairGoWithTheNextUser) {
    ASSERT_NO_FATAL_FAILURE(LeaveADeadPairsFiles());

    auto event = m_os.CreateOrOpenEvent(m_event);
    auto mapping = m_os.CreateMapping(m_mapping, 4096);
    ASSERT_NE(event, nullptr);
    ASSERT_NE(mapping, nullptr);
    event.reset();
    mapping.reset();

    EXPECT_FALSE(EventFileExists());
    EXPECT_FALSE(MappingFileExists());
}

TEST_F(ObjectFiles, OfADeadPairGoWhenSomebodyLooksForTheMapping) {
    ASSERT_NO_FATAL_FAILURE(LeaveADeadPairsFiles());

    EXPECT_EQ(m_os.OpenMapping(m_mapping, MappingAccess::ReadWrite), nullptr);

    EXPECT_FALSE(MappingFileExists());
    EXPECT_NE(m_os.CreateOrOpenEvent(m_event), nullptr);  // and is gone again at once
    EXPECT_FALSE(EventFileExists());
}

TEST_F(ObjectFiles, OfADeadPairGoWhenSomeOtherProcessUsesItsFirstObject) {
    ASSERT_NO_FATAL_FAILURE(LeaveADeadPairsFiles());
    const std::string kept = FreshName("kept");
    const auto inUse = m_os.CreateMapping(kept, 4096);

    const std::string ready = FreshName("r");
    const auto readyEvent = m_os.CreateOrOpenEvent(ready);
    ASSERT_NE(readyEvent, nullptr);
    const OwnChild child(std::string(kStepsRole) + "event " + ready + ";set " + ready + ";hang");
    ASSERT_EQ(readyEvent->Wait(kWatchdogMs), WaitResult::Signalled);

    EXPECT_FALSE(EventFileExists());
    EXPECT_FALSE(MappingFileExists());
    EXPECT_TRUE(exists(FileOf(ObjectKind::Mapping, kept)));
}

// The folder is everybody's: names that only look like ours, and links, are not ours to remove.
TEST_F(ObjectFiles, OfOthersAreLeftAloneWhenLeftoversGo) {
    const std::string fresh = FreshName();
    const std::filesystem::path folder = "/dev/shm";
    const std::vector<std::filesystem::path> files = {folder / ("velmoml-" + fresh), folder / ("velmoml-x." + fresh),
                                                      folder / ("velmoml-e" + fresh), folder / ("elmoml-e." + fresh)};
    for (const std::filesystem::path& file : files)
        std::ofstream(file) << "text";
    const std::filesystem::path link = FileOf(ObjectKind::Mapping, m_mapping);
    create_symlink(files[0], link);
    const std::filesystem::path leftover = FileOf(ObjectKind::Event, m_event);
    std::ofstream(leftover) << "text";

    ObjectFile::RemoveLeftovers();

    EXPECT_FALSE(exists(leftover));
    EXPECT_TRUE(is_symlink(link));
    remove(link);
    for (const std::filesystem::path& file : files) {
        EXPECT_TRUE(exists(file)) << file;
        remove(file);
    }
}

TEST_F(ObjectFiles, WithSomebodyAtTheGateAreNoLeftovers) {
    const std::filesystem::path path = FileOf(ObjectKind::Event, m_event);
    {
        const UniqueDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        struct flock gate {};
        gate.l_type = F_WRLCK;
        gate.l_whence = SEEK_SET;
        gate.l_start = 1;
        gate.l_len = 1;
        ASSERT_EQ(::fcntl(file.Get(), F_OFD_SETLK, &gate), 0);

        ObjectFile::RemoveLeftovers();

        EXPECT_TRUE(exists(path));
    }

    ObjectFile::RemoveLeftovers();

    EXPECT_FALSE(exists(path));
}

TEST_F(ObjectFiles, OfBothKindsAreNeverHadUnderOneName) {
    constexpr int kRounds = 2000;
    std::barrier together(2);
    std::unique_ptr<platform::NamedEvent> event;
    std::unique_ptr<platform::NamedMapping> mapping;
    std::thread other([&] {
        for (int round = 0; round < kRounds; ++round) {
            together.arrive_and_wait();
            mapping = m_os.CreateMapping(m_event, 4096);
            together.arrive_and_wait();
            together.arrive_and_wait();
            mapping.reset();
        }
    });
    int both = 0;
    int one = 0;
    for (int round = 0; round < kRounds; ++round) {
        together.arrive_and_wait();
        event = m_os.CreateOrOpenEvent(m_event);
        together.arrive_and_wait();
        both += event != nullptr && mapping != nullptr ? 1 : 0;
        one += event != nullptr || mapping != nullptr ? 1 : 0;
        together.arrive_and_wait();
        event.reset();
    }
    other.join();

    EXPECT_EQ(both, 0);
    EXPECT_GT(one, 0);
    EXPECT_FALSE(EventFileExists());
    EXPECT_FALSE(exists(FileOf(ObjectKind::Mapping, m_event)));
}

// Whether a process sleeps: what it does behind its last signal is to wait.
bool Sleeps(std::uint32_t id) {
    std::ifstream stat("/proc/" + std::to_string(id) + "/stat");
    std::string text;
    std::getline(stat, text);
    return text.find(") S ") != std::string::npos;
}

TEST_F(ObjectFiles, OfEventsLetTheNextWaiterThroughWhenOneIsKilled) {
    const auto event = m_os.CreateOrOpenEvent(m_event);
    const std::string ready = FreshName("r");
    const auto readyEvent = m_os.CreateOrOpenEvent(ready);
    ASSERT_NE(event, nullptr);
    ASSERT_NE(readyEvent, nullptr);
    const std::string steps =
        std::string(kStepsRole) + "event " + m_event + ";event " + ready + ";set " + ready + ";wait " + m_event;
    for (int round = 0; round < 3; ++round) {
        OwnChild killed(steps);
        ASSERT_EQ(readyEvent->Wait(kWatchdogMs), WaitResult::Signalled);
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::milliseconds(kWatchdogMs);
        while (!Sleeps(killed.Process().Id())) {
            ASSERT_LT(std::chrono::steady_clock::now(), giveUp);
            std::this_thread::yield();
        }
        killed.Kill();
        EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);

        OwnChild next(steps);
        ASSERT_EQ(readyEvent->Wait(kWatchdogMs), WaitResult::Signalled);
        EXPECT_TRUE(event->Set());

        EXPECT_EQ(next.EndCode(), 0);
        EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);
    }
}

TEST_F(ObjectFiles, AreNeverReachedThroughALink) {
    const std::filesystem::path target = FileOf(ObjectKind::Mapping, FreshName("target"));
    const std::filesystem::path link = FileOf(ObjectKind::Mapping, m_mapping);
    create_symlink(target, link);

    EXPECT_EQ(m_os.CreateMapping(m_mapping, 4096), nullptr);
    EXPECT_EQ(m_os.OpenMapping(m_mapping, MappingAccess::ReadWrite), nullptr);

    EXPECT_FALSE(exists(target));
    remove(link);
}

TEST_F(ObjectFiles, AreNeverAnythingButPlainFiles) {
    const std::filesystem::path folder = FileOf(ObjectKind::Mapping, m_mapping);
    create_directory(folder);

    EXPECT_EQ(m_os.CreateMapping(m_mapping, 4096), nullptr);

    EXPECT_TRUE(is_directory(folder));
    remove(folder);
}

// The memory is asked for when the object is made: an access later on could only end the process. A limit on this
// process's files stands in for a full file system; both are refusals to reserve.
TEST_F(ObjectFiles, AreNotMadeWhenTheirMemoryCannotBeReserved) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{4096, before.rlim_max};
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);

    const auto tooLarge = m_os.CreateMapping(m_mapping, 4097);
    const std::uint32_t error = m_os.LastError();
    const bool leftBehind = MappingFileExists();
    const auto largeEnough = m_os.CreateMapping(m_mapping, 4096);

    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    (void)std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(tooLarge, nullptr);
    EXPECT_EQ(error, static_cast<std::uint32_t>(EFBIG));
    EXPECT_FALSE(leftBehind);
    EXPECT_NE(largeEnough, nullptr);
}

}  // namespace
}  // namespace contract
