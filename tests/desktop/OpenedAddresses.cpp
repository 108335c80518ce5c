#include "tests/desktop/OpenedAddresses.h"

#include "tests/Await.h"

#include <sstream>

namespace driftwell::tests {

namespace {

/// Notes in the file beside it.
constexpr const char* script = R"(#!/bin/sh
printf '%s\n' "$1" >> "${0%/*}/addresses"
)";

QByteArray pathIn(const TestFolder& folder, std::string_view name) {
    return QByteArray::fromStdString((folder / name).string());
}

} // namespace

OpenedAddresses::OpenedAddresses()
    : m_browser("BROWSER", pathIn(m_folder, "browser")),
      m_home("HOME", pathIn(m_folder, "home")),
      m_desktop("XDG_CURRENT_DESKTOP", "X-Generic"),
      m_display("DISPLAY", std::nullopt),
      m_waylandDisplay("WAYLAND_DISPLAY", std::nullopt) {
    m_folder.write("browser", script);
    std::filesystem::permissions(m_folder / "browser", std::filesystem::perms::owner_all);
}

std::vector<std::string> OpenedAddresses::list() const {
    waitUntil([this] { return !isSomethingRunning(); });
    std::istringstream lines(m_folder.read("addresses"));
    std::vector<std::string> addresses;
    for (std::string line; std::getline(lines, line);) {
        addresses.push_back(line);
    }
    return addresses;
}

bool OpenedAddresses::isSomethingRunning() const {
    const std::string mark = "BROWSER=" + (m_folder / "browser").string();
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        std::ifstream environment(process.path() / "environ", std::ios::binary);
        for (std::string entry; std::getline(environment, entry, '\0');) {
            if (entry == mark) {
                return true;
            }
        }
    }
    return false;
}

} // namespace driftwell::tests
