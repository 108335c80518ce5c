#pragma once

#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <string>
#include <vector>

namespace driftwell::tests {

/// The opening of addresses led to a list: the real xdg-open runs, on a desktop that has no programs but a browser, and
/// that is a script which notes what it is asked to open.
class OpenedAddresses {
public:
    OpenedAddresses();

    /// All that was asked to be opened until now, once whatever opens it has ended.
    [[nodiscard]] std::vector<std::string> list() const;

private:
    [[nodiscard]] bool isSomethingRunning() const;

    TestFolder m_folder;
    ScopedVariable m_browser;
    ScopedVariable m_home;
    ScopedVariable m_desktop;
    ScopedVariable m_display;
    ScopedVariable m_waylandDisplay;
};

} // namespace driftwell::tests
