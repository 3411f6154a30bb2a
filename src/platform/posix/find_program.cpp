#include "platform/find_program.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

namespace platform {

std::optional<std::string> FindProgram(const std::string& name) {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::string file = (folder.empty() ? "." : folder) + "/" + name;
        struct stat facts {};
        if (::stat(file.c_str(), &facts) == 0 && S_ISREG(facts.st_mode) && ::access(file.c_str(), X_OK) == 0) {
            return file;
        }
    }
    return std::nullopt;
}

}  // namespace platform
