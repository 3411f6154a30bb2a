#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fill.h"
#include "function_names.h"

namespace hvq_double {

// Which calls of a function a rule is about, by their count from 1.
struct Which {
    std::uint64_t first = 1;
    std::uint64_t every = 1;  // first, first + every, ...; 0 is the first alone

    bool Holds(std::uint64_t call) const;
};

enum class Effect { Fail, Null, Answer, Delay, Gate, Exit };

struct Rule {
    Effect effect = Effect::Fail;
    Which which;
    std::string text;         // of Fail: the pending text. Of Gate: its name
    std::int64_t number = 0;  // of Delay: milliseconds. Of Exit: the code
    // Of Answer: the results, in the order in which the function has them. Nothing for one that is left unwritten.
    std::vector<std::optional<std::int64_t>> answers;
};

struct Property {
    std::string name;
    std::string type;
};

struct EngineOffer {
    std::string name;
    std::vector<std::string> devices;
    std::vector<std::string> models;
    std::vector<Property> properties;
};

struct LayerOffer {
    std::string name;
    bool isInput = false;
    bool hasData = true;
    std::vector<std::uint64_t> dims;
    std::vector<Fill> fills;  // by ascending firstInference
};

// All that a script says.
struct Scenario {
    std::string version;
    std::optional<std::string> currentDevice;  // instead of the one that the network was made for
    std::vector<EngineOffer> engines;
    std::vector<LayerOffer> layers;
    std::array<std::vector<Rule>, kFunctionCount> rules;
    bool isQuiet = false;               // calls are counted, but not recorded
    std::optional<std::string> record;  // the file, beside the library, that calls are added to

    EngineOffer* FindEngine(const std::string& name);
    LayerOffer* FindLayer(const std::string& name);
};

// A working library with one engine, three devices, and every layer that a model has.
Scenario DefaultScenario();

}  // namespace hvq_double
