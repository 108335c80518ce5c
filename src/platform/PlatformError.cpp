#include "platform/PlatformError.h"

namespace driftwell {

PlatformError::PlatformError(Kind kind, QString description)
    : m_kind(kind), m_description(std::move(description)), m_what(m_description.toUtf8()) {}

PlatformError PlatformError::noHost() {
    return {Kind::NoHost, QStringLiteral("No platform host configured")};
}

PlatformError PlatformError::unauthenticated() {
    return {Kind::Unauthenticated, QStringLiteral("Not signed in")};
}

QString describe(const std::exception& failure) {
    if (const auto* platform = dynamic_cast<const PlatformError*>(&failure)) {
        return platform->description();
    }
    return QString::fromUtf8(failure.what());
}

} // namespace driftwell
