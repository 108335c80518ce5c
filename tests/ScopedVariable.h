#pragma once

#include <QByteArray>

#include <optional>

namespace driftwell::tests {

/// Sets an environment variable, or unsets it, until the end of the scope.
class ScopedVariable {
public:
    ScopedVariable(const char* name, std::optional<QByteArray> value) : m_name(name) {
        if (qEnvironmentVariableIsSet(name)) {
            m_before = qgetenv(name);
        }
        apply(value);
    }
    ~ScopedVariable() { apply(m_before); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void apply(const std::optional<QByteArray>& value) {
        if (value) {
            qputenv(m_name, *value);
        } else {
            qunsetenv(m_name);
        }
    }

    const char* m_name;
    std::optional<QByteArray> m_before;
};

} // namespace driftwell::tests
