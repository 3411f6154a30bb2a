#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/kernel_objects.h"

namespace support {

inline constexpr std::uint32_t kFileNotFound = 2;
inline constexpr std::uint32_t kAccessDenied = 5;
inline constexpr std::uint32_t kInvalidHandle = 6;
inline constexpr std::uint32_t kNotEnoughMemory = 8;
inline constexpr std::uint32_t kInvalidParameter = 87;
inline constexpr std::uint32_t kInvalidName = 123;
inline constexpr std::uint32_t kNameTooLong = 206;

// The calls that can be made to fail.
enum class Call { CreateOrOpenEvent, OpenMapping, CreateMapping, Map };

// Named events and mappings inside one process. Everybody who asks one FakeKernelObjects for a name gets the same
// object, at the same address, so both ends of a channel can run here and a thread sanitizer sees them both. Objects
// live as long as their last user. Thread: any; it must outlive the objects that it hands out.
class FakeKernelObjects : public platform::KernelObjects {
 public:
    static constexpr std::size_t kPageBytes = 4096;
    static constexpr std::size_t kLongestName = 259;

    std::unique_ptr<platform::NamedEvent> CreateOrOpenEvent(const std::string& name) override;
    std::unique_ptr<platform::NamedMapping> OpenMapping(const std::string& name,
                                                        platform::MappingAccess access) override;
    std::unique_ptr<platform::NamedMapping> CreateMapping(const std::string& name, std::uint32_t bytes) override;

    std::uint32_t LastError() const override {
        const std::lock_guard lock(m_mutex);
        const auto error = m_lastErrors.find(std::this_thread::get_id());
        return error == m_lastErrors.end() ? 0 : error->second;
    }

    // The next call of this kind fails with `error`, after `spared` more that are let through.
    void FailNext(Call call, std::uint32_t error, int spared = 0) {
        const std::lock_guard lock(m_mutex);
        m_failures[call].push_back({error, spared});
    }

    // The next waits on the event `name` end at once with these results, in order.
    void ScriptWaits(const std::string& name, const std::vector<platform::WaitResult>& results) {
        const std::lock_guard lock(m_mutex);
        auto& script = m_scripts[name];
        script.insert(script.end(), results.begin(), results.end());
    }

    // Runs `hook` at the beginning of every wait on the event `name`, on the waiting thread, with no lock held.
    void OnWait(const std::string& name, std::function<void()> hook) {
        const std::lock_guard lock(m_mutex);
        m_waitHooks[name] = std::move(hook);
    }

    // Runs `hook` at the beginning of every Set of the event `name`, on the setting thread, with no lock held.
    void OnSet(const std::string& name, std::function<void()> hook) {
        const std::lock_guard lock(m_mutex);
        m_setHooks[name] = std::move(hook);
    }

    // Sets an event from outside, as a stray signal or the peer does; not recorded.
    void Signal(const std::string& name) {
        const std::lock_guard lock(m_mutex);
        if (const auto object = Find(name)) object->signalled = true;
        m_changed.notify_all();
    }

    bool IsSet(const std::string& name) const {
        const std::lock_guard lock(m_mutex);
        const auto object = Find(name);
        return object && object->signalled;
    }

    // Waits until `count` threads wait on the event `name`. False when they did not within `patience`.
    bool AwaitWaiters(const std::string& name, int count = 1,
                      std::chrono::milliseconds patience = std::chrono::minutes(1)) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_until(lock, std::chrono::system_clock::now() + patience, [&] {
            const auto waiters = m_waiters.find(name);
            return waiters != m_waiters.end() && waiters->second == count;
        });
    }

    // What was called, in order: "CreateOrOpenEvent NAME", "OpenMapping NAME", "CreateMapping NAME BYTES",
    // "Map NAME BYTES", "Unmap NAME", "Set NAME", "Wait NAME MS", "CloseEvent NAME", "CloseMapping NAME".
    std::vector<std::string> Calls() const {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }
    void ForgetCalls() {
        const std::lock_guard lock(m_mutex);
        m_calls.clear();
    }
    // For long runs that nobody wants to keep.
    void StopRecording() {
        const std::lock_guard lock(m_mutex);
        m_recording = false;
    }

    // The names of the events that were set, in order.
    std::vector<std::string> Signalled() const {
        const std::string set = "Set ";
        std::vector<std::string> names;
        for (const std::string& call : Calls()) {
            if (call.starts_with(set)) names.push_back(call.substr(set.size()));
        }
        return names;
    }

    // Objects handed out and not destroyed yet.
    int LiveObjects() const {
        const std::lock_guard lock(m_mutex);
        return m_liveObjects;
    }

    // The bytes of the mapping `name`, null when nobody has it.
    std::byte* Memory(const std::string& name) const {
        const std::lock_guard lock(m_mutex);
        const auto object = Find(name);
        return object ? object->memory.get() : nullptr;
    }

 private:
    enum class Kind { Event, Mapping };

    struct PageDeleter {
        void operator()(std::byte* memory) const { ::operator delete[](memory, std::align_val_t(kPageBytes)); }
    };

    struct Object {
        Kind kind;
        bool signalled = false;
        std::size_t bytes = 0;  // whole pages
        std::unique_ptr<std::byte[], PageDeleter> memory;
    };

    struct Failure {
        std::uint32_t error;
        int spared;
    };

    class Event;
    class Mapping;

    // All of these: m_mutex held.
    void Record(std::string call) {
        if (m_recording) m_calls.push_back(std::move(call));
    }
    void Fail(std::uint32_t error) { m_lastErrors[std::this_thread::get_id()] = error; }
    bool FailsNow(Call call) {
        auto& failures = m_failures[call];
        if (failures.empty()) return false;
        if (failures.front().spared > 0) {
            --failures.front().spared;
            return false;
        }
        Fail(failures.front().error);
        failures.pop_front();
        return true;
    }
    bool IsRefused(const std::string& name) {
        if (name.size() > kLongestName) {
            Fail(kNameTooLong);
            return true;
        }
        const std::size_t prefix = name.starts_with("Local\\") ? 6 : name.starts_with("Global\\") ? 7 : 0;
        const bool nameless = name.size() == prefix;
        if (nameless || name.find('\\', prefix) != std::string::npos || name.find('\0') != std::string::npos) {
            Fail(kInvalidName);
            return true;
        }
        return false;
    }
    std::shared_ptr<Object> Find(const std::string& name) const {
        const auto object = m_objects.find(BareName(name));
        return object == m_objects.end() ? nullptr : object->second.lock();
    }
    // Null, with an error, when the name stands for an object of the other kind: they share one name space.
    std::shared_ptr<Object> FindOrMake(const std::string& name, Kind kind, std::size_t bytes) {
        if (auto object = Find(name)) {
            if (object->kind == kind) return object;
            Fail(kInvalidHandle);
            return nullptr;
        }
        auto object = std::make_shared<Object>();
        object->kind = kind;
        if (kind == Kind::Mapping) {
            object->bytes = WholePages(bytes);
            void* const memory = ::operator new[](object->bytes, std::align_val_t(kPageBytes));
            std::memset(memory, 0, object->bytes);
            object->memory.reset(static_cast<std::byte*>(memory));
        }
        m_objects[BareName(name)] = object;
        return object;
    }
    // This process's own namespace is the one that names without a prefix are in.
    static std::string BareName(const std::string& name) { return name.starts_with("Local\\") ? name.substr(6) : name; }
    static std::size_t WholePages(std::uint64_t bytes) {
        return static_cast<std::size_t>((bytes + kPageBytes - 1) / kPageBytes * kPageBytes);
    }

    mutable std::mutex m_mutex;         // guards everything here but the bytes of mappings
    std::condition_variable m_changed;  // an event was set, or a wait began or ended
    std::map<std::string, std::weak_ptr<Object>> m_objects;
    std::map<std::thread::id, std::uint32_t> m_lastErrors;
    std::map<Call, std::deque<Failure>> m_failures;
    std::map<std::string, std::deque<platform::WaitResult>> m_scripts;
    std::map<std::string, std::function<void()>> m_waitHooks;
    std::map<std::string, std::function<void()>> m_setHooks;
    std::map<std::string, int> m_waiters;
    std::vector<std::string> m_calls;
    bool m_recording = true;
    int m_liveObjects = 0;
};

class FakeKernelObjects::Event : public platform::NamedEvent {
 public:
    // The fake's mutex is held here, and not in any other operation.
    Event(FakeKernelObjects& owner, std::string name, std::shared_ptr<Object> object)
        : m_owner(owner), m_name(std::move(name)), m_object(std::move(object)) {
        ++m_owner.m_liveObjects;
    }
    ~Event() override {
        const std::lock_guard lock(m_owner.m_mutex);
        m_owner.Record("CloseEvent " + m_name);
        --m_owner.m_liveObjects;
        m_object.reset();
    }

    bool Set() override {
        std::unique_lock lock(m_owner.m_mutex);
        m_owner.Record("Set " + m_name);
        RunHook(m_owner.m_setHooks, lock);
        m_object->signalled = true;
        m_owner.m_changed.notify_all();
        return true;
    }

    platform::WaitResult Wait(std::uint32_t timeoutMs) override {
        std::unique_lock lock(m_owner.m_mutex);
        m_owner.Record("Wait " + m_name + " " + std::to_string(timeoutMs));
        RunHook(m_owner.m_waitHooks, lock);
        if (auto& script = m_owner.m_scripts[m_name]; !script.empty()) {
            const platform::WaitResult result = script.front();
            script.pop_front();
            return result;
        }
        CountWaiter(1);
        const auto signalled = [this] { return m_object->signalled; };
        bool taken = true;
        if (timeoutMs == platform::kNoTimeLimit) {
            m_owner.m_changed.wait(lock, signalled);
        } else {
            // Counted on the steady clock, but slept on the other one: older thread sanitizers don't know the steady
            // wait of a condition variable.
            const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
            auto left = end - std::chrono::steady_clock::now();
            while (!signalled() && left > std::chrono::steady_clock::duration::zero()) {
                (void)m_owner.m_changed.wait_until(
                    lock, std::chrono::time_point_cast<std::chrono::system_clock::duration>(
                              std::chrono::system_clock::now() + left + std::chrono::microseconds(1)));
                left = end - std::chrono::steady_clock::now();
            }
            taken = signalled();
        }
        if (taken) m_object->signalled = false;
        CountWaiter(-1);
        return taken ? platform::WaitResult::Signalled : platform::WaitResult::TimedOut;
    }

 private:
    void RunHook(const std::map<std::string, std::function<void()>>& hooks, std::unique_lock<std::mutex>& lock) const {
        const auto hook = hooks.find(m_name);
        if (hook == hooks.end()) return;
        const std::function<void()> run = hook->second;
        lock.unlock();
        run();
        lock.lock();
    }

    void CountWaiter(int change) {
        m_owner.m_waiters[m_name] += change;
        m_owner.m_changed.notify_all();
    }

    FakeKernelObjects& m_owner;
    const std::string m_name;
    std::shared_ptr<Object> m_object;
};

class FakeKernelObjects::Mapping : public platform::NamedMapping {
 public:
    // The fake's mutex is held here, and not in any other operation.
    Mapping(FakeKernelObjects& owner, std::string name, std::shared_ptr<Object> object)
        : m_owner(owner), m_name(std::move(name)), m_object(std::move(object)) {
        ++m_owner.m_liveObjects;
    }
    ~Mapping() override {
        const std::lock_guard lock(m_owner.m_mutex);
        m_owner.Record("CloseMapping " + m_name);
        --m_owner.m_liveObjects;
        m_object.reset();
    }

    std::byte* Map(std::uint64_t bytes) override {
        const std::lock_guard lock(m_owner.m_mutex);
        m_owner.Record("Map " + m_name + " " + std::to_string(bytes));
        if (m_owner.FailsNow(Call::Map)) return nullptr;
        if (bytes == 0 || bytes > m_object->bytes) {
            m_owner.Fail(bytes == 0 ? kInvalidParameter : kAccessDenied);
            return nullptr;
        }
        return m_object->memory.get();
    }

    void Unmap() override {
        const std::lock_guard lock(m_owner.m_mutex);
        m_owner.Record("Unmap " + m_name);
    }

 private:
    FakeKernelObjects& m_owner;
    const std::string m_name;
    std::shared_ptr<Object> m_object;
};

inline std::unique_ptr<platform::NamedEvent> FakeKernelObjects::CreateOrOpenEvent(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    Record("CreateOrOpenEvent " + name);
    if (FailsNow(Call::CreateOrOpenEvent) || IsRefused(name)) return nullptr;
    auto object = FindOrMake(name, Kind::Event, 0);
    return object ? std::make_unique<Event>(*this, name, std::move(object)) : nullptr;
}

inline std::unique_ptr<platform::NamedMapping> FakeKernelObjects::OpenMapping(const std::string& name,
                                                                              platform::MappingAccess access) {
    const std::lock_guard lock(m_mutex);
    Record(access == platform::MappingAccess::ReadWrite ? "OpenMapping " + name : "OpenMappingReadOnly " + name);
    if (FailsNow(Call::OpenMapping) || IsRefused(name)) return nullptr;
    auto object = Find(name);
    if (!object || object->kind != Kind::Mapping) {
        Fail(object ? kInvalidHandle : kFileNotFound);
        return nullptr;
    }
    return std::make_unique<Mapping>(*this, name, std::move(object));
}

inline std::unique_ptr<platform::NamedMapping> FakeKernelObjects::CreateMapping(const std::string& name,
                                                                                std::uint32_t bytes) {
    const std::lock_guard lock(m_mutex);
    Record("CreateMapping " + name + " " + std::to_string(bytes));
    if (FailsNow(Call::CreateMapping) || IsRefused(name)) return nullptr;
    if (bytes == 0) {
        Fail(kInvalidParameter);
        return nullptr;
    }
    auto object = FindOrMake(name, Kind::Mapping, bytes);
    return object ? std::make_unique<Mapping>(*this, name, std::move(object)) : nullptr;
}

}  // namespace support
