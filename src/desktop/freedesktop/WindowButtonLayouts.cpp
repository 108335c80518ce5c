#include "desktop/freedesktop/WindowButtonLayouts.h"

#include <QHash>
#include <QStringList>

namespace driftwell {

namespace {

using Letters = QHash<QChar, WindowButton>;

/// A button that stands twice in a layout is shown where it stands first.
WindowButtons withoutDoubles(const WindowButtons& buttons) {
    QList<WindowButton> seen;
    const auto once = [&seen](const QList<WindowButton>& side) {
        QList<WindowButton> kept;
        for (const WindowButton button : side) {
            if (!seen.contains(button)) {
                seen.append(button);
                kept.append(button);
            }
        }
        return kept;
    };
    const QList<WindowButton> left = once(buttons.left);
    return {left, once(buttons.right)};
}

QList<WindowButton> namedSide(const QString& side) {
    static const QHash<QString, WindowButton> names{{QStringLiteral("close"), WindowButton::Close},
                                                    {QStringLiteral("minimize"), WindowButton::Minimize},
                                                    {QStringLiteral("maximize"), WindowButton::Maximize}};
    QList<WindowButton> buttons;
    const QStringList words = side.split(u',');
    for (const QString& word : words) {
        const auto found = names.constFind(word.trimmed());
        if (found != names.constEnd()) {
            buttons.append(*found);
        }
    }
    return buttons;
}

QList<WindowButton> letteredSide(const QString& side, const Letters& letters) {
    QList<WindowButton> buttons;
    for (const QChar letter : side) {
        const auto found = letters.constFind(letter);
        if (found != letters.constEnd()) {
            buttons.append(*found);
        }
    }
    return buttons;
}

} // namespace

WindowButtons gnomeButtons(const QString& layout) {
    return withoutDoubles({namedSide(layout.section(u':', 0, 0)), namedSide(layout.section(u':', 1, 1))});
}

WindowButtons xfwmButtons(const QString& layout) {
    static const Letters letters{
        {u'C', WindowButton::Close}, {u'H', WindowButton::Minimize}, {u'M', WindowButton::Maximize}};
    return withoutDoubles(
        {letteredSide(layout.section(u'|', 0, 0), letters), letteredSide(layout.section(u'|', 1, 1), letters)});
}

WindowButtons kwinButtons(const std::optional<QString>& left, const std::optional<QString>& right) {
    static const Letters letters{
        {u'X', WindowButton::Close}, {u'I', WindowButton::Minimize}, {u'A', WindowButton::Maximize}};
    return withoutDoubles({letteredSide(left.value_or(QStringLiteral("MS")), letters),
                           letteredSide(right.value_or(QStringLiteral("HIAX")), letters)});
}

} // namespace driftwell
