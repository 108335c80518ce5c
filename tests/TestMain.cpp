#include <QCoreApplication>

#include <gmock/gmock.h>

/// Every test program has one event loop, on which models and coroutines run.
int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
