#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell {

/// What a start of the application asks for, in a form that another process can act on.
struct LaunchRequest {
    /// The command line without the program's name, all bytes; what names a file is absolute.
    std::vector<std::string> arguments;
    /// What the desktop gave to the start so that it may come to the front (the XDG activation protocol of Wayland, or
    /// the Startup Notification protocol of X11). Empty where there was none.
    std::string activationToken;

    bool operator==(const LaunchRequest&) const = default;

    /// The largest form of a request on its way between processes, in bytes.
    static constexpr std::size_t largestEncoding = 1024 * 1024;

    /// The request of the running process, from main()'s parameters, the environment and the working folder.
    [[nodiscard]] static LaunchRequest ofThisProcess(int argc, const char* const* argv);

    /// Texts without NUL, each ended by one: a mark of the format, the number of arguments, the token, the arguments.
    [[nodiscard]] std::string encoded() const;
    /// Absent when this is not a whole request.
    [[nodiscard]] static std::optional<LaunchRequest> decoded(std::string_view encoding);
};

/// Arguments as they mean the same in every working folder: options ("-…", until "--") and addresses ("scheme://…")
/// stay as they are, everything else is a path and is made absolute. Such a path ends in a name: "." becomes the folder
/// that it means.
[[nodiscard]] std::vector<std::string> absoluteArguments(std::vector<std::string> arguments,
                                                         const std::filesystem::path& workingFolder);

} // namespace driftwell
