#pragma once

#include "support/UniqueFd.h"

#include <filesystem>
#include <string>

namespace driftwell::tests {

/// Folders one within another, deeper than any path can name, with a file in the innermost. Removed at the end with
/// all that was put into the innermost, which ordinary means of removing cannot.
class DeepTree {
public:
    /// Each of the `levels` folders is called `name`; the file is called "file" and holds "deep".
    DeepTree(const std::filesystem::path& parent, std::string name, int levels);
    ~DeepTree();
    DeepTree(const DeepTree&) = delete;
    DeepTree& operator=(const DeepTree&) = delete;

    /// The file's path, relative to the parent.
    [[nodiscard]] std::string file() const;

    /// A path to the innermost folder that is short enough to be used while this object lives.
    [[nodiscard]] std::filesystem::path innermost() const;

private:
    std::string m_name;
    int m_levels = 0;
    UniqueFd m_innermost;
};

} // namespace driftwell::tests
