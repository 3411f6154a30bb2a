#pragma once

#include <string>
#include <vector>

namespace parent_process_tests {

// What this program does when a test starts it again. `words` is the command line's tail behind "role ":
//   exit CODE ...          ends at once with this code; what follows is not looked at
//   parent PREFIX FOLDER   a parent: starts a process whose ids begin with PREFIX on the library in FOLDER (beside this
//                          program), submits one frame, writes the link's id to FOLDER/id.txt, and stays until it is
//                          killed
//   outlived PREFIX FOLDER the same with a process that goes on when this program ends
// Returns the exit code; 2 for a role that there isn't.
int RunRole(const std::vector<std::string>& words);

}  // namespace parent_process_tests
