#include "ui/collab/CollabTexts.h"

namespace driftwell {

QString possessive(const QString& name) {
    return name + (name.endsWith(u's') ? QStringLiteral("’") : QStringLiteral("’s"));
}

QString conflictTitle(const std::optional<QString>& counterpart) {
    return counterpart ? QStringLiteral("Your change overlaps with ") + possessive(*counterpart)
                       : QStringLiteral("Your changes overlap");
}

QString keepTheirsLabel(const std::optional<QString>& counterpart) {
    return QStringLiteral("Keep ") + (counterpart ? possessive(*counterpart) : QStringLiteral("theirs"));
}

QString attentionText(const QString& site, const QString& detail) {
    return QStringLiteral("The project folder for “") + site + QStringLiteral("” is in a state the app won’t touch: ") +
           detail +
           QStringLiteral(". An agent can put it back safely — copy the instructions below and paste them into it.");
}

} // namespace driftwell
