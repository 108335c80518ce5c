#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// What `dw init` tells coding agents, and how it finds its own words again in files that a person has edited since.
///
/// Every text carries a digest of itself in a marker, an HTML comment on a line of its own. While the digest fits, the
/// text is ours and can be renewed; from the first change on it is the person's. Line ends do not count for it, since
/// git and editors rewrite them. A file whose first line ends in CR LF is written with such line ends.
namespace driftwell::dw {

/// A skill as agents read it (YAML front matter with `name` and `description`, then Markdown).
struct Skill {
    std::string name;
    std::string text;
};

/// In the order of the guide that names them.
[[nodiscard]] std::vector<Skill> skills();

/// The section of CLAUDE.md. `platform` is the origin that the folder is prepared for, if one is in use.
[[nodiscard]] std::string agentGuide(const std::optional<std::string>& platform);

/// What is to become of a file.
struct Renewal {
    enum class State {
        Written,   ///< there was no such file, or not yet this section in it
        Renewed,   ///< it was ours, and is brought up to date
        Unchanged, ///< it is as it should be
        Kept,      ///< a person changed it, so it stays
    };

    State state = State::Unchanged;
    /// The whole new file where it is Written or Renewed.
    std::string content = {};
};

/// "written", "renewed", "unchanged", "kept".
[[nodiscard]] const char* stateWord(Renewal::State state);

/// A file that is ours as a whole, `present` being what it holds now.
[[nodiscard]] Renewal renewedFile(const std::optional<std::string>& present, const std::string& text);

/// Thrown for a file whose two markers are not there exactly once and in their order. what() says what is wrong.
class BrokenMarkers final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A file of the person's with a section of ours between two markers, which is put at its end where it is missing. All
/// other bytes stay as they are. Throws BrokenMarkers.
[[nodiscard]] Renewal withSection(const std::optional<std::string>& present, const std::string& text);

} // namespace driftwell::dw
