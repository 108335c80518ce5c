#include "apps/sandbox/GzipReader.h"
#include "apps/sandbox/HttpError.h"
#include "tests/apps/sandbox/Archive.h"
#include "tests/support/SampleText.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>

namespace driftwell::sandbox {

namespace {

// What the reader takes from the file, and hands over, at once.
constexpr size_t piece = 256 * 1024;

class SandboxGzip : public testing::Test {
protected:
    [[nodiscard]] std::string packed(const std::string& content) const {
        folder.write("plain", content);
        const std::string plain = (folder.path() / "plain").string();
        EXPECT_EQ(std::system(("/usr/bin/gzip -nkf '" + plain + "'").c_str()), 0);
        return tests::fileContent(plain + ".gz");
    }

    [[nodiscard]] std::string unpacked(const std::string& file, std::uint64_t limit = 100'000'000) const {
        folder.write("packed", file);
        const StopSignal stop;
        GzipReader reader(folder.path() / "packed", limit, stop);
        std::string content;
        for (auto bytes = reader.next(); !bytes.empty(); bytes = reader.next()) {
            content.append(bytes.begin(), bytes.end());
        }
        return content;
    }

    void expectDamaged(const std::string& file) const {
        try {
            static_cast<void>(unpacked(file));
            ADD_FAILURE() << "a file of " << file.size() << " bytes was taken";
        } catch (const HttpError& refused) {
            EXPECT_EQ(refused.status(), 400);
        }
    }

    tests::TestFolder folder;
};

TEST_F(SandboxGzip, contentIsReadWhereverThePiecesEnd) {
    const std::string content = tests::noise(2 * piece);
    const size_t overhead = packed(content).size() - content.size();
    // The end of the data, the sums and the next header all fall on the border between two pieces once.
    for (size_t past = 0; past < 60; ++past) {
        const std::string part = content.substr(0, piece + 30 - overhead - past);
        EXPECT_EQ(unpacked(packed(part)), part) << part.size();
    }
    for (const size_t size : {size_t{0}, size_t{1}, piece - 1, piece, piece + 1, 2 * piece}) {
        const std::string part = content.substr(0, size);
        EXPECT_EQ(unpacked(packed(part)), part) << size;
    }
    const std::string empty(5 * piece, '\0');
    EXPECT_EQ(unpacked(packed(empty)), empty);
}

TEST_F(SandboxGzip, severalMembersAreOneFile) {
    const std::string large = tests::noise(piece);
    EXPECT_EQ(unpacked(packed("a") + packed("") + packed(large) + packed("b")), "a" + large + "b");
}

TEST_F(SandboxGzip, zerosAtTheEndArePadding) {
    EXPECT_EQ(unpacked(packed("text") + std::string(1, '\0')), "text");
    EXPECT_EQ(unpacked(packed("text") + std::string(2 * piece, '\0')), "text");
    expectDamaged(packed("text") + std::string(2 * piece, '\0') + "x");
    expectDamaged(std::string(10, '\0') + packed("text"));
}

TEST_F(SandboxGzip, aFileCutAnywhereIsRefused) {
    const std::string whole = packed("some text, some text and more text");
    for (size_t length = 0; length < whole.size(); ++length) {
        expectDamaged(whole.substr(0, length));
    }
    const std::string large = packed(tests::noise(piece));
    for (size_t missing = 1; missing < 30; ++missing) {
        expectDamaged(large.substr(0, large.size() - missing));
    }
    expectDamaged(packed("first") + whole.substr(0, whole.size() - 1));
}

TEST_F(SandboxGzip, aWrongSumOrLengthIsRefused) {
    const std::string whole = packed("text");
    for (size_t back = 1; back <= 8; ++back) {
        std::string wrong = whole;
        char& byte = wrong.at(wrong.size() - back);
        byte = static_cast<char>(byte ^ 1);
        expectDamaged(wrong);
        expectDamaged(packed("first") + wrong);
    }
}

TEST_F(SandboxGzip, randomDamageNeverPassesForAnotherContent) {
    const std::string content = tests::noise(1000) + std::string(5000, 'x') + tests::noise(1000);
    const std::string whole = packed(content);
    std::minstd_rand random(5);
    for (int round = 0; round < 2000; ++round) {
        std::string wrong = whole;
        wrong[random() % wrong.size()] = static_cast<char>(random() >> 8);
        try {
            // A change of the header's time or system is none of the content.
            EXPECT_EQ(unpacked(wrong), content);
        } catch (const HttpError& refused) {
            EXPECT_EQ(refused.status(), 400);
        }
    }
}

TEST_F(SandboxGzip, theLimitIsOnWhatIsUnpacked) {
    const std::string file = packed(std::string(3 * piece, 'x'));
    EXPECT_EQ(unpacked(file, 3 * piece).size(), 3 * piece);
    EXPECT_THROW(static_cast<void>(unpacked(file, 3 * piece - 1)), HttpError);
}

} // namespace

} // namespace driftwell::sandbox
