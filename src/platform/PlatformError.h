#pragma once

#include <QString>

#include <exception>
#include <system_error>

namespace driftwell {

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
    [[nodiscard]] static PlatformError noHost();
    [[nodiscard]] static PlatformError unauthenticated();

    /// The same failure of a change that had been sent whole: whether the platform makes it is not known.
    [[nodiscard]] PlatformError withOpenOutcome() const;

    [[nodiscard]] Kind kind() const { return m_kind; }
    /// The platform may have made the change all the same; see SentChange.h.
    [[nodiscard]] bool hasOpenOutcome() const { return m_hasOpenOutcome; }
    [[nodiscard]] const QString& description() const { return m_description; }
    [[nodiscard]] const char* what() const noexcept override { return m_what.constData(); }

private:
    PlatformError(Kind kind, QString description);

    Kind m_kind;
    bool m_hasOpenOutcome = false;
    QString m_description;
    QByteArray m_what;
};

/// What a person reads of any failure: a PlatformError's description, the system's words for a system error, and for
/// one of which the system's words say too little what can be done about it.
[[nodiscard]] QString describe(const std::exception& failure);
[[nodiscard]] QString describe(const std::error_code& error);

} // namespace driftwell
