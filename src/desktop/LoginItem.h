#pragma once

#include <QObject>

#include <functional>
#include <memory>

namespace driftwell {

/// Whether the desktop starts the application when the person logs in. What the desktop says is the only truth: nothing
/// of it is remembered here. An interface, so that the tests can stand in for a desktop. Used on the main thread; the
/// owner outlives every watch.
class LoginItem {
public:
    LoginItem() = default;
    virtual ~LoginItem() = default;
    LoginItem(const LoginItem&) = delete;
    LoginItem& operator=(const LoginItem&) = delete;

    [[nodiscard]] virtual bool isEnabled() const = 0;

    /// Throws std::system_error when the desktop cannot be told. isEnabled() then says what holds.
    virtual void setEnabled(bool enabled) = 0;

    /// Calls `changed` whenever something, perhaps another program, has changed what isEnabled() says, until the
    /// returned object goes.
    [[nodiscard]] virtual std::unique_ptr<QObject> watch(std::function<void()> changed) = 0;
};

} // namespace driftwell
