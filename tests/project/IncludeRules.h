#pragma once

#include "tests/project/Repository.h"

#include <string>
#include <vector>

namespace project {

/// What breaks the rules of includes, one line of text for each:
/// - every file below src/ is in a known room;
/// - a quoted include names a file from src/ on ("deploy/FolderScan.h"); in tests/, bench/ and fuzz/ it may also name
///   one from the top folder on ("tests/support/Waiting.h");
/// - a room includes itself and the rooms above it, an application never another one;
/// - only ui/ and the desktop application include headers of Qt Gui, Widgets, Qml and Quick.
/// A file that moc writes for the including one ("FolderScan.moc") is nobody's room.
[[nodiscard]] std::vector<std::string> includeViolations(const std::vector<RepositoryFile>& files);

/// What breaks the same rule among views, which know each other by name alone: a view names only views of its own room
/// and of those that its room may include.
[[nodiscard]] std::vector<std::string> viewViolations(const std::vector<RepositoryFile>& files);

} // namespace project
