#include "fuzz/Require.h"
#include "platform/ConfigStore.h"
#include "platform/JsonObjectText.h"
#include "platform/JsonReader.h"
#include "support/TemporaryFolder.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

namespace driftwell {
namespace {

using Json = nlohmann::json;

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::optional<JsonObjectText> objectIn(std::string_view text) {
    try {
        return JsonObjectText(text);
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// Files that were kept would become too many.
void removeKept(const ConfigStore& store) {
    for (const std::filesystem::path& kept : store.takeKeptFiles()) {
        std::filesystem::remove(kept);
    }
}

void requireKept(const ConfigStore& store, std::string_view before) {
    const std::vector<std::filesystem::path> kept = store.takeKeptFiles();
    fuzz::require(kept.size() == 1 && contentOf(kept.front()) == before, "a file that cannot be understood is kept");
    std::filesystem::remove(kept.front());
}

void saveAndCheck(const ConfigStore& store, std::string_view before, const std::string& key, const Json& value) {
    store.saveConfig({{key, value}});
    const std::string after = contentOf(store.file());
    fuzz::require(after.ends_with("}\n") && !after.ends_with("\n\n"), "the file ends in one line feed");
    const std::optional<JsonObjectText> saved = objectIn(after);
    fuzz::require(saved.has_value(), "the file is an object");
    const std::optional<JsonObjectText> old = objectIn(before);
    if (old) {
        old->forEach([&](const std::string& name, const std::string& text) {
            fuzz::require(name == key || formattedJson(saved->find(name)) == formattedJson(text),
                          "every other key is as it was");
        });
    } else if (!isBlank(before)) {
        requireKept(store, before);
    }
    // Somebody else's opinion of what is a JSON object, and of what is in it.
    Json known = Json::parse(before, nullptr, false);
    if (known.is_object() && old) {
        known[key] = value;
        fuzz::require(Json::parse(after).dump() == known.dump(), "what the file says is what it said");
    }
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
    removeKept(store);
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
