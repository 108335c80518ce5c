#pragma once

namespace driftwell::tests {

/// While it lives, the system says of every socket of this process that it has the port 0.
class PortlessSockets {
public:
    PortlessSockets();
    ~PortlessSockets();
    PortlessSockets(const PortlessSockets&) = delete;
    PortlessSockets& operator=(const PortlessSockets&) = delete;
};

} // namespace driftwell::tests
