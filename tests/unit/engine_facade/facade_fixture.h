#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "engine/plugin_engine.h"
#include "scripted_double/scripted_library.h"
#include "support/recording_streams.h"
#include "support/watched_module_loader.h"

namespace facade_tests {

using scripted_double::ScriptedLibrary;
using scripted_double::Variant;

// A copy of the scripted library, and an engine of it that is not created yet. Standard error is kept back.
class Facade {
 public:
    explicit Facade(std::string_view script = {}, Variant variant = Variant::Whole) : library(script, variant) {}

    hvq::util::LoaderSeams Seams() { return {.modules = loader, .streams = streams}; }

    // Creates the engine, and forgets what the library was asked for that.
    void Create() {
        engine.Create(library.Path(), nullptr, nullptr);
        library.ForgetCalls();
    }

    // Creates engine and network.
    void CreateWithNetwork() {
        library.Add("models OpenVINO m");
        Create();
        engine.CreateNetwork("OpenVINO", "n", "CPU", "m", {});
        library.ForgetCalls();
    }

    ScriptedLibrary library;  // first: the engine works on it
    support::WatchedModuleLoader loader;
    support::RecordingStreams streams;
    hvq::inference::PluginEngine engine{Seams()};
};

// The text that `act` throws as exactly std::runtime_error; a remark that no text equals when it throws nothing or
// something else.
template <typename Act>
std::string TextThrownBy(const Act& act) {
    try {
        act();
    } catch (const std::exception& error) {
        if (typeid(error) == typeid(std::runtime_error)) return error.what();
        return std::string("(another type) ") + error.what();
    }
    return "(nothing)";
}

constexpr char kNotCreated[] = "Please create hvq library handle first of all!";

}  // namespace facade_tests
