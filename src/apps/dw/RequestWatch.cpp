#include "apps/dw/RequestWatch.h"

#include "apps/dw/PlainHttp.h"
#include "apps/dw/Texts.h"

#include <QStringList>

namespace driftwell::dw {

namespace {

// What comes sooner needs no word.
constexpr std::chrono::milliseconds patience(300);

QString tokenText(TokenSource token) {
    switch (token) {
    case TokenSource::None:
        return QStringLiteral("no token");
    case TokenSource::Environment:
        return QStringLiteral("token from DW_TOKEN");
    case TokenSource::Stored:
        return QStringLiteral("the stored token");
    case TokenSource::Given:
        return QStringLiteral("the token that was given");
    }
    Q_UNREACHABLE();
}

} // namespace

RequestWatch::RequestWatch(Reporter& reporter, Detail detail) : m_reporter(reporter), m_detail(detail) {
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    QObject::connect(&m_patience, &QTimer::timeout, &m_patience,
                     [this] { m_reporter.waiting(QStringLiteral("Asking %1…").arg(m_host)); });
}

void RequestWatch::begins(const PlatformConfig& config, TokenSource token) {
    m_host = config.shownHost();
    if (const std::optional<QString> warning = plainHttpWarning(config); warning && token != TokenSource::None) {
        m_reporter.noticeOnce(*warning);
    }
    if (m_underWay++ == 0) {
        m_patience.start();
    }
}

void RequestWatch::ends(const std::optional<HttpExchange>& exchange, TokenSource token, const QString& failure) {
    if (--m_underWay == 0) {
        m_patience.stop();
        m_reporter.endWaiting();
    }
    if (m_detail == Detail::EachRequest && exchange) {
        m_reporter.notice(exchangeText(*exchange, token, failure));
    }
}

QString exchangeText(const HttpExchange& exchange, TokenSource token, const QString& failure) {
    QStringList parts{exchange.status == 0 ? QStringLiteral("no answer") : QString::number(exchange.status),
                      durationText(exchange.time), sizeText(exchange.sentBytes) + QStringLiteral(" sent"),
                      sizeText(exchange.receivedBytes) + QStringLiteral(" received"), tokenText(token)};
    if (exchange.redirects > 0) {
        parts += QStringLiteral("redirects: %1").arg(exchange.redirects);
    }
    if (exchange.proxy) {
        parts += QStringLiteral("through the proxy ") + exchange.proxy->name();
    }
    if (exchange.certificate) {
        parts += QStringLiteral("certificate of %1, issued by %2, valid until %3")
                     .arg(exchange.certificate->subject, exchange.certificate->issuer, exchange.certificate->expires);
    }
    if (!failure.isEmpty()) {
        parts += failure;
    }
    return QStringLiteral("> %1 %2: %3")
        .arg(QString::fromUtf8(exchange.method), QString::fromUtf8(exchange.url), parts.join(QStringLiteral(", ")));
}

} // namespace driftwell::dw
