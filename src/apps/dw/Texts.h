#pragma once

#include "deploy/DeployStage.h"
#include "deploy/SiteName.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>

/// The tool's texts that depend on a value.
namespace driftwell::dw {

/// "1 byte", "200 bytes", "1.2 MB", in units of 1000 bytes.
[[nodiscard]] QString sizeText(std::int64_t bytes);

/// "1 file", "12 files".
[[nodiscard]] QString countText(std::int64_t files);

/// "1.2 s", below a second "340 ms".
[[nodiscard]] QString durationText(std::chrono::milliseconds duration);

/// A platform's time "2026-03-01T09:30:00Z" as "2026-03-01 10:30" of the person's own zone; one that cannot be read, as
/// it is.
[[nodiscard]] QString localTimeText(const QString& timestamp);

/// A row for a program: the fields joined by tabs. Tabs and line breaks within a field become blanks.
[[nodiscard]] QString fieldsText(QStringList fields);

/// A person as a narrow column has it: the address up to its "@".
[[nodiscard]] QString personText(const QString& address);

/// The progress line of a stage, and its part that stays the same.
[[nodiscard]] QString stageText(DeployStage stage);
[[nodiscard]] QString stageName(DeployStage stage);

/// Which rule a name breaks.
[[nodiscard]] QString problemText(const QString& name, SiteName::Problem problem);

} // namespace driftwell::dw
