#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/child_process.h"
#include "platform/module_files.h"

// Test programs that start themselves again: the child's command tail begins with a role, which main looks for before
// it runs any test.
namespace contract {

inline constexpr std::uint32_t kWatchdogMs = 60000;  // no test waits longer for something that has to come

inline std::string OwnProgram() {
    static const int here = 0;
    return platform::SystemModuleFiles().FileOf(&here).value_or("");
}

// A child of this program that is ended with its owner.
class OwnChild {
 public:
    explicit OwnChild(const std::string& tail) : OwnChild(platform::ChildStart{OwnProgram(), tail, {}, {}, {}}) {}

    explicit OwnChild(const platform::ChildStart& start) {
        std::string error;
        m_child = platform::SystemChildProcesses().Start(start, error);
        EXPECT_NE(m_child, nullptr) << error;
    }

    OwnChild(OwnChild&&) = default;

    ~OwnChild() {
        if (m_child != nullptr) Kill();
    }

    platform::ChildProcess& Process() { return *m_child; }

    bool Runs() { return m_child != nullptr && !m_child->WaitForExit(0).has_value(); }

    // Waits for the end under the watchdog.
    std::optional<platform::ChildExit> End() {
        if (m_child == nullptr) return std::nullopt;
        const auto exit = m_child->WaitForExit(kWatchdogMs);
        EXPECT_TRUE(exit.has_value()) << "the child does not end";
        return exit;
    }

    // The exit code; -1000 when there is none.
    int EndCode() {
        const auto exit = End();
        return exit.has_value() && exit->signal == 0 ? exit->code : -1000;
    }

    void Kill() {
        m_child->Kill();
        (void)End();
    }

 private:
    std::unique_ptr<platform::ChildProcess> m_child;
};

}  // namespace contract
