#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
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
const roles::Registered g_hang("hang", [](const auto&) {
    std::this_thread::sleep_for(std::chrono::milliseconds(contract::kWatchdogMs));
    return 1;
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

TEST(ChildOnLinux, ThatIsTiedEndsWithTheThreadThatStartedIt) {
    platform::ChildStart start{OwnProgram(), "hang:", {}, {}, {}};
    start.lifetime = platform::Lifetime::ThisProcess;
    std::optional<OwnChild> child;
    bool ran = false;
    std::thread([&] {
        child.emplace(start);
        ran = child->Runs();
    }).join();
    EXPECT_TRUE(ran);
    const auto exit = child->End();
    ASSERT_TRUE(exit.has_value());
    EXPECT_EQ(exit->signal, SIGKILL);
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

std::ptrdiff_t OpenDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

TEST(ChildOnLinux, LeavesNoDescriptorBehind) {
    EXPECT_EQ(OwnChild("exit:0").EndCode(), 0);
    const std::ptrdiff_t before = OpenDescriptors();

    for (int i = 0; i < 3; ++i) {
        const TemporaryFile output;
        std::string error;
        OwnChild child(platform::ChildStart{OwnProgram(), "exit:0", {}, output.Path(), output.Path()});
        EXPECT_EQ(child.EndCode(), 0);
        EXPECT_EQ(platform::SystemChildProcesses().Start({"/no such program", "", {}, {}, {}}, error), nullptr);
        EXPECT_EQ(platform::SystemChildProcesses().Start({OwnProgram(), "", {}, "/no such/file", {}}, error), nullptr);
    }

    EXPECT_EQ(OpenDescriptors(), before);
}

// Waits until the system says that the child has ended, and leaves its entry in the process table.
void AwaitEnd(std::uint32_t id) {
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, id, &info, WEXITED | WNOWAIT), 0);
}

TEST(ChildOnLinux, ThatHasEndedIsReapedWhenItIsLetGo) {
    const std::ptrdiff_t before = OpenDescriptors();
    std::string error;
    auto child = platform::SystemChildProcesses().Start({OwnProgram(), "exit:0", {}, {}, {}}, error);
    ASSERT_NE(child, nullptr) << error;
    const std::uint32_t id = child->Id();
    ASSERT_NO_FATAL_FAILURE(AwaitEnd(id));

    child.reset();

    EXPECT_FALSE(std::filesystem::exists("/proc/" + std::to_string(id)));
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(ChildOnLinux, HasEndedWithAnUnknownCodeWhenSomebodyElseReapedIt) {
    const std::ptrdiff_t before = OpenDescriptors();
    {
        OwnChild child("exit:3");
        ASSERT_EQ(::waitpid(static_cast<pid_t>(child.Process().Id()), nullptr, 0),
                  static_cast<pid_t>(child.Process().Id()));

        for (const std::uint32_t timeoutMs : {0U, 10U, platform::kNoTimeLimit}) {
            const auto exit = child.Process().WaitForExit(timeoutMs);
            ASSERT_TRUE(exit.has_value());
            EXPECT_EQ(exit->code, platform::kUnknownExitCode);
            EXPECT_EQ(exit->signal, 0);
        }
        child.Process().Kill();
    }

    EXPECT_EQ(OpenDescriptors(), before);
}

// In a child of its own, as it would ignore them for the other tests too.
const roles::Registered g_ignoreChildren("ignore-children", [](const auto&) {
    (void)std::signal(SIGCHLD, SIG_IGN);
    const std::ptrdiff_t before = OpenDescriptors();
    for (int i = 0; i < 20; ++i) {
        OwnChild child("exit:3");
        const auto exit = child.End();
        if (!exit || exit->code != platform::kUnknownExitCode || exit->signal != 0) return 1;
    }
    {
        const std::string name = contract::FreshName();
        const auto end = platform::SystemKernelObjects().CreateOrOpenEvent(name);
        OwnChild running("until:" + name);
        if (running.Process().WaitForExit(10)) return 2;  // it is running, not unknown
        std::string error;
        auto letGo = platform::SystemChildProcesses().Start({OwnProgram(), "until:" + name, {}, {}, {}}, error);
        if (letGo == nullptr) return 3;
        const std::string entry = "/proc/" + std::to_string(letGo->Id());
        letGo.reset();
        if (!end->Set() || !end->Set()) return 4;
        running.Kill();
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::milliseconds(contract::kWatchdogMs);
        while (std::filesystem::exists(entry)) {
            if (std::chrono::steady_clock::now() > giveUp) return 5;
            (void)end->Set();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        OwnChild("exit:0").End();  // has an eye on those that were let go
    }
    return OpenDescriptors() == before ? 0 : 6;
});

TEST(ChildOnLinux, HasEndedWithAnUnknownCodeWhereChildrenAreIgnored) {
    EXPECT_EQ(OwnChild("ignore-children:").EndCode(), 0);
}

const roles::Registered g_childrenAreNoticed("children-are-noticed", [](const auto&) {
    struct sigaction now {};
    return ::sigaction(SIGCHLD, nullptr, &now) == 0 && now.sa_handler == SIG_DFL ? 0 : 1;
});
const roles::Registered g_ignoreAndStart("ignore-and-start", [](const std::string& tail) {
    (void)std::signal(SIGCHLD, SIG_IGN);
    const TemporaryFile file;
    OwnChild child(platform::ChildStart{OwnProgram(), tail, {}, file.Path(), {}});
    (void)child.End();
    return file.Content() == "0" ? 0 : 1;
});
const roles::Registered g_sayCode("say-code", [](const std::string& tail) {
    const int code = roles::All().at(tail)("");
    platform::SystemStandardStreams().Write(platform::StandardStream::Output, std::to_string(code));
    return code;
});

TEST(ChildOnLinux, DoesNotInheritThatChildrenAreIgnored) {
    EXPECT_EQ(OwnChild("ignore-and-start:say-code:children-are-noticed").EndCode(), 0);
}

// The system refuses to wait for more descriptors than a process may have.
class NoDescriptorsToWaitFor {
 public:
    NoDescriptorsToWaitFor() {
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &m_before), 0);
        const rlimit none{0, m_before.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    }
    NoDescriptorsToWaitFor(const NoDescriptorsToWaitFor&) = delete;
    NoDescriptorsToWaitFor& operator=(const NoDescriptorsToWaitFor&) = delete;
    ~NoDescriptorsToWaitFor() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

 private:
    rlimit m_before{};
};

TEST(ChildOnLinux, IsWaitedForAlsoWhenTheSystemRefusesTheWait) {
    const std::string name = contract::FreshName();
    const auto end = platform::SystemKernelObjects().CreateOrOpenEvent(name);
    ASSERT_NE(end, nullptr);
    OwnChild child("until:" + name);
    const NoDescriptorsToWaitFor refusal;

    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(child.Process().WaitForExit(0).has_value());
    EXPECT_FALSE(child.Process().WaitForExit(50).has_value());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));

    EXPECT_TRUE(end->Set());
    const auto exit = child.Process().WaitForExit(platform::kNoTimeLimit);
    ASSERT_TRUE(exit.has_value());
    EXPECT_EQ(exit->code, 0);
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
