#include "platform/PlatformError.h"

namespace driftwell {

namespace {

bool isLackOfDescriptors(const std::error_code& error) {
    return error == std::errc::too_many_files_open || error == std::errc::too_many_files_open_in_system;
}

} // namespace

PlatformError::PlatformError(Kind kind, QString description)
    : m_kind(kind), m_description(std::move(description)), m_what(m_description.toUtf8()) {}

PlatformError PlatformError::ofFolder(QString text) {
    return api(std::move(text)).with(PlatformErrorReason::Folder);
}

PlatformError PlatformError::noHost() {
    return {Kind::NoHost, QStringLiteral("No platform host configured")};
}

PlatformError PlatformError::unauthenticated() {
    return {Kind::Unauthenticated, QStringLiteral("Not signed in")};
}

PlatformError PlatformError::with(PlatformErrorDetails details) const {
    PlatformError error = *this;
    error.m_details = std::move(details);
    return error;
}

PlatformError PlatformError::with(PlatformErrorReason reason) const {
    PlatformError error = *this;
    error.m_details.reason = reason;
    return error;
}

PlatformError PlatformError::at(const QString& host) const {
    PlatformError error = *this;
    error.m_details.host = host;
    return error;
}

PlatformError PlatformError::withOpenOutcome() const {
    PlatformError error = *this;
    error.m_hasOpenOutcome = true;
    return error;
}

QString describe(const std::exception& failure) {
    if (const auto* platform = dynamic_cast<const PlatformError*>(&failure)) {
        return platform->description();
    }
    if (const auto* system = dynamic_cast<const std::system_error*>(&failure);
        system != nullptr && isLackOfDescriptors(system->code())) {
        return describe(system->code());
    }
    return QString::fromUtf8(failure.what());
}

QString describe(const std::error_code& error) {
    const QString words = QString::fromStdString(error.message());
    if (isLackOfDescriptors(error)) {
        return words + QStringLiteral(". Close some programs, or raise the limit of open files (ulimit -n).");
    }
    return words;
}

} // namespace driftwell
