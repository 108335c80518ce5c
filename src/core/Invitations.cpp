#include "core/Invitations.h"

namespace driftwell {

QString invitedAddress(const QString& typed) {
    return typed.trimmed().toLower();
}

bool canInvite(const QString& address, const SiteAccess& access) {
    return address.contains(u'@') && !access.emails.contains(address) && access.owner != address;
}

} // namespace driftwell
