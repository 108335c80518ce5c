#include "tests/platform/PortlessSockets.h"

#include <dlfcn.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>

namespace driftwell::tests {

namespace {

std::atomic<bool> portless = false;

} // namespace

PortlessSockets::PortlessSockets() {
    portless = true;
}

PortlessSockets::~PortlessSockets() {
    portless = false;
}

} // namespace driftwell::tests

/// Stands before the C library's function of this name (getsockname(2)).
extern "C" int getsockname(int socket, sockaddr* address, socklen_t* length) noexcept {
    using Function = int(int, sockaddr*, socklen_t*);
    static auto* const original = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, "getsockname"));
    const int result = original(socket, address, length);
    if (result == 0 && driftwell::tests::portless && address->sa_family == AF_INET) {
        reinterpret_cast<sockaddr_in*>(address)->sin_port = 0;
    }
    return result;
}
