#pragma once

#include <filesystem>

namespace driftwell::tests {

/// While it lives, the certificate in this file is the one that this program trusts, in place of the system's own.
class TrustedCertificate {
public:
    explicit TrustedCertificate(const std::filesystem::path& file);
    ~TrustedCertificate();
    TrustedCertificate(const TrustedCertificate&) = delete;
    TrustedCertificate& operator=(const TrustedCertificate&) = delete;
};

} // namespace driftwell::tests
