#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace driftwell {

/// What a start of the application asks for. A second start hands its own over to the running application, so it is
/// read from plain bytes on both sides.
struct Invocation {
    enum class Action {
        /// Show the window.
        Open,
        /// Start without the window, for the beginning of a session. A running application does nothing.
        Tray,
        /// Ask for a folder to publish.
        NewProject,
        /// Publish `folder`.
        Deploy,
        /// Follow `link`.
        FollowLink,
        /// Print the version, or how the program is used, and end.
        Version,
        Help,
        /// `problem` says what is wrong.
        WrongUsage,
    };

    Action action = Action::Open;
    /// Absolute.
    std::filesystem::path folder;
    std::string problem;
    /// An address of the application's own scheme, as it came.
    std::string link = {};

    /// `arguments` without the program's name. A relative folder counts from `workingFolder`; a file's address is taken
    /// as its path; an address of the application's own scheme is a link.
    [[nodiscard]] static Invocation parse(const std::vector<std::string>& arguments,
                                          const std::filesystem::path& workingFolder, const std::string& urlScheme);

    /// For Help.
    [[nodiscard]] static std::string usage();

    bool operator==(const Invocation&) const = default;
};

} // namespace driftwell
