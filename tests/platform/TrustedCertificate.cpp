#include "tests/platform/TrustedCertificate.h"

#include <dlfcn.h>

#include <mutex>
#include <string>

namespace driftwell::tests {

namespace {

std::mutex mutex;
std::string trustedFile;

} // namespace

TrustedCertificate::TrustedCertificate(const std::filesystem::path& file) {
    const std::scoped_lock lock(mutex);
    trustedFile = file.string();
}

TrustedCertificate::~TrustedCertificate() {
    const std::scoped_lock lock(mutex);
    trustedFile.clear();
}

} // namespace driftwell::tests

/// Stands before OpenSSL's function of the same name, which libcurl calls with the file of the system's certificates.
extern "C" int X509_STORE_load_file(void* store, const char* file) {
    using namespace driftwell::tests;
    using Load = int (*)(void*, const char*);
    const auto load = reinterpret_cast<Load>(::dlsym(RTLD_NEXT, "X509_STORE_load_file"));
    const std::scoped_lock lock(mutex);
    return load(store, trustedFile.empty() ? file : trustedFile.c_str());
}
