#include "support/ProcessEnvironment.h"

#include <unistd.h>

namespace driftwell {

ProcessEnvironment ProcessEnvironment::inherited() {
    ProcessEnvironment environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos) {
            environment.set(text.substr(0, equals), text.substr(equals + 1));
        }
    }
    return environment;
}

void ProcessEnvironment::set(std::string_view name, std::string_view value) {
    m_variables.insert_or_assign(std::string(name), std::string(value));
}

void ProcessEnvironment::unset(std::string_view name) {
    if (const auto found = m_variables.find(name); found != m_variables.end()) {
        m_variables.erase(found);
    }
}

void ProcessEnvironment::unsetBeginningWith(std::string_view prefix) {
    std::erase_if(m_variables, [prefix](const auto& variable) { return variable.first.starts_with(prefix); });
}

std::vector<std::string> ProcessEnvironment::entries() const {
    std::vector<std::string> entries;
    entries.reserve(m_variables.size());
    for (const auto& [name, value] : m_variables) {
        entries.push_back(name + "=" + value);
    }
    return entries;
}

} // namespace driftwell
