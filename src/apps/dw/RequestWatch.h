#pragma once

#include "apps/dw/Reporter.h"
#include "platform/PlatformClient.h"

#include <QTimer>

namespace driftwell::dw {

/// Tells a person of the requests to a platform: that an answer is awaited, once that takes a moment; that a token goes
/// where others can read it; and, for whoever looks for a fault, each one with all that is known of it.
class RequestWatch final : public PlatformObserver {
public:
    enum class Detail { Usual, EachRequest };

    /// The reporter outlives it.
    RequestWatch(Reporter& reporter, Detail detail);

    void begins(const PlatformConfig& config, TokenSource token) override;
    void ends(const std::optional<HttpExchange>& exchange, TokenSource token, const QString& failure) override;

private:
    Reporter& m_reporter;
    Detail m_detail;
    QTimer m_patience;
    QString m_host;
    int m_underWay = 0;
};

/// One exchange in a line, as --verbose has it.
[[nodiscard]] QString exchangeText(const HttpExchange& exchange, TokenSource token, const QString& failure);

} // namespace driftwell::dw
