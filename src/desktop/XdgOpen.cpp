#include "desktop/XdgOpen.h"

#include <QProcess>

namespace driftwell {

bool xdgOpen(const QUrl& url) {
    QProcess opener;
    opener.setProgram(QStringLiteral("/usr/bin/xdg-open"));
    opener.setArguments({QString::fromLatin1(url.toEncoded())});
    opener.setStandardInputFile(QProcess::nullDevice());
    // Programs write to the terminal as they like; it is not theirs.
    opener.setStandardOutputFile(QProcess::nullDevice());
    opener.setStandardErrorFile(QProcess::nullDevice());
    return opener.startDetached();
}

} // namespace driftwell
