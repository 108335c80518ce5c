#include "desktop/FileUrl.h"

#include <gtest/gtest.h>

#include <string>

namespace driftwell::tests {

namespace {

std::optional<std::filesystem::path> pathOf(const char* address) {
    return pathOfFileUrl(QUrl::fromEncoded(address));
}

std::string addressOf(const std::filesystem::path& path) {
    return fileUrl(path).toEncoded().toStdString();
}

} // namespace

TEST(FileUrl, EncodesWhatIsNotPlain) {
    EXPECT_EQ(addressOf("/home/ada/site"), "file:///home/ada/site");
    EXPECT_EQ(addressOf("/a b/50%/#1?/c:d"), "file:///a%20b/50%25/%231%3F/c%3Ad");
    EXPECT_EQ(addressOf("/caf\u00e9"), "file:///caf%C3%A9");
    EXPECT_EQ(addressOf("/"), "file:///");
}

TEST(FileUrl, CountsARelativePathFromTheWorkingFolder) {
    EXPECT_EQ(fileUrl("site"), fileUrl(std::filesystem::current_path() / "site"));
}

TEST(FileUrl, EncodesANameThatIsNotText) {
    EXPECT_EQ(addressOf("/caf\xE9"), "file:///caf%E9");
}

TEST(FileUrl, KeepsEveryByteOfAPath) {
    std::string name;
    for (int byte = 1; byte < 256; ++byte) {
        name += static_cast<char>(byte);
    }
    const std::filesystem::path path = "/folder/" + name;
    EXPECT_EQ(pathOfFileUrl(fileUrl(path)), path);
    EXPECT_EQ(pathOfFileUrl(QUrl::fromEncoded(fileUrl(path).toEncoded())), path);
}

TEST(FileUrl, NamesAPathOnThisMachine) {
    EXPECT_EQ(pathOf("file:///a%20b"), "/a b");
    EXPECT_EQ(pathOf("file://localhost/a"), "/a");
    EXPECT_EQ(pathOf("file:/a"), "/a");
    EXPECT_EQ(pathOfFileUrl(QUrl::fromLocalFile(QStringLiteral("/caf\u00e9 50%"))), "/caf\u00e9 50%");
}

TEST(FileUrl, NamesNoPathWhenItIsAnotherKindOfAddress) {
    EXPECT_FALSE(pathOf("https://sites.example.org/a"));
    EXPECT_FALSE(pathOf("file://server.example.org/share/a"));
    EXPECT_FALSE(pathOf("file:"));
    EXPECT_FALSE(pathOf("file:a/b"));
    EXPECT_FALSE(pathOf("file:///a%00b"));
    EXPECT_FALSE(pathOf("/a"));
    EXPECT_FALSE(pathOf(""));
}

} // namespace driftwell::tests
