import QtQuick
import Driftwell

// The people that the site of a row is shared with.
AvatarStack {
    required property SiteRow row

    emails: row.sharedEmails
    more: row.moreEmails
}
