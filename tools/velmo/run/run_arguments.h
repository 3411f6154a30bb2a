#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "velmo_run/run_options.h"

namespace velmo_run {

// `velmo run` on the command line.
class RunArguments {
 public:
    // Adds the subcommand to `app`. `programFolder` is the folder of this program, UTF-8, with a separator at its end:
    // process, engine and models lie there unless the command line says something else.
    RunArguments(CLI::App& app, const std::string& programFolder);

    // Whether it was called.
    explicit operator bool() const { return m_command->parsed(); }

    // Behind a command line that was parsed.
    RunOptions Options() const;

 private:
    template <class Value>
    void AddChoice(const char* name, const std::map<std::string, Value>& choices, Value& value, const char* help,
                   const char* usual);
    void AddOutputs();
    void AddEngine();
    void AddPace();

    std::string m_programFolder;
    CLI::App* m_command;
    RunOptions m_options;
    std::vector<std::string> m_swaps;
    std::string m_temporal = "on";
    std::optional<std::uint64_t> m_frames;
};

}  // namespace velmo_run
