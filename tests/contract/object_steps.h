#pragma once

#include <string>

namespace contract {

// What a child does with named objects: steps of blank-separated words, separated by ";". The exit code is 0, or the
// number of the step that went wrong, counted from 1.
//   event NAME               opens or makes the event
//   set NAME | wait NAME     on an event that was opened before; a wait ends with the watchdog
//   unset NAME               fails when the event is signalled
//   create NAME BYTES | open NAME BYTES | read NAME BYTES   a mapping and a view of BYTES; "read" asks for no more
//   absent NAME              fails when there is a mapping of that name
//   write NAME AT VALUE | expect NAME AT VALUE   one byte of a mapping that was opened before
//   close NAME               lets go of the object
//   hang                     never ends
//   churn NAME ROUNDS        comes and goes ROUNDS times as a user of the mapping NAME, see the source
inline constexpr char kStepsRole[] = "steps ";

int RunSteps(const std::string& steps);

}  // namespace contract
