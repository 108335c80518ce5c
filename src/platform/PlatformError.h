#pragma once

#include <QString>

#include <chrono>
#include <exception>
#include <optional>
#include <system_error>

namespace driftwell {

/// What a failure is more precisely, where that makes a difference to whoever looks for a way out.
enum class PlatformErrorReason {
    Unspecified,
    TimedOut,    ///< Unreachable: a limit of time has passed
    Proxy,       ///< Unreachable: the proxy stands in the way
    NotHttps,    ///< Unreachable: who answers does not speak https there
    Certificate, ///< Unreachable: the certificate is not trusted, or those to trust cannot be read
    TooLarge,    ///< Api: more than the platform takes, or than can be packed
    RateLimited, ///< Api: more requests than the platform takes for now
    NoPrevious,  ///< Api: the site has no version before the live one
    Folder,      ///< Api: the folder cannot be packed as it is
    EmptyFolder, ///< Api: the folder has nothing to publish
    BadFileName, ///< Api: the name of a file cannot be packed
    Git,         ///< of no call to the platform: git failed, in its own words
    NotLinked,   ///< of no call to the platform: the folder is not linked to the site any more
    NoAuthor,    ///< of no call to the platform: it does not say in whose name a linked folder is published
};

/// Where the token of a request comes from.
enum class TokenSource {
    None,        ///< nobody is signed in
    Environment, ///< DW_TOKEN
    Stored,
    Given, ///< to be tried, and not stored yet
};

/// What there is to know of a failure beside what a person reads.
struct PlatformErrorDetails {
    PlatformErrorReason reason = PlatformErrorReason::Unspecified;
    /// The HTTP status of the answer; 0 where there was none.
    int httpStatus = 0;
    /// The platform that was asked, as PlatformConfig::shownHost(); empty where none was.
    QString host = {};
    /// How long the platform asks to wait before the next request (RFC 9110, section 10.2.3).
    std::optional<std::chrono::seconds> retryAfter = {};
    /// The token that was refused, where one was or should have been.
    TokenSource token = TokenSource::None;

    bool operator==(const PlatformErrorDetails&) const = default;
};

/// The failure of a call to the platform. description() is what a person reads.
class PlatformError final : public std::exception {
public:
    enum class Kind {
        /// The platform could not be reached; the text is the system's description of why.
        Unreachable,
        /// The signed-in person is not on the platform's team; the text is the platform's.
        NotTeam,
        /// The platform answered with an error, or not as expected.
        Api,
        /// No platform is configured.
        NoHost,
        /// No token, or one that the platform refuses.
        Unauthenticated,
    };

    [[nodiscard]] static PlatformError unreachable(QString text) { return {Kind::Unreachable, std::move(text)}; }
    [[nodiscard]] static PlatformError notTeam(QString text) { return {Kind::NotTeam, std::move(text)}; }
    [[nodiscard]] static PlatformError api(QString text) { return {Kind::Api, std::move(text)}; }
    /// Api with the reason Folder: nothing was sent.
    [[nodiscard]] static PlatformError ofFolder(QString text);
    [[nodiscard]] static PlatformError noHost();
    [[nodiscard]] static PlatformError unauthenticated();

    /// The same failure with what else there is to know of it.
    [[nodiscard]] PlatformError with(PlatformErrorDetails details) const;
    [[nodiscard]] PlatformError with(PlatformErrorReason reason) const;
    /// The same failure at this host.
    [[nodiscard]] PlatformError at(const QString& host) const;

    /// The same failure of a change that had been sent whole: whether the platform makes it is not known.
    [[nodiscard]] PlatformError withOpenOutcome() const;

    [[nodiscard]] Kind kind() const { return m_kind; }
    /// The platform may have made the change all the same; see SentChange.h.
    [[nodiscard]] bool hasOpenOutcome() const { return m_hasOpenOutcome; }
    [[nodiscard]] const PlatformErrorDetails& details() const { return m_details; }
    [[nodiscard]] const QString& description() const { return m_description; }
    [[nodiscard]] const char* what() const noexcept override { return m_what.constData(); }

private:
    PlatformError(Kind kind, QString description);

    Kind m_kind;
    bool m_hasOpenOutcome = false;
    PlatformErrorDetails m_details;
    QString m_description;
    QByteArray m_what;
};

/// What a person reads of any failure: a PlatformError's description, the system's words for a system error, and for
/// one of which the system's words say too little what can be done about it.
[[nodiscard]] QString describe(const std::exception& failure);
[[nodiscard]] QString describe(const std::error_code& error);

} // namespace driftwell
