#include "contract/object_steps.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <sstream>
#include <thread>

#include "contract/own_child.h"
#include "platform/kernel_objects.h"

namespace contract {
namespace {

using platform::MappingAccess;
using platform::WaitResult;

// Users of one mapping who come and go as fast as they can. Each counts itself in and out. Were the memory ever emptied
// under a user, or a new user handed other memory than those who are there, somebody would find fewer users than
// himself, and were it not emptied for a first user, a count would be left.
constexpr std::uint32_t kMostUsers = 16;

bool ComeAndGo(platform::KernelObjects& os, const std::string& name) {
    const auto mapping = os.CreateMapping(name, 4096);
    if (mapping == nullptr) return false;
    std::byte* const view = mapping->Map(4096);
    if (view == nullptr) return false;
    const std::atomic_ref<std::uint32_t> users(*reinterpret_cast<std::uint32_t*>(view));
    const std::uint32_t before = users.fetch_add(1);
    const std::uint32_t after = users.fetch_sub(1);
    return before < kMostUsers && after >= 1 && after <= kMostUsers;
}

class Steps {
 public:
    bool Run(const std::string& step) {
        std::istringstream words(step);
        std::string verb;
        std::string name;
        words >> verb >> name;
        unsigned first = 0;
        unsigned second = 0;
        words >> first >> second;
        if (verb == "event") return (m_events[name] = m_os.CreateOrOpenEvent(name)) != nullptr;
        if (verb == "set") return m_events.at(name)->Set();
        if (verb == "wait") return m_events.at(name)->Wait(kWatchdogMs) == WaitResult::Signalled;
        if (verb == "unset") return m_events.at(name)->Wait(0) == WaitResult::TimedOut;
        if (verb == "create") return Show(name, m_os.CreateMapping(name, first), first);
        if (verb == "open") return Show(name, m_os.OpenMapping(name, MappingAccess::ReadWrite), first);
        if (verb == "read") return Show(name, m_os.OpenMapping(name, MappingAccess::ReadOnly), first);
        if (verb == "absent") return m_os.OpenMapping(name, MappingAccess::ReadWrite) == nullptr;
        if (verb == "expect") return m_views.at(name)[first] == static_cast<std::byte>(second);
        if (verb == "write") {
            m_views.at(name)[first] = static_cast<std::byte>(second);
            return true;
        }
        if (verb == "close") return m_events.erase(name) + m_mappings.erase(name) == 1;
        if (verb == "hang") {
            for (;;)
                std::this_thread::sleep_for(std::chrono::hours(1));  // until somebody kills this process
        }
        if (verb == "churn") return Churn(name, first);
        return false;
    }

 private:
    bool Show(const std::string& name, std::unique_ptr<platform::NamedMapping> mapping, unsigned bytes) {
        if (mapping == nullptr) return false;
        std::byte* const view = mapping->Map(bytes);
        m_mappings[name] = std::move(mapping);
        m_views[name] = view;
        return view != nullptr;
    }

    bool Churn(const std::string& name, unsigned rounds) {
        for (unsigned round = 0; round < rounds; ++round) {
            if (!ComeAndGo(m_os, name)) return false;
        }
        return true;
    }

    platform::KernelObjects& m_os = platform::SystemKernelObjects();
    std::map<std::string, std::unique_ptr<platform::NamedEvent>> m_events;
    std::map<std::string, std::unique_ptr<platform::NamedMapping>> m_mappings;
    std::map<std::string, volatile std::byte*> m_views;
};

}  // namespace

int RunSteps(const std::string& steps) {
    Steps runner;
    std::istringstream list(steps);
    std::string step;
    for (int number = 1; std::getline(list, step, ';'); ++number) {
        if (!runner.Run(step)) return number;
    }
    return 0;
}

}  // namespace contract
