#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "platform/kernel_objects.h"
#include "platform/process_setup.h"
#include "velmo_tool/inspect.h"

int main(int argc, char** argv) {
    platform::PrepareProcess();
    CLI::App app("Looks after velmoml, the inference process of a media engine.", "velmo");
    app.require_subcommand(1);

    std::string id;
    CLI::App* const inspect = app.add_subcommand(
        "inspect", "Show the five live channels of a link: lists, counts and the oldest message of each.");
    inspect->add_option("ID", id, "The id that the process was started with")->required();
    inspect->footer(
        "Looks only and changes nothing. The oldest message of a channel may have been read already: its\n"
        "receiver can leave the newest one in the list.\n"
        "Exit code: 0; 1 when no channel of that id is there; 2 when a channel is damaged.");

    CLI11_PARSE(app, argc, argv);
    return velmo_tool::Inspect(id, platform::SystemKernelObjects(), std::cout, std::cerr);
}
