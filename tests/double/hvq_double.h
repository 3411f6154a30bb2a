#pragma once

#include <cstdint>

// How a test in the same process drives the double: exported beside the inference library's 60 names, with C linkage.
// Thread: any.

extern "C" {

// Starts anew: defaults, then the commands of `text`, counts at 0, no calls recorded, gates shut. Engines that live
// keep living. Returns 0, or the number of the first line that can't be understood; the lines before it hold.
std::int32_t hvqDoubleScript(const char* text);

// Adds commands to what holds already; the rest stays. Returns as hvqDoubleScript does.
std::int32_t hvqDoubleAdd(const char* text);

// The recorded calls, one a line: the number of the thread, a blank, the call. Writes at most `capacity` chars, without
// a terminator, and returns how many there are.
std::uint64_t hvqDoubleCalls(char* buffer, std::uint64_t capacity);

// Empties the record. Counts go on.
void hvqDoubleForgetCalls();

// The calling thread's number in the record.
std::uint32_t hvqDoubleThread();

// Lets everybody through the gate, now and later.
void hvqDoubleOpenGate(const char* name);

// Waits until `count` calls have come to the gate, those that went through included. Returns 1, or 0 after `limitMs`.
std::int32_t hvqDoubleAwaitGate(const char* name, std::uint32_t count, std::uint32_t limitMs);

// The data that was set last for an input layer, of whichever engine. Writes at most `capacity` elements and returns
// how many there are.
std::uint64_t hvqDoubleInput(const char* layerName, float* buffer, std::uint64_t capacity);

// How many engines live.
std::uint64_t hvqDoubleEngines();
}
