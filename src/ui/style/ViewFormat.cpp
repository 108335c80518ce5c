#include "ui/style/ViewFormat.h"

namespace driftwell {

QColor Format::seedColor(const QString& seed) {
    constexpr int hues = 360;
    return QColor::fromHsvF(static_cast<float>(seedHash(seed) % hues) / hues, 0.45F, 0.62F);
}

} // namespace driftwell
