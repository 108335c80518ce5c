#include "apps/dw/AccessTexts.h"

#include <QStringList>

namespace driftwell::dw {

namespace {

/// "maya@b (its owner), ann@b and tom@b"; of many people only how many.
QString peopleLetIn(const SiteAccess& access) {
    constexpr qsizetype most = 5;
    QStringList people = {access.owner ? QStringLiteral("%1 (its owner)").arg(*access.owner)
                                       : QStringLiteral("its owner")};
    if (access.emails.size() > most) {
        people += QStringLiteral("%1 people who were invited").arg(access.emails.size());
    } else {
        people += access.emails;
    }
    const QString last = people.takeLast();
    return people.isEmpty() ? last : people.join(QStringLiteral(", ")) + QStringLiteral(" and ") + last;
}

} // namespace

QString whoCanOpen(const SiteAccess& access) {
    switch (access.mode) {
    case SiteAccessMode::Team:
        return QStringLiteral("Anyone signed in with a team account can open it.");
    case SiteAccessMode::Restricted:
        return QStringLiteral("Only %1 can open it.").arg(peopleLetIn(access));
    case SiteAccessMode::Public:
        return QStringLiteral("Anyone with the link can open it, without signing in.");
    }
    Q_UNREACHABLE();
}

} // namespace driftwell::dw
