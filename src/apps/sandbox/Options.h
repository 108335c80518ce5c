#pragma once

#include "apps/sandbox/Misbehaviour.h"
#include "apps/sandbox/UploadLimits.h"

#include <cstdint>
#include <filesystem>
#include <variant>

namespace driftwell::sandbox {

enum class SignInRule { Nobody, Everybody };

struct Options {
    int port = 8787;
    std::filesystem::path data;
    SignInRule signIn = SignInRule::Nobody;
    UploadLimits limits;
    Switches switches;
    /// Before how many pushes somebody else gets ahead.
    std::uint64_t races = 0;
};

/// The options, or the status to exit with when everything has been said already: 0 after --help and --version, 2 after
/// wrong usage.
[[nodiscard]] std::variant<Options, int> parseOptions(int argc, const char* const* argv);

} // namespace driftwell::sandbox
