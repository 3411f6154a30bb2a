#pragma once

namespace infra {

// As a child with this command tail the program ends with what the environment says, 12 where it says nothing.
inline constexpr char kProfileLogRoundsRole[] = "profile-log-rounds";

}  // namespace infra
