#pragma once

#include "support/Cancellation.h"
#include "support/Task.h"

#include <QObject>
#include <QPointer>

#include <type_traits>
#include <utility>

namespace driftwell {

/// The object that a coroutine works for went while the coroutine waited. Whoever catches it touches nothing of that
/// object; as a Cancelled it ends the coroutine without a word.
class OwnerGone final : public Cancelled {};

/// Awaits a request on behalf of an object, and gives its result or what it threw, provided that the object is still
/// there; otherwise it throws OwnerGone, whatever the request came to. So a member coroutine that awaits nothing
/// without this may go on using `this`:
///
///     const Identity identity = co_await whileAlive(this, m_client.me(config, stop));
///     m_identity = identity;
template <class T> Task<T> whileAlive(QPointer<const QObject> owner, Task<T> request) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(request);
        } else {
            T result = co_await std::move(request);
            if (owner) {
                co_return result;
            }
        }
    } catch (...) {
        if (owner) {
            throw;
        }
    }
    if (!owner) {
        throw OwnerGone();
    }
}

template <class T> Task<T> whileAlive(const QObject* owner, Task<T> request) {
    return whileAlive(QPointer<const QObject>(owner), std::move(request));
}

} // namespace driftwell
