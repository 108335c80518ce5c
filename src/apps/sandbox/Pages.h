#pragma once

#include "apps/sandbox/Store.h"

#include <string>
#include <string_view>
#include <vector>

/// The platform's own pages: plain HTML that needs no script, in light and dark.
namespace driftwell::sandbox::pages {

/// A sentence or two. `title` and `text` are plain text.
[[nodiscard]] std::string message(std::string_view title, std::string_view text);

/// As above, with one link below.
[[nodiscard]] std::string message(std::string_view title, std::string_view text, std::string_view linkText,
                                  std::string_view link);

/// The choice of one of the demo people. `purpose` says what the person is signing in to.
[[nodiscard]] std::string signIn(std::string_view purpose, std::string_view nonce);

/// What is seen at the platform's own address.
[[nodiscard]] std::string welcome(const std::vector<Site>& sites, int port);

} // namespace driftwell::sandbox::pages
