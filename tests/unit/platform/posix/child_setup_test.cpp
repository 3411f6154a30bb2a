#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "child_roles.h"
#include "contract/object_names.h"
#include "contract/own_child.h"
#include "output_of.h"
#include "platform/kernel_objects.h"
#include "platform/posix/unique_descriptor.h"
#include "platform/process_setup.h"
#include "platform/standard_streams.h"

// What a child starts with, and what is left of it, on Linux.
namespace {

using contract::OwnChild;
using contract::OwnProgram;
using platform::posix::UniqueDescriptor;

int WriteToAClosedPipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) == -1) return 2;
    ::close(ends[0]);
    return ::write(ends[1], "x", 1) == -1 && errno == EPIPE ? 0 : 1;
}

const roles::Registered g_closedPipe("closed-pipe", [](const auto&) { return WriteToAClosedPipe(); });
const roles::Registered g_preparedPipe("prepared-pipe", [](const auto&) {
    platform::PrepareProcess();
    return WriteToAClosedPipe();
});
const roles::Registered g_prepareAndStart("prepare-and-start", [](const std::string& tail) {
    platform::PrepareProcess();
    const auto exit = OwnChild(tail).End();
    return exit.has_value() && exit->signal == SIGPIPE ? 0 : 1;
});
const roles::Registered g_isOpen("is-open", [](const std::string& descriptor) {
    return ::fcntl(std::stoi(descriptor), F_GETFD) != -1 ? 1 : 0;
});
const roles::Registered g_streams("streams", [](const auto&) {
    platform::SystemStandardStreams().Write(platform::StandardStream::Output, "lost");
    platform::SystemStandardStreams().Write(platform::StandardStream::Error, "arrives");
    platform::SystemStandardStreams().Write(platform::StandardStream::Output, "lost too");
    return 0;
});

TEST(PrepareProcess, KeepsAClosedPipeFromEndingTheProcess) {
    EXPECT_EQ(OwnChild("prepared-pipe:").EndCode(), 0);

    const auto unprepared = OwnChild("closed-pipe:").End();
    ASSERT_TRUE(unprepared.has_value());
    EXPECT_EQ(unprepared->signal, SIGPIPE);
}

TEST(ChildOnLinux, DoesNotInheritThatPipesAreIgnored) {
    EXPECT_EQ(OwnChild("prepare-and-start:closed-pipe:").EndCode(), 0);
}

TEST(ChildOnLinux, GetsNoDescriptorButTheStreams) {
    const UniqueDescriptor careless(::open("/dev/null", O_RDONLY));  // not close-on-exec
    ASSERT_TRUE(static_cast<bool>(careless));

    EXPECT_EQ(OwnChild("is-open:" + std::to_string(careless.Get())).EndCode(), 0);
    EXPECT_EQ(OwnChild("is-open:1").EndCode(), 1);
}

TEST(ChildOnLinux, TextsThatCannotBeWrittenAreDropped) {
    const TemporaryFile error;
    OwnChild child(platform::ChildStart{OwnProgram(), "streams:", {}, "/dev/full", error.Path()});

    EXPECT_EQ(child.EndCode(), 0);

    EXPECT_EQ(error.Content(), "arrives");
}

// True when the process has ended, whether or not its entry in the process table is still there.
bool HasEnded(std::uint32_t id) {
    std::ifstream stat("/proc/" + std::to_string(id) + "/stat");
    std::string text;
    std::getline(stat, text);
    return text.empty() || text.find(") Z ") != std::string::npos;
}

TEST(ChildOnLinux, ThatWasLetGoIsReapedWithTheNextStart) {
    const std::string name = contract::FreshName();
    const auto end = platform::SystemKernelObjects().CreateOrOpenEvent(name);
    ASSERT_NE(end, nullptr);
    std::string error;
    auto child = platform::SystemChildProcesses().Start({OwnProgram(), "until:" + name, {}, {}, {}}, error);
    ASSERT_NE(child, nullptr) << error;
    const std::uint32_t id = child->Id();
    child.reset();
    EXPECT_TRUE(end->Set());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(contract::kWatchdogMs);
    while (!HasEnded(id) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(HasEnded(id));
    ASSERT_TRUE(std::filesystem::exists("/proc/" + std::to_string(id)));

    EXPECT_EQ(OwnChild("exit:0").EndCode(), 0);

    EXPECT_FALSE(std::filesystem::exists("/proc/" + std::to_string(id)));
}

TEST(ChildOnLinux, ObjectsAreNotInherited) {
    const auto before = platform::SystemKernelObjects().CreateMapping(contract::FreshName(), 4096);
    ASSERT_NE(before, nullptr);

    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the iteration's own descriptor
        const auto target = std::filesystem::read_symlink(entry.path(), gone);
        if (gone || !target.string().starts_with("/dev/shm/velmoml-")) continue;
        const int flags = ::fcntl(std::stoi(entry.path().filename()), F_GETFD);
        EXPECT_NE(flags & FD_CLOEXEC, 0) << target;
    }
}

}  // namespace
