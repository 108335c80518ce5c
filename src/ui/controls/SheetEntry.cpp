#include "ui/controls/SheetEntry.h"

#include <utility>

namespace driftwell {

void SheetEntry::setTarget(QObject* target) {
    if (std::exchange(m_target, target) != target) {
        Q_EMIT targetChanged();
    }
}

} // namespace driftwell
