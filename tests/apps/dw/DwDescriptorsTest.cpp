#include "tests/apps/dw/DwFixture.h"

#include <QByteArray>

namespace driftwell::tests {

class DwDescriptors : public DwFixture, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Few, DwDescriptors, testing::Range(3, 25));

TEST_P(DwDescriptors, EndAListWithAnAnswerOrAnError) {
#if defined(__SANITIZE_ADDRESS__)
    if (GetParam() == 4) {
        GTEST_SKIP() << "with one descriptor the sanitizer takes every object for one of another type";
    }
#endif
    // Nobody listens there, so that with enough of them it is this error.
    useHost("http://127.0.0.1:1");
    setVariable("DW_TOKEN", "t");
    // The sanitizer looks at the types of objects through a pipe, which it cannot open either.
    const std::filesystem::path unseen = folder("sanitizer", {{"types", "vptr_check:*\n"}}) / "types";
    setVariable("UBSAN_OPTIONS", qgetenv("UBSAN_OPTIONS").toStdString() + ":suppressions=" + unseen.string());
    Invocation invocation = dw({"list"});
    invocation.command = {"/bin/sh", "-c", "ulimit -n " + std::to_string(GetParam()) + " && exec \"$0\" list",
                          DRIFTWELL_DW};
    const Ending ending = run(invocation);
    EXPECT_GT(ending.exitCode, 0);
    EXPECT_LT(ending.exitCode, 128) << "a signal ended it";
    EXPECT_THAT(ending.error, testing::AnyOf(testing::HasSubstr("Too many open files"),
                                             testing::HasSubstr("error while loading shared libraries"),
                                             testing::HasSubstr("Connection refused")));
}

} // namespace driftwell::tests
