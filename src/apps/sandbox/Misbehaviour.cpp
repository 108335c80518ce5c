#include "apps/sandbox/Misbehaviour.h"

namespace driftwell::sandbox {

const Switches* Misbehaviour::next(std::string_view path) {
    if (!path.starts_with(m_switches.pathPrefix)) {
        return nullptr;
    }
    const std::lock_guard lock(m_mutex);
    if (m_left == 0U) {
        return nullptr;
    }
    if (m_left) {
        --*m_left;
    }
    return &m_switches;
}

} // namespace driftwell::sandbox
