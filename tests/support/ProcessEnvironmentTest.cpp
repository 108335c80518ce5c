#include "support/ProcessEnvironment.h"

#include "tests/ScopedVariable.h"

#include <gmock/gmock.h>

namespace driftwell {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using tests::ScopedVariable;

TEST(ProcessEnvironmentTest, IsEmptyUnlessToldOtherwise) {
    EXPECT_THAT(ProcessEnvironment().entries(), IsEmpty());
}

TEST(ProcessEnvironmentTest, GivesEveryVariableOnceWithItsLastValue) {
    ProcessEnvironment environment;
    environment.set("B", "1");
    environment.set("A", "x=y");
    environment.set("B", "\xE9 2");
    environment.set("EMPTY", "");
    EXPECT_THAT(environment.entries(), ElementsAre("A=x=y", "B=\xE9 2", "EMPTY="));
}

TEST(ProcessEnvironmentTest, ForgetsAVariable) {
    ProcessEnvironment environment;
    environment.set("A", "1");
    environment.set("B", "2");
    environment.unset("A");
    environment.unset("NEVER_SET");
    EXPECT_THAT(environment.entries(), ElementsAre("B=2"));
}

TEST(ProcessEnvironmentTest, UnsetsAllThatBeginInTheSameWay) {
    ProcessEnvironment environment;
    for (const char* const name : {"GIT", "GIT_", "GIT_DIR", "MY_GIT_DIR"}) {
        environment.set(name, "1");
    }
    environment.unsetBeginningWith("GIT_");
    EXPECT_THAT(environment.entries(), ElementsAre("GIT=1", "MY_GIT_DIR=1"));
}

TEST(ProcessEnvironmentTest, InheritsWhatTheProgramHasAtThatMoment) {
    const ScopedVariable odd("DRIFTWELL_TEST_ODD", QByteArray("caf\xE9 = \n end"));
    const ScopedVariable gone("DRIFTWELL_TEST_GONE", std::nullopt);
    const ProcessEnvironment environment = ProcessEnvironment::inherited();
    EXPECT_THAT(environment.entries(), Contains("DRIFTWELL_TEST_ODD=caf\xE9 = \n end"));
    EXPECT_THAT(environment.entries(), Not(Contains(StartsWith("DRIFTWELL_TEST_GONE="))));

    const ScopedVariable changed("DRIFTWELL_TEST_ODD", QByteArray("later"));
    EXPECT_THAT(environment.entries(), Contains("DRIFTWELL_TEST_ODD=caf\xE9 = \n end")) << "it is a copy";
}

TEST(ProcessEnvironmentTest, LeavesTheProgramsOwnEnvironmentAlone) {
    const ScopedVariable variable("DRIFTWELL_TEST_OWN", QByteArray("own"));
    ProcessEnvironment environment = ProcessEnvironment::inherited();
    environment.set("DRIFTWELL_TEST_OWN", "child's");
    environment.unset("PATH");
    EXPECT_EQ(qgetenv("DRIFTWELL_TEST_OWN"), "own");
    EXPECT_TRUE(qEnvironmentVariableIsSet("PATH"));
}

} // namespace
} // namespace driftwell
