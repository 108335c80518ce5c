#include "fuzz/Require.h"
#include "platform/BoundedJson.h"
#include "platform/ConfigStore.h"
#include "support/TemporaryFolder.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace driftwell {
namespace {

using Json = nlohmann::json;

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What the file must hold after `key` was set in it.
std::string expected(std::string_view before, const char* key, const Json& value) {
    std::optional<Json> json = parseBoundedJson(before);
    Json object = json && json->is_object() ? std::move(*json) : Json::object();
    object[key] = value;
    return object.dump();
}

void saveAndCheck(const ConfigStore& store, std::string_view before, const char* key, const Json& value) {
    store.saveConfig({{key, value}});
    const std::string after = contentOf(store.file());
    fuzz::require(after.ends_with("}\n") && !after.ends_with("\n\n"), "the file ends in one line feed");
    const Json saved = Json::parse(after, nullptr, false);
    fuzz::require(saved.is_object(), "the file is an object");
    fuzz::require(saved.dump() == expected(before, key, value), "every other key is as it was");
}

} // namespace
} // namespace driftwell

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace driftwell;

    static const TemporaryFolder folder("driftwell-fuzz-");
    static const ConfigStore store(folder.path() / "config.json");
    static const PlatformConfig platform(QStringLiteral("https://here.example"));

    const std::string_view before(reinterpret_cast<const char*>(data), size);
    std::ofstream(store.file(), std::ios::binary).write(before.data(), static_cast<std::streamsize>(size));

    (void)store.resolveHost();
    (void)store.localRepoPath();
    (void)store.token(platform);
    (void)store.folderMap();
    fuzz::require(contentOf(store.file()) == before, "reading changes nothing");

    saveAndCheck(store, before, "new/key", {1.5, "/"});
    const std::string saved = contentOf(store.file());
    saveAndCheck(store, saved, "new/key", {1.5, "/"});
    fuzz::require(contentOf(store.file()) == saved, "saving the same again gives the same bytes");

    store.saveToken(QStringLiteral("token/😀"), platform);
    fuzz::require(store.token(platform) == QStringLiteral("token/😀"), "a token that was saved is there");
    store.saveFolder(QStringLiteral("site"), "/folder");
    fuzz::require(store.folderMap().at(QStringLiteral("site")) == "/folder", "a folder that was saved is there");
    store.signOut(platform);
    fuzz::require(!store.token(platform), "there is no token after signing out");
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Memory where there is some to write to, and nothing from outside the file.
    if (::access("/dev/shm", W_OK) == 0) {
        ::setenv("TMPDIR", "/dev/shm", 1);
    }
    ::unsetenv("DW_HOST");
    ::unsetenv("DW_TOKEN");
    return 0;
}
