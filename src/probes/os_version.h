#pragma once

#include <atomic>
#include <cstdint>

#include "platform/machine.h"
#include "platform/version_sources.h"

// Which Windows release this is, as a small number, the version class:
//
//   0  unknown, or the query failed    6  2000           11  8
//   2  NT 4 or earlier                 7  XP             12  8.1
//   3  95                              8  Server 2003    13  10
//   4  98                              9  Vista          14  11, from build 21996
//   5  Me                             10  7              20  later than known
//
// Linux has no such release and gives 0.
namespace probes {

// Asks for the version where the compatibility layer answers, then where it doesn't, and lets the product version of
// the system's kernel32.dll have the last word on the major number, if that is 10 or above.
//   major, minor, build  out: the version; left alone when even the first query fails
// Returns the version class. A minor number from the second place may stand beside a major one from the file.
// Throws std::bad_alloc. Thread: any.
std::int32_t GetOsVersionClass(std::uint32_t& major, std::uint32_t& minor, std::uint32_t& build,
                               const platform::Machine& machine = platform::ThisMachine());

// The version class, asked for once: the first that isn't 0 is kept as long as the process lives. Threads that race
// here find out the same. Throws std::bad_alloc. Thread: any.
std::int32_t GetCachedOsVersionClass();

// The same, kept in `cached`, which starts as 0.
std::int32_t GetCachedOsVersionClass(std::atomic<std::int32_t>& cached, const platform::Machine& machine);

// Fills `record` in its short form by the call that the compatibility layer leaves alone. False when the system doesn't
// have that call, in which case the record is as it was, or when it fails. Throws nothing. Thread: any.
bool ReadRtlVersion(platform::VersionRecord& record, const platform::Machine& machine = platform::ThisMachine());

}  // namespace probes
