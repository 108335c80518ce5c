#pragma once

#include <optional>
#include <string>
#include <vector>

namespace driftwell {

/// The certificates that a server's own has to lead back to, as the person chooses them in the environment: DW_CA_FILE,
/// or else SSL_CERT_FILE and SSL_CERT_DIR, as OpenSSL reads them (SSL_CTX_load_verify_locations(3)). What is chosen
/// takes the place of the system's own.
struct TrustedCertificates {
    /// A file of certificates in PEM form; empty where there is none.
    std::string file;
    /// A folder of them, or several with colons between; empty where there is none.
    std::string folder;
    /// The variable that names the file.
    const char* fileVariable = "";

    [[nodiscard]] static TrustedCertificates ofEnvironment();

    /// Whether anything takes the place of the system's.
    [[nodiscard]] bool areChosen() const { return !file.empty() || !folder.empty(); }

    /// The folders, each by itself.
    [[nodiscard]] std::vector<std::string> folders() const;

    /// For a program that takes one folder alone; absent where none of them can be read.
    [[nodiscard]] std::optional<std::string> firstReadableFolder() const;

    /// Throws PlatformError::unreachable, which names the variable, when the file cannot be read, or, without a file,
    /// none of the folders can. As in OpenSSL, the others do where one of several is not there.
    void requireReadable() const;
};

} // namespace driftwell
