#pragma once

#include <QUrl>

namespace driftwell {

/// Opens an address with the person's program for it, through xdg-open(1), without waiting for that program. What it
/// starts goes on when this process ends. False when xdg-open could not be started.
bool xdgOpen(const QUrl& url);

} // namespace driftwell
