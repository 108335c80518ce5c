#pragma once

#include "desktop/LoginItem.h"

#include <list>
#include <system_error>
#include <vector>

namespace driftwell::tests {

/// A login item that is nothing but a value, and can refuse to be changed.
class FakeLoginItem final : public LoginItem {
public:
    [[nodiscard]] bool isEnabled() const override { return m_enabled; }

    void setEnabled(bool enabled) override {
        m_changes.push_back(enabled);
        if (m_refuses) {
            throw std::system_error(EACCES, std::generic_category());
        }
        m_enabled = enabled;
        tell();
    }

    [[nodiscard]] std::unique_ptr<QObject> watch(std::function<void()> changed) override {
        auto watching = std::make_unique<QObject>();
        m_watchers.push_back(std::move(changed));
        const auto place = std::prev(m_watchers.end());
        QObject::connect(watching.get(), &QObject::destroyed, [this, place] { m_watchers.erase(place); });
        return watching;
    }

    /// Every change that was asked for, refused ones too.
    [[nodiscard]] const std::vector<bool>& changes() const { return m_changes; }
    [[nodiscard]] bool isWatched() const { return !m_watchers.empty(); }

    void refuse() { m_refuses = true; }

    void changeElsewhere(bool enabled) {
        m_enabled = enabled;
        tell();
    }

private:
    void tell() {
        for (const std::function<void()>& changed : m_watchers) {
            changed();
        }
    }

    bool m_enabled = false;
    bool m_refuses = false;
    std::vector<bool> m_changes;
    std::list<std::function<void()>> m_watchers;
};

} // namespace driftwell::tests
