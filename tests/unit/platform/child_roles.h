#pragma once

#include <functional>
#include <map>
#include <string>

// What this program does as a child of its own tests: the command tail is a role's name, ":", and what the role works
// on.
namespace roles {

using Role = std::function<int(const std::string& rest)>;

// Roles by name. A test file adds its own before main runs, by a global of the type below.
std::map<std::string, Role>& All();

struct Registered {
    Registered(const std::string& name, Role role) { All()[name] = std::move(role); }
};

// True when the command tail names a role, which has then been played; `code` is its exit code.
bool Play(const std::string& commandTail, int& code);

}  // namespace roles
