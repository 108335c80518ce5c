#include "apps/dw/SiteVisit.h"

namespace driftwell::dw {

QString answerText(const PlatformClient::SiteAnswer& answer) {
    const int status = answer.status;
    if (!answer.sendsTo.isEmpty()) {
        return QStringLiteral("It sends visitors on to %1 (%2), as for a sign-in.").arg(answer.sendsTo).arg(status);
    }
    if (answersWell(answer)) {
        return QStringLiteral("It answers well (%1).").arg(status);
    }
    switch (status) {
    case 401:
    case 403:
        return QStringLiteral("It does not let you in (%1).").arg(status);
    case 404:
    case 410:
        return QStringLiteral("It has no page to show (%1).").arg(status);
    default:
        return QStringLiteral("It does not answer well (%1).").arg(status);
    }
}

bool answersWell(const PlatformClient::SiteAnswer& answer) {
    return (answer.status >= 200 && answer.status <= 299) || !answer.sendsTo.isEmpty();
}

} // namespace driftwell::dw
