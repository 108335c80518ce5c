#include <QCoreApplication>

#include <gmock/gmock.h>

#include <csignal>

/// Every test program has one event loop, on which models and coroutines run.
int main(int argc, char** argv) {
    // A shell that starts a program in the background switches this off for it and its children.
    std::signal(SIGINT, SIG_DFL);
    QCoreApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
