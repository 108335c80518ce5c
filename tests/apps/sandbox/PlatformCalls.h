#pragma once

#include "tests/apps/sandbox/HttpRequest.h"
#include "tests/support/SandboxProcess.h"

#include <string>

namespace driftwell::tests {

/// Sends an archive as a new version of the site; `token` may be empty.
[[nodiscard]] Reply deploy(const SandboxProcess& sandbox, const std::string& site, const std::string& archive,
                           const std::string& token = {});

/// The site's entry in the list of sites; null when it is not there.
[[nodiscard]] nlohmann::json siteEntry(const SandboxProcess& sandbox, const std::string& site);

/// What stands between two texts; empty when they are not both there.
[[nodiscard]] std::string between(const std::string& text, const std::string& before, const std::string& after);

/// Chooses a person on the sign-in page at `url`, as a browser does, and gives the answer to the choice.
[[nodiscard]] Reply choosePerson(const SandboxProcess& sandbox, const std::string& url, const std::string& person);

/// A bearer token got through the sign-in page.
[[nodiscard]] std::string tokenOf(const SandboxProcess& sandbox, const std::string& person);

} // namespace driftwell::tests
