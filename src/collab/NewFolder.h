#pragma once

#include "support/UniqueFd.h"

#include <QString>

#include <filesystem>
#include <optional>

namespace driftwell {

/// A folder that is filled beside the place where it is to be, and takes that place when it is complete, so that nobody
/// who is killed leaves half of it there. What is not in its place is removed: by the destructor, or, after a kill,
/// when the next one is made for the same place.
///
/// Blocking. A folder that is being filled is locked (flock(2)).
class NewFolder {
public:
    /// Absent when nothing can be made beside the place.
    [[nodiscard]] static std::optional<NewFolder> besides(const std::filesystem::path& place);
    ~NewFolder();
    NewFolder(NewFolder&& other) noexcept;
    NewFolder& operator=(NewFolder&&) = delete;

    /// Where it is to be filled; there is nothing yet.
    [[nodiscard]] std::filesystem::path path() const { return m_around / m_place.filename(); }

    /// Moves it to its place, which must not exist or be an empty folder. Gives the failure.
    [[nodiscard]] std::optional<QString> takePlace() const;

private:
    NewFolder(std::filesystem::path place, std::filesystem::path around, UniqueFd lock);

    std::filesystem::path m_place;
    std::filesystem::path m_around;
    UniqueFd m_lock;
};

} // namespace driftwell
