#pragma once

#include <string>
#include <vector>

namespace process_tests {

// What this program does when a test starts it again. `words` is the command line's tail behind "role ":
//   hold ID             opens a link, queues three Fini commands, sets the event ID_ready, and stays until it is killed
//   receive ID COUNT    takes COUNT numbered messages from channel ID by the fixed steps; 0 when all came in order
//   send ID COUNT PACE  sends COUNT numbered messages on channel ID by the fixed steps; PACE is "bursts" or "singly"
// Returns the exit code: 0 good, 2 for a role that there isn't, anything else as the role says.
int RunRole(const std::vector<std::string>& words);

}  // namespace process_tests
