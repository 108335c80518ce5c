#include "tests/deploy/ProcessState.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace driftwell::tests {

namespace {

/// The parent in /proc/PID/stat (proc(5)), whose second field, in parentheses, may hold anything. 0 when it is gone.
pid_t parentOf(const std::string& pid) {
    std::ifstream file("/proc/" + pid + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) {
        return 0;
    }
    std::istringstream rest(line.substr(nameEnd + 1));
    char state = 0;
    pid_t parent = 0;
    rest >> state >> parent;
    return parent;
}

} // namespace

ProcessState ProcessState::now() {
    ProcessState state;
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
        // The descriptor that this loop itself reads from is closed by now or leads to /proc.
        if (!gone && target.find("/fd") == std::string::npos) {
            state.descriptors.insert(entry.path().filename().string() + " -> " + target);
        }
    }
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (std::isdigit(static_cast<unsigned char>(name.front())) != 0 && parentOf(name) == ::getpid()) {
            state.children.insert(std::stoi(name));
        }
    }
    return state;
}

bool ProcessState::holdsOpen(const std::string& pathEnd) const {
    return std::any_of(descriptors.begin(), descriptors.end(), [&](const std::string& descriptor) {
        return descriptor.ends_with(pathEnd) || descriptor.ends_with(pathEnd + " (deleted)");
    });
}

std::ostream& operator<<(std::ostream& stream, const ProcessState& state) {
    for (const std::string& descriptor : state.descriptors) {
        stream << descriptor << '\n';
    }
    for (const pid_t child : state.children) {
        stream << "child " << child << '\n';
    }
    return stream;
}

} // namespace driftwell::tests
