#include "child_roles.h"

namespace roles {

std::map<std::string, Role>& All() {
    static std::map<std::string, Role> roles;
    return roles;
}

bool Play(const std::string& commandTail, int& code) {
    const std::size_t colon = commandTail.find(':');
    const auto found = colon == std::string::npos ? All().end() : All().find(commandTail.substr(0, colon));
    if (found == All().end()) return false;
    code = found->second(commandTail.substr(colon + 1));
    return true;
}

}  // namespace roles
