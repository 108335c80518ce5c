#include "support/ChildProcess.h"
#include "tests/Await.h"

#include <QCoreApplication>

#include <unistd.h>

#include <fstream>
#include <string>
#include <system_error>

/// A program that runs a child, for tests of what becomes of the child when something happens to the program.
namespace driftwell {
namespace {

/// Writes its own process id to one file and its child's to another, and waits for the child.
int hold(const char* ownFile, const char* childFile) {
    std::ofstream(ownFile) << ::getpid() << std::endl;
    const ProcessEnvironment environment = ProcessEnvironment::inherited();
    tests::await(
        ChildProcess::run({"/bin/sh", {"-c", "echo $$ > $1; exec sleep 1000", "sh", childFile}, environment}, {}));
    return 0;
}

/// Runs a child, and one that cannot start, with the descriptors 0, 1 and 2 closed, and reports on both in a file.
int runWithoutStreams(const char* reportFile) {
    std::ofstream report(reportFile);
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    const ProcessEnvironment environment = ProcessEnvironment::inherited();
    const ChildProcess::Result result =
        tests::await(ChildProcess::run({"/bin/sh", {"-c", "cat; echo out; echo err >&2"}, environment}, {}));
    report << "status " << result.status << '\n' << result.standardOutput << result.standardError;
    try {
        tests::await(ChildProcess::run({"/no-such-program", {}, environment}, {}));
    } catch (const std::system_error& failure) {
        report << "missing: " << failure.code().message() << '\n';
    }
    return 0;
}

} // namespace
} // namespace driftwell

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "hold" && argc == 4) {
        return driftwell::hold(argv[2], argv[3]);
    }
    if (what == "without-streams" && argc == 3) {
        return driftwell::runWithoutStreams(argv[2]);
    }
    return 2;
}
