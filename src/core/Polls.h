#pragma once

#include <functional>

class QObject;

namespace driftwell {

class Connection;

/// Calls `then` after each refresh that has succeeded and each change of the status, of which an outage has one a
/// second, as long as both objects live: what tells how long ago something was grows old, and needs no timer of its
/// own.
void atEachPoll(Connection& connection, QObject* context, const std::function<void()>& then);

} // namespace driftwell
