#include "platform/child_process.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "child_roles.h"
#include "contract/object_names.h"
#include "contract/own_child.h"
#include "output_of.h"
#include "platform/kernel_objects.h"
#include "platform/standard_streams.h"
#include "platform/threads.h"

namespace {

using contract::OwnChild;
using contract::OwnProgram;
using platform::ChildStart;
using platform::StandardStream;
using testing::IsEmpty;
using testing::Not;

void Say(const std::string& text) {
    platform::SystemStandardStreams().Write(StandardStream::Output, text);
}

int SayAndSucceed(const std::string& text) {
    Say(text);
    return 0;
}

const roles::Registered g_exit("exit", [](const std::string& rest) { return std::stoi(rest); });
const roles::Registered g_tail("tail", SayAndSucceed);
const roles::Registered g_id("id",
                             [](const auto&) { return SayAndSucceed(std::to_string(platform::CurrentProcessId())); });
const roles::Registered g_variable("variable", [](const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    return SayAndSucceed(value == nullptr ? "(none)" : value);
});
const roles::Registered g_until("until", [](const std::string& event) {
    const auto end = platform::SystemKernelObjects().CreateOrOpenEvent(event);
    return end != nullptr && end->Wait(contract::kWatchdogMs) == platform::WaitResult::Signalled ? 0 : 1;
});
const roles::Registered g_nested("nested", [](const std::string& rest) { return OwnChild(rest).EndCode(); });

// A child that runs until it is told to end, or killed.
class RunningChild : public testing::Test {
 protected:
    const std::string m_name = contract::FreshName();
    std::unique_ptr<platform::NamedEvent> m_end = platform::SystemKernelObjects().CreateOrOpenEvent(m_name);
    OwnChild m_child = OwnChild("until:" + m_name);
};

TEST(ChildProcess, ExitCodesComeThroughAsTheyWereGiven) {
    for (const int code : {0, 3, -1, 70, 127, -128}) {
        SCOPED_TRACE(code);
        OwnChild child("exit:" + std::to_string(code));
        const auto exit = child.End();
        ASSERT_TRUE(exit.has_value());
        EXPECT_EQ(exit->code, code);
        EXPECT_EQ(exit->signal, 0);
    }
}

TEST(ChildProcess, TheExitCanBeAskedForAgain) {
    OwnChild child("exit:3");
    EXPECT_EQ(child.EndCode(), 3);

    EXPECT_EQ(child.Process().WaitForExit(0)->code, 3);
    EXPECT_EQ(child.Process().WaitForExit(platform::kNoTimeLimit)->code, 3);
}

TEST(ChildProcess, CarriesTheNumberThatItHasItself) {
    const TemporaryFile file;
    OwnChild child(ChildStart{OwnProgram(), "id:", {}, file.Path(), {}});
    EXPECT_EQ(child.EndCode(), 0);

    EXPECT_EQ(file.Content(), std::to_string(child.Process().Id()));
}

TEST_F(RunningChild, AWaitRunsOutWhileItRuns) {
    EXPECT_FALSE(m_child.Process().WaitForExit(0).has_value());
    EXPECT_FALSE(m_child.Process().WaitForExit(20).has_value());

    EXPECT_TRUE(m_end->Set());
    EXPECT_EQ(m_child.EndCode(), 0);
}

TEST_F(RunningChild, EndsAtOnceWhenItIsKilled) {
    m_child.Process().Kill();

    const auto exit = m_child.End();
    ASSERT_TRUE(exit.has_value());
    EXPECT_EQ(exit->code, contract::OnWindows() ? 1 : 0);
    EXPECT_EQ(exit->signal, contract::OnWindows() ? 0 : 9);
}

TEST_F(RunningChild, KillIsHarmlessWhenRepeated) {
    m_child.Process().Kill();
    m_child.Process().Kill();
    const auto exit = m_child.End();
    m_child.Process().Kill();

    const auto again = m_child.End();
    ASSERT_TRUE(exit.has_value());
    ASSERT_TRUE(again.has_value());
    EXPECT_EQ(exit->code, again->code);
    EXPECT_EQ(exit->signal, again->signal);
}

TEST_F(RunningChild, CanBeKilledWhileAnotherThreadWaits) {
    std::thread killer([&] { m_child.Process().Kill(); });

    EXPECT_TRUE(m_child.Process().WaitForExit(contract::kWatchdogMs).has_value());

    killer.join();
}

TEST_F(RunningChild, GoesOnWhenItsOwnerLetsGo) {
    std::string error;
    const std::string name = contract::FreshName();
    const auto end = platform::SystemKernelObjects().CreateOrOpenEvent(name);
    const std::string answer = contract::FreshName();
    const auto answered = platform::SystemKernelObjects().CreateOrOpenEvent(answer);
    auto child =
        platform::SystemChildProcesses().Start({OwnProgram(), "relay:" + name + " " + answer, {}, {}, {}}, error);
    ASSERT_NE(child, nullptr) << error;

    child.reset();
    EXPECT_TRUE(end->Set());

    EXPECT_EQ(answered->Wait(contract::kWatchdogMs), platform::WaitResult::Signalled);
}

const roles::Registered g_relay("relay", [](const std::string& names) {
    const std::size_t blank = names.find(' ');
    const auto from = platform::SystemKernelObjects().CreateOrOpenEvent(names.substr(0, blank));
    const auto to = platform::SystemKernelObjects().CreateOrOpenEvent(names.substr(blank + 1));
    return from->Wait(contract::kWatchdogMs) == platform::WaitResult::Signalled && to->Set() ? 0 : 1;
});

TEST(ChildProcess, AProgramThatIsNotThereCannotBeStarted) {
    std::string error;

    EXPECT_EQ(platform::SystemChildProcesses().Start({"/no such folder/program", "", {}, {}, {}}, error), nullptr);

    EXPECT_THAT(error, Not(IsEmpty()));
    if (!contract::OnWindows()) {
        EXPECT_EQ(error, "No such file or directory");
    }
}

TEST(ChildProcess, AFileThatIsNoProgramCannotBeStarted) {
    const TemporaryFile file;
    std::ofstream(file.Path()) << "text";
    std::string error;

    EXPECT_EQ(platform::SystemChildProcesses().Start({file.Path(), "", {}, {}, {}}, error), nullptr);

    EXPECT_THAT(error, Not(IsEmpty()));
}

TEST(ChildProcess, AnOutputFileThatCannotBeMadeKeepsItFromStarting) {
    std::string error;

    EXPECT_EQ(platform::SystemChildProcesses().Start({OwnProgram(), "exit:0", {}, "/no such folder/file", {}}, error),
              nullptr);

    EXPECT_THAT(error, Not(IsEmpty()));
}

TEST(ChildProcess, GetsItsCommandTailToTheByte) {
    for (const std::string& tail :
         {std::string(""), std::string("plain"), std::string("two words"), std::string("two  blanks"),
          std::string("blank at the end "), std::string(" after the colon"), std::string("\"quoted\""),
          std::string("one \" quote"), std::string("a\\b\\\\c\\"), std::string("\\\""), std::string("tab\there"),
          std::string("line\nend"), std::string("%PATH% $HOME * ?"), std::string("'single'"),
          std::string("--flag=1")}) {
        SCOPED_TRACE(testing::PrintToString(tail));
        std::string expected = tail;
        // A text stream turns a line feed into two bytes on Windows.
        if (const std::size_t at = tail.find('\n'); contract::OnWindows() && at != std::string::npos) {
            expected.insert(at, "\r");
        }
        EXPECT_EQ(OutputOf("tail:" + tail), expected);
    }
}

TEST(ChildProcess, GetsALongCommandTail) {
    std::string tail(32000, 'x');
    for (std::size_t at = 0; at < tail.size(); at += 7)
        tail[at] = ' ';
    tail.back() = '!';

    EXPECT_EQ(OutputOf("tail:" + tail), tail);
}

TEST(ChildProcess, SeesVariablesThatAreSetForIt) {
    EXPECT_EQ(OutputOf("variable:VELMOML_TEST_VALUE", {{"VELMOML_TEST_VALUE", "a b=c"}}), "a b=c");
    EXPECT_EQ(OutputOf("variable:VELMOML_TEST_VALUE"), "(none)");
}

TEST(ChildProcess, SeesTheLastOfTwoValues) {
    EXPECT_EQ(OutputOf("variable:VELMOML_TEST_VALUE", {{"VELMOML_TEST_VALUE", "1"}, {"VELMOML_TEST_VALUE", "2"}}), "2");
}

TEST(ChildProcess, InheritsVariablesAndSeesThemReplaced) {
    const char* const path = std::getenv("PATH");
    ASSERT_NE(path, nullptr);

    EXPECT_EQ(OutputOf("variable:PATH", {{"VELMOML_TEST_VALUE", "x"}}), path);
    EXPECT_EQ(OutputOf("variable:PATH", {{"PATH", path + std::string(";/more")}}), path + std::string(";/more"));
}

// Holds the mapping, says so by the event, and stays until it is killed or the other event comes.
const roles::Registered g_hold("hold", [](const std::string& name) {
    auto& objects = platform::SystemKernelObjects();
    const auto mapping = objects.CreateMapping(name + "m", 4096);
    const auto ready = objects.CreateOrOpenEvent(name + "r");
    const auto end = objects.CreateOrOpenEvent(name + "e");
    if (!mapping || !ready || !end || !ready->Set()) return 1;
    return end->Wait(contract::kWatchdogMs) == platform::WaitResult::Signalled ? 0 : 1;
});

int StartHolderAndStay(const std::string& name, platform::Lifetime lifetime) {
    ChildStart start{OwnProgram(), "hold:" + name, {}, {}, {}};
    start.lifetime = lifetime;
    OwnChild child(start);
    (void)child.Process().WaitForExit(contract::kWatchdogMs);
    return 0;
}

const roles::Registered g_tied("tied", [](const std::string& name) {
    return StartHolderAndStay(name, platform::Lifetime::ThisProcess);
});
const roles::Registered g_untied("untied", [](const std::string& name) {
    return StartHolderAndStay(name, platform::Lifetime::ItsOwn);
});

// A child that has a child, which holds a mapping.
class ParentThatIsKilled : public testing::Test {
 protected:
    void KillOneThatIs(const std::string& role) {
        const auto ready = m_objects.CreateOrOpenEvent(m_name + "r");
        ASSERT_NE(ready, nullptr);
        OwnChild parent(role + ":" + m_name);
        ASSERT_EQ(ready->Wait(contract::kWatchdogMs), platform::WaitResult::Signalled);
        ASSERT_TRUE(IsHeld());
        parent.Kill();
    }
    bool IsHeld() { return m_objects.OpenMapping(m_name + "m", platform::MappingAccess::ReadOnly) != nullptr; }
    // Until the mapping has no user; nobody tells of that. False when it keeps one.
    bool AwaitNoHolder() {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(contract::kWatchdogMs / 2);
        while (IsHeld()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return true;
    }

    platform::KernelObjects& m_objects = platform::SystemKernelObjects();
    const std::string m_name = contract::FreshName();
};

TEST_F(ParentThatIsKilled, TakesAChildWithItThatIsTiedToIt) {
    ASSERT_NO_FATAL_FAILURE(KillOneThatIs("tied"));
    EXPECT_TRUE(AwaitNoHolder());
}

TEST_F(ParentThatIsKilled, LeavesAChildThatHasALifeOfItsOwn) {
    const auto end = m_objects.CreateOrOpenEvent(m_name + "e");
    ASSERT_NE(end, nullptr);
    ASSERT_NO_FATAL_FAILURE(KillOneThatIs("untied"));
    EXPECT_TRUE(IsHeld());
    EXPECT_TRUE(end->Set());
    EXPECT_TRUE(AwaitNoHolder());
}

TEST(TiedChild, EndsByItselfAsAnyOther) {
    ChildStart start{OwnProgram(), "exit:3", {}, {}, {}};
    start.lifetime = platform::Lifetime::ThisProcess;
    EXPECT_EQ(OwnChild(start).EndCode(), 3);
}

TEST(TiedChild, CanBeMissingAsAnyOther) {
    ChildStart start{"/no such folder/program", "", {}, {}, {}};
    start.lifetime = platform::Lifetime::ThisProcess;
    std::string error;
    EXPECT_EQ(platform::SystemChildProcesses().Start(start, error), nullptr);
    EXPECT_THAT(error, Not(IsEmpty()));
}

TEST(ChildProcess, SendsItsOutputWhereItsErrorsGo) {
    const TemporaryFile errors;
    const TemporaryFile unused;
    ChildStart start{OwnProgram(), "tail:to the errors", {}, {}, errors.Path()};
    start.outputToError = true;
    EXPECT_EQ(OwnChild(start).EndCode(), 0);
    EXPECT_EQ(errors.Content(), "to the errors");

    start.standardOutputPath = unused.Path();
    EXPECT_EQ(OwnChild(start).EndCode(), 0);
    EXPECT_EQ(errors.Content(), "to the errors");
    EXPECT_EQ(unused.Content(), "");
}

TEST(ChildProcess, InheritsStreamsThatAreNotSentElsewhere) {
    EXPECT_EQ(OutputOf("nested:tail:from below"), "from below");
}

}  // namespace
