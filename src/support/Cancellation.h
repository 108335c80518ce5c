#pragma once

#include <exception>
#include <functional>
#include <stop_token>

namespace driftwell {

/// The outcome of work that was told to stop. It is never shown to a person as a failure.
class Cancelled : public std::exception {
public:
    [[nodiscard]] const char* what() const noexcept override;
};

/// Throws Cancelled if a stop was requested.
void throwIfCancelled(const std::stop_token& stop);

/// A stop source of its own that also stops when a parent does. Work started within a scope gets the scope's token, so
/// that the scope can end it alone or with everything around it.
class StopScope {
public:
    explicit StopScope(std::stop_token parent, std::stop_token otherParent = {});
    StopScope(const StopScope&) = delete;
    StopScope& operator=(const StopScope&) = delete;

    [[nodiscard]] std::stop_token token() const { return m_own.get_token(); }
    void requestStop() { m_own.request_stop(); }

private:
    std::stop_source m_own;
    std::stop_callback<std::function<void()>> m_link;
    std::stop_callback<std::function<void()>> m_otherLink;
};

} // namespace driftwell
