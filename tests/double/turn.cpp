#include "turn.h"

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>

namespace hvq_double {

Turn::Turn(Function function)
    : m_library(Library::Instance()), m_lock(m_library.m_mutex), m_function(static_cast<std::size_t>(function)) {
    if (function == Function::hvqCreateWithLibraryLoader) m_library.ReadScriptFileOnce();
    m_call = ++m_library.m_counts[m_function];
    m_isRecorded = !m_library.m_scenario.isQuiet;
}

std::string Turn::BeginText(const void* engine) const {
    std::string text = kFunctionNames[m_function];
    if (m_function == static_cast<std::size_t>(Function::hvqCreateWithLibraryLoader)) return text;
    const Engine* const known = m_library.Find(engine);
    if (known != nullptr) return text.append(" ").append(std::to_string(known->number));
    return text.append(engine == nullptr ? " null" : " unknown");
}

void Turn::HoldUp() {
    // By index, and with copies: while nothing is locked, the script may change.
    const std::vector<Rule>& rules = m_library.m_scenario.rules[m_function];
    for (std::size_t index = 0; index < rules.size(); ++index) {
        if (!rules[index].which.Holds(m_call)) continue;
        if (rules[index].effect == Effect::Gate) {
            const std::string name = rules[index].text;
            m_library.WaitAtGate(m_lock, name);
        } else if (rules[index].effect == Effect::Exit) {
            std::_Exit(static_cast<int>(rules[index].number));  // at once, as a crash would
        } else if (rules[index].effect == Effect::Delay) {
            const std::chrono::milliseconds delay(rules[index].number);
            m_lock.unlock();
            std::this_thread::sleep_for(delay);
            m_lock.lock();
        }
    }
}

void Turn::Decide(const void* engine) {
    m_engine = m_library.Find(engine);
    for (const Rule& rule : m_library.m_scenario.rules[m_function]) {
        if (!rule.which.Holds(m_call)) continue;
        if (rule.effect == Effect::Fail) {
            m_fails = true;
            Complain(rule.text);
        } else if (rule.effect == Effect::Null) {
            m_givesNull = true;
        }
    }
}

const Rule* Turn::AnswerRule() const {
    for (const Rule& rule : m_library.m_scenario.rules[m_function]) {
        if (rule.effect == Effect::Answer && rule.which.Holds(m_call)) return &rule;
    }
    return nullptr;
}

std::int32_t Turn::Answer(std::int32_t own) const {
    const Rule* const rule = AnswerRule();
    return rule == nullptr ? own : static_cast<std::int32_t>(rule->answers.front().value_or(own));
}

std::uint64_t Turn::Answer(std::uint64_t own) const {
    const Rule* const rule = AnswerRule();
    if (rule == nullptr || !rule->answers.front()) return own;
    return static_cast<std::uint64_t>(*rule->answers.front());
}

void Turn::Write(std::int32_t* result, std::size_t position, std::int32_t own) const {
    if (result == nullptr) return;
    const Rule* const rule = AnswerRule();
    if (rule == nullptr || position >= rule->answers.size()) {
        *result = own;
    } else if (const std::optional<std::int64_t>& answer = rule->answers[position]) {
        *result = static_cast<std::int32_t>(*answer);
    }
}

void Turn::Write(std::uint64_t* result, std::uint64_t own) const {
    if (result == nullptr) return;
    const Rule* const rule = AnswerRule();
    if (rule == nullptr) {
        *result = own;
    } else if (const std::optional<std::int64_t>& answer = rule->answers.front()) {
        *result = static_cast<std::uint64_t>(*answer);
    }
}

void Turn::Complain(const std::string& text) {
    if (m_engine == nullptr) {
        m_library.m_failedCreations.insert_or_assign(std::this_thread::get_id(), text);
    } else if (!m_engine->pending) {
        m_engine->pending = text;
    }
}

const std::string* Turn::Pending() const {
    if (m_engine != nullptr) return m_engine->pending ? &*m_engine->pending : nullptr;
    const auto found = m_library.m_failedCreations.find(std::this_thread::get_id());
    return found == m_library.m_failedCreations.end() ? nullptr : &found->second;
}

void Turn::ResetPending() {
    if (m_engine != nullptr) {
        m_engine->pending.reset();
    } else {
        m_library.m_failedCreations.erase(std::this_thread::get_id());
    }
}

Network* Turn::NetworkOrComplaint() {
    if (m_engine != nullptr && m_engine->network) return &*m_engine->network;
    Complain("There is no network.");
    return nullptr;
}

void* Turn::AddEngine() {
    auto added = std::make_unique<Engine>();
    added->number = ++m_library.m_created;
    void* const address = added.get();
    m_library.m_engines.emplace(address, std::move(added));
    return address;
}

void Turn::RemoveEngine(const void* engine) {
    m_library.m_engines.erase(engine);
    m_engine = nullptr;
}

void Turn::InferOnce(Network& network) {
    Infer(m_library.m_scenario, m_library.m_scenarioNumber, network);
}

void Turn::KeepInput(const Tensor& tensor) {
    m_library.m_inputs[tensor.name] = tensor.data;
}

}  // namespace hvq_double
