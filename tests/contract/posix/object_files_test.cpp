#include <gmock/gmock.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "contract/object_names.h"
#include "contract/object_steps.h"
#include "contract/own_child.h"
#include "platform/kernel_objects.h"
#include "platform/posix/object_name.h"

// What named objects leave in the file system.
namespace contract {
namespace {

using platform::MappingAccess;
using platform::WaitResult;
using platform::posix::ObjectFileName;
using platform::posix::ObjectKind;

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
