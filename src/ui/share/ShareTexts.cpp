#include "ui/share/ShareTexts.h"

#include "core/Format.h"

namespace driftwell {

AccessModeTexts textsOf(SiteAccessMode mode) {
    switch (mode) {
    case SiteAccessMode::Team:
        return {.label = QStringLiteral("Team"),
                .symbol = QStringLiteral("person.2"),
                .description = QStringLiteral("Anyone signed in with a team account can open it.")};
    case SiteAccessMode::Restricted:
        return {.label = QStringLiteral("Invited people only"),
                .symbol = QStringLiteral("person.badge.key"),
                .description = QStringLiteral("Only the owner and the people below can open it.")};
    case SiteAccessMode::Public:
        return {.label = QStringLiteral("Anyone with the link"),
                .symbol = QStringLiteral("globe"),
                .description = QStringLiteral("Anyone with the link — no sign-in.")};
    }
    Q_UNREACHABLE();
}

QString peopleNote(const SiteAccess& access) {
    if (access.emails.isEmpty()) {
        return access.owner ? QString() : QStringLiteral("Only invited people appear here.");
    }
    return access.mode == SiteAccessMode::Restricted
               ? QString()
               : QStringLiteral("Invited people matter once general access is “Invited people only”.");
}

QString cleanedAddress(const QString& typed) {
    return typed.trimmed().toLower();
}

bool canInvite(const QString& typed, const SiteAccess& access) {
    const QString cleaned = cleanedAddress(typed);
    return cleaned.contains(u'@') && !access.emails.contains(cleaned) && access.owner != cleaned;
}

QString symbolOfLib(const QString& lib) {
    const QString name = lib.toLower();
    if (name.contains(QLatin1String("comment"))) {
        return QStringLiteral("bubble.left");
    }
    const bool isOfPresence = name.contains(QLatin1String("cursor")) || name.contains(QLatin1String("presence"));
    return isOfPresence ? QStringLiteral("cursorarrow.motionlines") : QStringLiteral("puzzlepiece.extension");
}

QString titleOfLib(const QString& manifestName) {
    const QString prefix = QStringLiteral("lib-");
    QString words = manifestName.startsWith(prefix) ? manifestName.mid(prefix.size()) : manifestName;
    words.replace(u'-', u' ');
    const QString first = Format::firstCharacter(words);
    return first.toUpper() + words.mid(first.size());
}

} // namespace driftwell
