#pragma once

#include "support/UniqueFd.h"

#include <filesystem>
#include <optional>

namespace driftwell {

/// What a child process, and whatever it starts, may read: some files, and some folders with everything beneath them,
/// by what they are and not by how they are called. Opening anything else for reading fails there with EACCES, whatever
/// links lead to it. Starting a program takes reading it. Writing is not confined.
///
/// It is Landlock (landlock(7)), which Linux has since 5.13.
class ReadConfinement {
public:
    /// Nothing may be read yet. Absent where the kernel has no Landlock or it may not be used. Throws
    /// std::system_error, out of descriptors for one.
    [[nodiscard]] static std::optional<ReadConfinement> make();

    /// `opened` is a descriptor of a file or a folder, open in any way, and stays the caller's. Throws
    /// std::system_error.
    void allow(int opened);
    /// Does nothing where there is no such file or folder. Links are followed.
    void allow(const std::filesystem::path& path);

    /// The rules, for enter().
    [[nodiscard]] int descriptor() const { return m_rules.get(); }

    /// Confines the calling thread, for good. Between fork and exec: it is only system calls. False, with errno, when
    /// it is refused.
    [[nodiscard]] static bool enter(int descriptor);

private:
    explicit ReadConfinement(UniqueFd rules) : m_rules(std::move(rules)) {}

    UniqueFd m_rules;
};

} // namespace driftwell
