#include "apps/sandbox/Secrets.h"

#include <openssl/evp.h>
#include <sys/random.h>

#include <array>
#include <cerrno>
#include <span>
#include <stdexcept>
#include <system_error>

namespace driftwell::sandbox {

namespace {

std::string hexadecimal(std::span<const unsigned char> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

template <size_t Size> std::string randomHexadecimal() {
    std::array<unsigned char, Size> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::system_error(errno, std::generic_category(), "getrandom");
    }
    return hexadecimal(bytes);
}

} // namespace

std::string freshSecret() {
    return randomHexadecimal<32>();
}

std::string freshId() {
    return randomHexadecimal<12>();
}

std::string digest(std::string_view secret) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    if (EVP_Digest(secret.data(), secret.size(), bytes.data(), &size, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 is not available");
    }
    return hexadecimal(std::span(bytes).first(size));
}

} // namespace driftwell::sandbox
