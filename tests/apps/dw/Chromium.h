#pragma once

#include "tests/support/Program.h"
#include "tests/support/TestFolder.h"

#include <nlohmann/json.hpp>

#include <string>

namespace driftwell::tests {

/// A real browser without a window, with a profile of its own, driven through chromedriver (W3C WebDriver,
/// https://www.w3.org/TR/webdriver2/). It reaches this machine only, and nothing of it is left when it goes. The calls
/// block, so a test whose own event loop is to answer the browser makes them on another thread. They throw when the
/// browser does not do as it is told.
class Chromium {
public:
    Chromium();
    ~Chromium();
    Chromium(const Chromium&) = delete;
    Chromium& operator=(const Chromium&) = delete;

    void open(const std::string& address) const;
    /// Clicks the element that a CSS selector finds, as a person does.
    void click(const std::string& selector) const;
    /// A click does not wait for the page to which it leads; this does.
    void waitForTitle(const std::string& title) const;
    [[nodiscard]] std::string title() const;
    [[nodiscard]] std::string address() const;
    /// The text that is shown in the element.
    [[nodiscard]] std::string text(const std::string& selector) const;

private:
    [[nodiscard]] nlohmann::json command(const std::string& method, const std::string& path,
                                         const nlohmann::json& body) const;
    [[nodiscard]] std::string element(const std::string& selector) const;

    TestFolder m_folder;
    Program m_driver;
    std::string m_url;
    std::string m_session;
};

} // namespace driftwell::tests
