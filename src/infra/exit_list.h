#pragma once

namespace infra {

// What is to be done at the process's end, the latest first.
//
// A list of our own, as a library that was loaded later than an object was built takes its own leave before that
// object on some systems: exit handlers run in the reverse order of their registration there, whoever registered them.
// An object that still needs the library at its end then finds it gone. So the program runs this list before it ends,
// while all libraries stand; should it end in another way, the list is an exit handler like any other.

// Has `last` called at the process's end. Thread: any.
void AtProcessEnd(void (*last)()) noexcept;

// Calls what is on the list, and empties it. What is called may add to it. Thread: the one that ends the process.
void RunExitList() noexcept;

}  // namespace infra
