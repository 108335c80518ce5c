#pragma once

#include "tests/apps/dw/DwFixture.h"

#include <string>
#include <vector>

namespace driftwell::tests {

/// A person whose sites are on a platform of their own.
class DwSiteFixture : public DwFixture {
protected:
    explicit DwSiteFixture(std::vector<std::string> sandboxOptions = {});

    /// Publishes a page under the name, from a folder of that name.
    void publish(const std::string& name, const std::string& page = "x") const;

    [[nodiscard]] std::string addressOf(const std::string& site) const;
    /// The platform's record; null when there is no such site.
    [[nodiscard]] nlohmann::json record(const std::string& site) const;

    /// Runs the command in both forms and expects it to fail in the same way.
    void expectFailure(const std::vector<std::string>& arguments, int exitCode, const std::string& kind,
                       const std::string& message, const std::string& hint = {}) const;

    const Sandbox sandbox;
};

/// A program's start with a terminal on all three descriptors.
[[nodiscard]] Invocation onTerminal(Invocation invocation, unsigned short columns = 80);

/// A condition: the terminal of the program has received the text.
[[nodiscard]] std::function<bool()> hasShown(const Program& program, std::string text);

} // namespace driftwell::tests
