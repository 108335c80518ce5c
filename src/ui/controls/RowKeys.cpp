#include "ui/controls/RowKeys.h"

#include <algorithm>
#include <utility>

namespace driftwell {

int RowKeys::rowFor(int key, int modifiers, const QString& text, int current) {
    const int count = m_model ? m_model->rowCount() : 0;
    const int others = modifiers & ~static_cast<int>(Qt::ShiftModifier | Qt::KeypadModifier);
    if (count == 0 || others != 0) {
        return -1;
    }
    const auto within = [count](int row) {
        return std::clamp(row, 0, count - 1);
    };
    switch (key) {
    case Qt::Key_Up:
        return within(current - 1);
    case Qt::Key_Down:
        return within(current + 1);
    case Qt::Key_Home:
        return 0;
    case Qt::Key_End:
        return count - 1;
    case Qt::Key_PageUp:
        return within(current - std::max(1, m_page));
    case Qt::Key_PageDown:
        return within(current + std::max(1, m_page));
    default:
        return text.isEmpty() || !text.front().isPrint() || text.front().isSpace() ? -1 : rowTyped(text, current);
    }
}

int RowKeys::rowTyped(const QString& text, int current) {
    const auto now = std::chrono::steady_clock::now();
    const bool goesOn = now - std::exchange(m_typedAt, now) < std::chrono::milliseconds(m_pause);
    m_typed = goesOn ? m_typed + text : text;
    const bool isOneLetter = m_typed.count(m_typed.front(), Qt::CaseInsensitive) == m_typed.size();
    if (m_typed.size() > 1) {
        // What is typed on is first looked for where it was found so far.
        if (const int row = find(m_typed, std::max(0, current)); row >= 0 || !isOneLetter) {
            return row >= 0 ? row : current;
        }
    }
    const int row = find(m_typed.left(1), current + 1);
    return row >= 0 ? row : current;
}

int RowKeys::find(const QString& beginning, int first) const {
    const int count = m_model->rowCount();
    for (int i = 0; i < count; ++i) {
        const int row = (first + i) % count;
        if (m_model->index(row, 0).data(Qt::DisplayRole).toString().startsWith(beginning, Qt::CaseInsensitive)) {
            return row;
        }
    }
    return -1;
}

} // namespace driftwell
