#include "tests/project/DocumentPaths.h"

#include "tests/project/Repository.h"

#include <gmock/gmock.h>

namespace {

using project::missingPaths;
using project::pathsIn;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(DocumentPaths, AllExistInThisRepository) {
    for (const char* document : {"README.md", "ARCHITECTURE.md"}) {
        const std::string text = project::readFile(document).text;
        EXPECT_THAT(missingPaths(text, project::exists), IsEmpty()) << document;
    }
}

TEST(DocumentPaths, AreReadFromWordsInBackticks) {
    EXPECT_THAT(pathsIn("The scan (`src/deploy/FolderScan.h`, tested in `tests/deploy/`) starts in `CMakeLists.txt`."),
                ElementsAre("src/deploy/FolderScan.h", "tests/deploy/", "CMakeLists.txt"));
    EXPECT_THAT(pathsIn("Run `./dev run examples/site`."), ElementsAre("dev", "examples/site"));
}

TEST(DocumentPaths, AreReadFromLinks) {
    EXPECT_THAT(pathsIn("See [the rooms](ARCHITECTURE.md#rooms) and [figures](docs/benchmarks.md)."),
                ElementsAre("ARCHITECTURE.md", "docs/benchmarks.md"));
    EXPECT_THAT(pathsIn("[`dev`](missing.txt)"), ElementsAre("dev", "missing.txt"));
}

TEST(DocumentPaths, AreNotAddressesAndNotPlacesInTheDocument) {
    EXPECT_THAT(pathsIn("[Qt](https://doc.qt.io/a/b.html) [mail](mailto:team@example.com) [below](#rooms)"), IsEmpty());
}

TEST(DocumentPaths, DoNotBeginOutsideTheRepository) {
    EXPECT_THAT(pathsIn("`~/.config/dw/config.json` `/usr/bin/git` `Driftwell/Contents/Helpers` `FolderScan.h` "
                        "`NAME.driftwell.localhost` `build/release/bin/dw` `devices`"),
                IsEmpty());
}

TEST(DocumentPaths, AreNotPatterns) {
    EXPECT_THAT(pathsIn("`src/*.h` `tests/{core,ui}` `src/NAME/x.h` `src/…` `fuzz/corpus/NAME` `docs/<page>`"),
                IsEmpty());
}

TEST(DocumentPaths, AreNotReadFromBlocksOfCode) {
    EXPECT_THAT(pathsIn("```\n`src/a.h`\n```\nthen `src/b.h`\n"), ElementsAre("src/b.h"));
}

TEST(DocumentPaths, AreMissedWhereTheyDoNotExist) {
    const auto exists = [](std::string_view path) {
        return path == "src/core";
    };
    EXPECT_THAT(missingPaths("`src/core`, `src/gone.h` and [a link](docs/gone.md)", exists),
                ElementsAre("src/gone.h", "docs/gone.md"));
}

} // namespace
