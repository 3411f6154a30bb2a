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
constexpr std::array kStreams = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};

void CloseStreams() {
    for (const int stream : kStreams)
        ::close(stream);
}

std::string TargetOf(int descriptor) {
    std::error_code none;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), none).string();
}

// The first stream with something else behind it than `target`, counted from 1; 0 when there is none.
int StreamThatIsNot(const std::string& target) {
    for (const int stream : kStreams) {
        if (TargetOf(stream) != target) return stream + 1;
    }
    return 0;
}

const roles::Registered g_streamsAreNull("streams-are-null", [](const auto&) { return StreamThatIsNot("/dev/null"); });
const roles::Registered g_prepareWithoutStreams("prepare-without-streams", [](const auto&) {
    CloseStreams();
    platform::PrepareProcess();
    return StreamThatIsNot("/dev/null");
});
const roles::Registered g_prepareWithoutOutput("prepare-without-output", [](const auto&) {
    const std::string input = TargetOf(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    platform::PrepareProcess();
    return TargetOf(STDIN_FILENO) == input && TargetOf(STDOUT_FILENO) == "/dev/null" ? 0 : 1;
});
const roles::Registered g_objectsWithoutStreams("objects-without-streams", [](const auto&) {
    CloseStreams();
    platform::KernelObjects& os = platform::SystemKernelObjects();
    const auto event = os.CreateOrOpenEvent(contract::FreshName("e"));
    const auto mapping = os.CreateMapping(contract::FreshName("m"), 4096);
    return event != nullptr && mapping != nullptr ? StreamThatIsNot("") : -1;
});
const roles::Registered g_startWithoutStreams("start-without-streams", [](const std::string& tail) {
    CloseStreams();
    return OwnChild(tail).EndCode();
});
const roles::Registered g_startToFileWithoutStreams("start-without-streams-to-file", [](const auto&) {
    CloseStreams();
    return OutputOf("tail:written") == "written" ? 0 : 1;
});
const roles::Registered g_startWithClosingStreams("start-with-closing-streams", [](const std::string& tail) {
    for (const int stream : kStreams)
        (void)::fcntl(stream, F_SETFD, FD_CLOEXEC);
    return OwnChild(tail).EndCode();
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

// A descriptor that is free is the next file's: were a stream left closed, what is printed would go into an object.
TEST(PrepareProcess, PutsNothingBehindClosedStreams) {
    EXPECT_EQ(OwnChild("prepare-without-streams:").EndCode(), 0);
    EXPECT_EQ(OwnChild("prepare-without-output:").EndCode(), 0);
}

TEST(ChildOnLinux, KeepsItsObjectsOffItsClosedStreams) {
    EXPECT_EQ(OwnChild("objects-without-streams:").EndCode(), 0);
}

TEST(ChildOnLinux, GetsNothingBehindAStreamThatItsParentLacks) {
    EXPECT_EQ(OwnChild("start-without-streams:streams-are-null:").EndCode(), 0);
    EXPECT_EQ(OwnChild("start-with-closing-streams:streams-are-null:").EndCode(), 0);
}

TEST(ChildOnLinux, WritesToItsFilesAlsoWhenItsParentLacksStreams) {
    EXPECT_EQ(OwnChild("start-without-streams-to-file:").EndCode(), 0);
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
