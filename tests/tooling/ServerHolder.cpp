// An application that runs the server of a checkout, for tests that kill it. Prints each phase as a number.

#include "tooling/LocalServerController.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv) {
    using driftwell::LocalServerController;
    const QCoreApplication qt(argc, argv);
    LocalServerController server;
    QObject::connect(&server, &LocalServerController::phaseChanged, &server, [&server] {
        std::printf("%d\n", static_cast<int>(server.phase().kind));
        std::fflush(stdout);
    });
    server.startIfNeeded(argv[1], QString::fromLocal8Bit(argv[2]));
    return QCoreApplication::exec();
}
