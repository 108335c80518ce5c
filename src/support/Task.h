#pragma once

#include <QCoroTask>

namespace driftwell {

/// A coroutine's result. It starts at once when it is called and resumes on the thread whose event loop it awaited on.
///
/// Three facts decide how coroutines are written here. A dropped task keeps running to its end, so real work is ended
/// by its stop token, never by dropping the handle. Nothing guards `this` across an await, so a member coroutine either
/// copies what it needs before its first await or checks a QPointer after each. A lambda's captures are gone after its
/// first await, so a coroutine is a function with parameters by value, never a capturing lambda.
template <class T = void> using Task = QCoro::Task<T>;

/// Lets a task run to its end on its own. It handles its own failures: what it throws reaches nobody.
inline void detach([[maybe_unused]] Task<> task) {}

} // namespace driftwell
