#pragma once

#include "platform/HttpSession.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "tests/Await.h"

#include <string>
#include <system_error>

namespace driftwell::tests {

/// One line for what an exchange ended with: "200 BODY", "200 too large", "Unreachable: TEXT", "Cancelled".
inline std::string textOf(const HttpResponse& response) {
    return std::to_string(response.status) + ' ' +
           (response.tooLarge ? std::string("too large") : response.body.toStdString());
}

inline std::string textOf(const PlatformError& error) {
    const auto kind = [&error] {
        switch (error.kind()) {
        case PlatformError::Kind::Unreachable:
            return "Unreachable: ";
        case PlatformError::Kind::NotTeam:
            return "NotTeam: ";
        case PlatformError::Kind::Api:
            return "Api: ";
        case PlatformError::Kind::NoHost:
            return "NoHost: ";
        case PlatformError::Kind::Unauthenticated:
            return "Unauthenticated: ";
        }
        return "";
    };
    return kind() + error.description().toStdString();
}

/// Awaits the task and gives the line of its failure, or what `describe` makes of its result.
template <class T, class Describe> std::string outcomeOf(Task<T> task, Describe describe) {
    try {
        return describe(await(std::move(task)));
    } catch (const PlatformError& error) {
        return textOf(error);
    } catch (const Cancelled&) {
        return "Cancelled";
    } catch (const std::system_error& error) {
        return std::string("system error: ") + error.what();
    }
}

inline std::string outcomeOf(Task<HttpResponse> task) {
    return outcomeOf(std::move(task), [](const HttpResponse& response) { return textOf(response); });
}

} // namespace driftwell::tests
