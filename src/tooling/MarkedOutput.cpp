#include "tooling/MarkedOutput.h"

#include <QByteArrayView>
#include <QString>

#include <algorithm>

namespace driftwell {

void MarkedOutput::append(std::string_view piece) {
    [[maybe_unused]] const QString text =
        m_decoder.decode(QByteArrayView(piece.data(), static_cast<qsizetype>(piece.size())));
    if (m_state == State::AfterSecond) {
        return;
    }
    m_kept += piece;
    if (m_state == State::BeforeFirst) {
        const std::size_t found = m_kept.find(marker);
        if (found == std::string::npos) {
            m_kept.erase(0, m_kept.size() - std::min(m_kept.size(), marker.size() - 1));
            return;
        }
        m_kept.erase(0, found + marker.size());
        m_state = State::Between;
    }
    const std::size_t end = m_kept.find(marker);
    if (end == std::string::npos && m_kept.size() <= longest + marker.size()) {
        return;
    }
    if (end <= longest) {
        m_value = m_kept.substr(0, end);
    }
    m_kept.clear();
    m_state = State::AfterSecond;
}

std::optional<std::string> MarkedOutput::value() {
    // A letter shows a character that was begun and not ended.
    [[maybe_unused]] const QString text = m_decoder.decode(QByteArrayView("."));
    return m_decoder.hasError() ? std::nullopt : m_value;
}

} // namespace driftwell
