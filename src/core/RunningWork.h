#pragma once

#include "deploy/DeployStage.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

namespace driftwell {

class AppState;

/// What is under way for a person at this moment, that an end of the application or of the session would disturb.
struct RunningWork {
    /// The site that is being published, and how far that is.
    std::optional<QString> deployingSite = {};
    DeployStage stage = {};
    // The sites of which each is true.
    QSet<QString> rolledBack = {};
    QSet<QString> deleted = {};
    /// Its folder is being merged, linked, copied or brought up to date.
    QSet<QString> synced = {};

    [[nodiscard]] static RunningWork of(const AppState& state);

    [[nodiscard]] bool isEmpty() const;

    /// A sentence for each, for a person; the deployment first, the others by their names.
    [[nodiscard]] QStringList sentences() const;
};

} // namespace driftwell
