#pragma once

#include <QString>

#include <array>
#include <filesystem>
#include <string>

/// The rules of site names. A site's name becomes part of its public address.
///
/// derive() only cleans text and isValid() alone decides: a derived name can be invalid, and a valid name can be one
/// that derive() would never give.
namespace driftwell::SiteName {

inline constexpr int maximumLength = 63;

/// Names that the platform keeps for itself. Compared exactly.
inline constexpr std::array<QStringView, 6> reserved{u"api", u"ws", u"sdk", u"www", u"dw", u"admin"};

/// What a folder is called that was typed so: its name as it was typed, also that of a link to it, unless that says
/// only where the folder is ("." or ".."); then the name of `resolved`, which is the folder itself. Bytes.
[[nodiscard]] std::string folderName(const std::filesystem::path& typed, const std::filesystem::path& resolved);

/// A suggestion from a folder's name: lower case; runs of blanks, underscores and dots become one dash; everything but
/// ASCII letters, digits and dashes is dropped; no two dashes in a row, none at the ends; cut to 63 characters, which
/// can leave a dash at the end. May be empty.
[[nodiscard]] QString derive(const QString& text);

/// Whether a site may be published under the name: 1 to 63 ASCII lower-case letters, digits and dashes, beginning with
/// a letter or digit, and not reserved.
[[nodiscard]] bool isValid(QStringView name);

/// The first rule that a name breaks.
enum class Problem { None, Empty, Reserved, ForbiddenCharacter, BeginsWithDash, TooLong };

[[nodiscard]] Problem problem(QStringView name);

} // namespace driftwell::SiteName
