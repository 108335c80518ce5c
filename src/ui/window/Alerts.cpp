#include "ui/window/Alerts.h"

#include "ui/controls/ShownText.h"

#include <algorithm>

namespace driftwell {

const Alerts::Alert* Alerts::current() const {
    const auto found =
        std::find_if(m_alerts.begin(), m_alerts.end(), [](const Alert& alert) { return alert.text().has_value(); });
    return found == m_alerts.end() ? nullptr : &*found;
}

QString Alerts::title() const {
    const Alert* const alert = current();
    return alert != nullptr ? alert->title : QString();
}

QString Alerts::text() const {
    const Alert* const alert = current();
    constexpr qsizetype moreThanAnybodyReads = 10'000;
    return alert != nullptr ? shownText(*alert->text(), moreThanAnybodyReads) : QString();
}

void Alerts::dismiss() {
    if (const Alert* const alert = current()) {
        alert->dismiss();
    }
}

} // namespace driftwell
