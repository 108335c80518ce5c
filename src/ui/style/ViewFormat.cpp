#include "ui/style/ViewFormat.h"

namespace driftwell {

QColor Format::seedColor(const QString& seed) {
    constexpr int hues = 360;
    return QColor::fromHsvF(static_cast<float>(seedHash(seed) % hues) / hues, 0.45F, 0.62F);
}

QString Format::codeMarked(const QString& text) {
    QString html;
    bool isCode = false;
    for (const QString& piece : text.split(u'`')) {
        const QString escaped = piece.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>"));
        html += isCode ? QStringLiteral("<b>") + escaped + QStringLiteral("</b>") : escaped;
        isCode = !isCode;
    }
    return html;
}

QString Format::codeUnmarked(const QString& text) {
    return QString(text).remove(u'`');
}

} // namespace driftwell
