#pragma once

#include <QString>

#include <utility>

namespace driftwell {

/// The connection as a whole.
///
/// | status | meaning | what comes next |
/// |---|---|---|
/// | Unreachable | the last attempt failed | another in `retryIn` seconds |
/// | NotTeam | the platform refuses this person, in the words of `text` | another attempt every 5 seconds |
/// | NoHost | no platform is configured | Connection::setHost() |
/// | Connecting | a connection is being made or awaited | the refresh under way decides |
/// | Connected | the last refresh succeeded | another every 10 seconds |
/// | SignedOut | no token, or one that the platform refuses | another attempt every 5 seconds |
struct ConnectionStatus {
    enum class Kind { Unreachable, NotTeam, NoHost, Connecting, Connected, SignedOut };

    Kind kind = Kind::Connecting;
    /// Seconds, for Unreachable.
    int retryIn = 0;
    /// For NotTeam.
    QString text;

    [[nodiscard]] static ConnectionStatus unreachable(int retryIn) { return {Kind::Unreachable, retryIn, {}}; }
    [[nodiscard]] static ConnectionStatus notTeam(QString text) { return {Kind::NotTeam, 0, std::move(text)}; }
    [[nodiscard]] static ConnectionStatus noHost() { return {Kind::NoHost, 0, {}}; }
    [[nodiscard]] static ConnectionStatus connecting() { return {Kind::Connecting, 0, {}}; }
    [[nodiscard]] static ConnectionStatus connected() { return {Kind::Connected, 0, {}}; }
    [[nodiscard]] static ConnectionStatus signedOut() { return {Kind::SignedOut, 0, {}}; }

    bool operator==(const ConnectionStatus&) const = default;
};

} // namespace driftwell
