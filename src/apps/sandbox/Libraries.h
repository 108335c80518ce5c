#pragma once

#include "apps/sandbox/Exchange.h"

#include <span>
#include <string_view>

namespace driftwell::sandbox {

/// A shared library that sites can switch on: a JavaScript module, and a text that tells a coding agent how to use it.
struct Library {
    std::string_view name;
    std::string_view version;
    std::string_view description;
    std::string_view author;
    std::string_view module;
    std::string_view skill;
};

[[nodiscard]] std::span<const Library> libraries();
/// None when the name is unknown.
[[nodiscard]] const Library* libraryNamed(std::string_view name);

/// Paths on the platform's own address.
[[nodiscard]] std::string modulePath(const Library& library);
[[nodiscard]] std::string skillPath(const Library& library);

/// Answers a request for either path; throws HttpError for any other.
void serveLibrary(Exchange& exchange);

} // namespace driftwell::sandbox
