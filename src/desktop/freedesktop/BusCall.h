#pragma once

#include <QDBusConnection>
#include <QDBusMessage>

#include <chrono>
#include <functional>

class QObject;

namespace driftwell {

/// Calls a method of another program and gives the reply to `done`, always later, from the event loop, and only while
/// `context` lives. The reply is of type ErrorMessage when the call failed, when nobody answered within `timeout`, and
/// when there is no bus at all.
void callOnBus(const QDBusConnection& bus, const QDBusMessage& call, std::chrono::milliseconds timeout,
               QObject* context, std::function<void(const QDBusMessage& reply)> done);

} // namespace driftwell
