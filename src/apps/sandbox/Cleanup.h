#pragma once

#include <functional>
#include <utility>

namespace driftwell::sandbox {

/// Does something on every way out of a block, unless it is dismissed before. The action throws nothing.
class Cleanup {
public:
    explicit Cleanup(std::function<void()> action) : m_action(std::move(action)) {}
    ~Cleanup() {
        if (m_action) {
            m_action();
        }
    }
    Cleanup(const Cleanup&) = delete;
    Cleanup& operator=(const Cleanup&) = delete;
    void dismiss() { m_action = nullptr; }

private:
    std::function<void()> m_action;
};

} // namespace driftwell::sandbox
