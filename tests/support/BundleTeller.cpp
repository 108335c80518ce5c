#include "support/Bundle.h"

#include <cstdio>

/// A program for BundleTest to run from a bundle: prints what it finds there.
int main() {
    const driftwell::Bundle bundle = driftwell::Bundle::ofRunningProgram();
    std::printf("%s\n%s",
                bundle.string(QStringLiteral("DWConfigDir")).value_or(QStringLiteral("none")).toUtf8().constData(),
                bundle.helpers().c_str());
    return 0;
}
