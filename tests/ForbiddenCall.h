#pragma once

#include "support/SystemError.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace driftwell::tests {

/// From now on, and for good, a system call fails with this error in the calling thread and in all that it starts: as
/// in a container that does not allow it, or on a kernel that does not know it (seccomp(2)). For the child of a test.
inline void forbidCall(long number, int error) {
    std::array<sock_filter, 4> program{
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{program.size(), program.data()};
    checked(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "no_new_privs");
    checked(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), "seccomp");
}

} // namespace driftwell::tests
