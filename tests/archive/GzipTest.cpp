#include "archive/ArchiveError.h"
#include "archive/GzipReader.h"
#include "archive/GzipWriter.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <random>
#include <system_error>
#include <thread>

namespace driftwell {
namespace {

/// A mixture of what compresses and what does not, also over the borders of the writer's pieces.
std::string mixture(std::size_t size) {
    std::mt19937 random(1);
    std::string bytes;
    bytes.reserve(size);
    while (bytes.size() < size) {
        const std::size_t length = std::min<std::size_t>(size - bytes.size(), 1 + random() % 100'000);
        const auto kind = random() % 3;
        for (std::size_t i = 0; i < length; ++i) {
            bytes += kind == 0 ? static_cast<char>(random()) : kind == 1 ? 'a' : "words of a page "[i % 16];
        }
    }
    return bytes;
}

struct GzipTest : testing::Test {
    UniqueFd open(const std::string& name, int flags = O_RDONLY) const {
        return UniqueFd(checked(::open((folder / name).c_str(), flags | O_CLOEXEC, 0600), "open"));
    }

    std::string compressed(const std::string& plain) const {
        folder.write("plain", plain);
        std::string seen;
        const std::uint64_t written = writeGzip(open("plain").get(), open("packed", O_RDWR | O_CREAT | O_TRUNC).get(),
                                                [&seen](std::string_view bytes) { seen += bytes; });
        EXPECT_TRUE(seen == plain);
        const std::string packed = folder.read("packed");
        EXPECT_EQ(packed.size(), written);
        return packed;
    }

    std::string decompressed(const std::string& packed) const {
        folder.write("read", packed);
        std::string plain;
        readGzip(open("read").get(), [&plain](std::string_view bytes) { plain += bytes; });
        return plain;
    }

    std::string refusalOf(const std::string& packed) const {
        try {
            static_cast<void>(decompressed(packed));
            return "none";
        } catch (const ArchiveError& failure) {
            return failure.what();
        }
    }

    tests::TestFolder folder;
};

TEST_F(GzipTest, WritesWhatTheSystemsProgramReads) {
    constexpr std::size_t piece = 1024 * 1024;
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, piece - 1, piece, piece + 1, 7 * piece, 12 * piece + 4711}) {
        const std::string plain = mixture(size);
        const std::string packed = compressed(plain);
        folder.write("a.gz", packed);
        ASSERT_EQ(
            std::system(
                ("/usr/bin/gzip -dc '" + (folder / "a.gz").string() + "' >'" + (folder / "a").string() + "'").c_str()),
            0)
            << size;
        EXPECT_TRUE(folder.read("a") == plain) << size;
        EXPECT_TRUE(decompressed(packed) == plain) << size;
    }
}

TEST_F(GzipTest, WritesOneMemberWithoutNameAndTime) {
    const std::string packed = compressed("content");
    EXPECT_EQ(packed.substr(0, 10), std::string("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10));
}

TEST_F(GzipTest, GrowsWhatDoesNotCompressByHardlyAnything) {
    std::mt19937 random(2);
    std::string noise(5'000'000, '\0');
    for (char& byte : noise) {
        byte = static_cast<char>(random());
    }
    EXPECT_LT(compressed(noise).size(), noise.size() + noise.size() / 1000);
}

TEST_F(GzipTest, CompressesAlmostAsMuchAsTheSystemsProgram) {
    const std::string plain = mixture(6'000'000);
    const std::size_t ours = compressed(plain).size();
    ASSERT_EQ(std::system(("/usr/bin/gzip -nkf '" + (folder / "plain").string() + "'").c_str()), 0);
    EXPECT_LT(ours, folder.read("plain.gz").size() * 103 / 100);
}

TEST_F(GzipTest, ReadsFromAPipeWhateverPiecesComeThroughIt) {
    int ends[2] = {-1, -1};
    checked(::pipe2(ends, O_CLOEXEC), "pipe");
    const UniqueFd reader(ends[0]);
    UniqueFd writer(ends[1]);
    const std::string plain = mixture(2'000'000);
    std::thread other([&] {
        for (std::size_t at = 0; at < plain.size();) {
            const ssize_t written =
                ::write(writer.get(), plain.data() + at, std::min<std::size_t>(977, plain.size() - at));
            at += static_cast<std::size_t>(checked(written, "write"));
        }
        writer.reset();
    });
    writeGzip(reader.get(), open("packed", O_RDWR | O_CREAT).get(), [](std::string_view) {});
    other.join();
    EXPECT_TRUE(decompressed(folder.read("packed")) == plain);
}

TEST_F(GzipTest, FailsWhereItCannotWrite) {
    folder.write("plain", mixture(5'000'000));
    const UniqueFd full(checked(::open("/dev/full", O_WRONLY | O_CLOEXEC), "open"));
    EXPECT_THROW(writeGzip(open("plain").get(), full.get(), [](std::string_view) {}), std::system_error);
}

TEST_F(GzipTest, FailsWhereItCannotRead) {
    const UniqueFd directory(checked(::open("/", O_RDONLY | O_CLOEXEC), "open"));
    EXPECT_THROW(writeGzip(directory.get(), open("packed", O_RDWR | O_CREAT).get(), [](std::string_view) {}),
                 std::system_error);
}

TEST_F(GzipTest, EndsWithWhatTheOneWhoLooksOnThrows) {
    folder.write("plain", mixture(5'000'000));
    EXPECT_THROW(writeGzip(open("plain").get(), open("packed", O_RDWR | O_CREAT).get(),
                           [](std::string_view) { throw ArchiveError("enough"); }),
                 ArchiveError);
}

TEST_F(GzipTest, ReadsWhatTheSystemsProgramWrites) {
    const std::string plain = mixture(3'000'000);
    folder.write("plain", plain);
    ASSERT_EQ(std::system(("/usr/bin/gzip -kf '" + (folder / "plain").string() + "'").c_str()), 0);
    EXPECT_TRUE(decompressed(folder.read("plain.gz")) == plain);
}

TEST_F(GzipTest, RefusesToReadWhatIsCutShortDamagedOrFollowed) {
    const std::string packed = compressed(mixture(300'000));
    for (const std::size_t size : {std::size_t{0}, std::size_t{5}, std::size_t{10}, packed.size() / 2,
                                   packed.size() - 9, packed.size() - 8, packed.size() - 4, packed.size() - 1}) {
        EXPECT_EQ(refusalOf(packed.substr(0, size)), "the compressed archive is damaged or cut short") << size;
    }
    std::string otherSum = packed;
    otherSum[packed.size() - 6] = static_cast<char>(otherSum[packed.size() - 6] ^ 1);
    EXPECT_EQ(refusalOf(otherSum), "the compressed archive is damaged or cut short");
    EXPECT_EQ(refusalOf("no gzip at all"), "the compressed archive is damaged or cut short");
    EXPECT_EQ(refusalOf(packed + "x"), "something follows the compressed archive");
    EXPECT_EQ(refusalOf(packed + packed), "something follows the compressed archive");
}

} // namespace
} // namespace driftwell
