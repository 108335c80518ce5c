#pragma once

#include <QString>

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace driftwell {

/// The files of a folder that are the site. The one definition of which files count: what a person is shown, what is
/// uploaded and what is committed all come from it.
///
/// Regular files at any depth count, empty ones too. Left out, with everything inside: what begins with a dot;
/// symbolic links, never followed; a folder named "node_modules" anywhere; the folder "skills" and the file "CLAUDE.md"
/// at the top, which are written there for coding agents; pipes, sockets and devices.
struct FolderScan {
    /// What is remembered of a file, to see later whether it is still the same.
    struct Attributes {
        std::int64_t size = 0;
        /// When it was last changed, in whole seconds since 1970.
        std::int64_t modified = 0;

        bool operator==(const Attributes&) const = default;
    };

    /// Subfolders that could not be read and are missing in the scan with all that they hold.
    struct Unreadable {
        static constexpr std::size_t mostNames = 20;

        std::int64_t count = 0;
        /// The paths of the first of them in the order of their bytes, relative to the folder, without a slash at the
        /// end.
        std::vector<std::string> names;

        bool operator==(const Unreadable&) const = default;

        /// A sentence for a person: "2 folders could not be read and are left out: a, b", of very many only the first
        /// names. Empty when nothing is missing.
        [[nodiscard]] QString text() const;
    };

    /// What stays behind although it can be read, each with all that it holds counted as one.
    struct LeftOut {
        /// What begins with a dot.
        std::int64_t hidden = 0;
        std::int64_t links = 0;
        /// Folders named "node_modules".
        std::int64_t dependencies = 0;
        /// The folder "skills" and the file "CLAUDE.md" at the top.
        std::int64_t agentFiles = 0;
        /// Pipes, sockets and devices.
        std::int64_t special = 0;

        bool operator==(const LeftOut&) const = default;
        LeftOut& operator+=(const LeftOut& other);

        /// A sentence for a person: "Stays behind: 2 hidden items, 1 symbolic link". Empty when nothing does.
        [[nodiscard]] QString text() const;
    };

    /// Reads the folder, blocking, on a few threads of its own; it may never return where a network does not answer. No
    /// file is opened. Subfolders that may not be read, or that are gone by the time they are reached, are left out and
    /// named in the result.
    ///
    /// Throws PlatformError::ofFolder "cannot read PATH" when the folder itself cannot be opened, Cancelled soon after
    /// a stop is requested, and std::system_error, which names the place, for everything else: when the attributes of a
    /// file or folder cannot be read (it vanished, or the folder around it may be listed but not entered), or when this
    /// machine is out of descriptors.
    [[nodiscard]] static FolderScan scan(const std::filesystem::path& folder, const std::stop_token& stop = {});

    std::int64_t fileCount = 0;
    /// Sum of the files' sizes.
    std::int64_t byteCount = 0;
    /// Relative to the folder, "/" between components, sorted by their bytes. File names are bytes, not text.
    std::vector<std::string> paths;
    /// Of each file, in the order of the paths.
    std::vector<Attributes> attributes;
    Unreadable unreadable;
    LeftOut leftOut;
    /// The folder itself, whatever its path leads to by now: its device and its inode.
    std::pair<dev_t, ino_t> folder;
    /// When it began, by the clock that files are stamped with: it stands still between two ticks of the kernel.
    timespec begun{};
};

} // namespace driftwell
