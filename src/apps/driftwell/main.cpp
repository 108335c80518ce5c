#include "apps/driftwell/Application.h"
#include "apps/driftwell/Invocation.h"
#include "core/AppState.h"
#include "core/UserDefaults.h"
#include "desktop/freedesktop/FreedesktopServices.h"
#include "desktop/freedesktop/LaunchRequest.h"
#include "desktop/freedesktop/SingleInstance.h"
#include "platform/PlatformClient.h"
#include "support/Bundle.h"
#include "support/Interruption.h"

#include <QApplication>
#include <QFont>
#include <QFontDatabase>
#include <QIcon>
#include <QImageReader>

#include <signal.h>

#include <cstdio>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

using namespace driftwell;

namespace {

constexpr int failed = 1;
constexpr int wrongUsage = 2;

void describeApplication() {
    QApplication::setApplicationName(QStringLiteral("driftwell"));
    QApplication::setApplicationDisplayName(QStringLiteral("Driftwell"));
    QApplication::setApplicationVersion(QStringLiteral(DRIFTWELL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("driftwell"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/driftwell/icons/driftwell.svg")));
    // It lives in the tray.
    QApplication::setQuitOnLastWindowClosed(false);
    const QString family = QStringLiteral("Inter");
    if (QFontDatabase::hasFamily(family)) {
        QApplication::setFont(QFont(family));
    }
}

/// The drawings are a part of the program, but what reads them is a plugin of Qt's for icons and another for pictures.
void requirePictures() {
    for (const char* name : {"Logo", "LogoGlyph", "LogoGlyphSolid", "driftwell"}) {
        const QString file = QStringLiteral(":/driftwell/icons/%1.svg").arg(QLatin1StringView(name));
        constexpr QSize anySize(16, 16);
        if (!QImageReader(file).canRead() || QIcon(file).pixmap(anySize).isNull()) {
            throw std::runtime_error("The application’s pictures cannot be shown: Qt’s plugins for SVG are missing. On "
                                     "Debian they are in the package libqt6svg6.");
        }
    }
}

/// An invocation that is answered at once has its exit code.
std::optional<int> answer(const Invocation& invocation) {
    switch (invocation.action) {
    case Invocation::Action::Version:
        std::puts(DRIFTWELL_VERSION);
        return 0;
    case Invocation::Action::Help:
        std::fputs(Invocation::usage().c_str(), stdout);
        return 0;
    case Invocation::Action::WrongUsage:
        std::fprintf(stderr, "driftwell: %s\nRun driftwell --help for how it is used.\n", invocation.problem.c_str());
        return wrongUsage;
    default:
        return std::nullopt;
    }
}

Invocation invocationOf(const std::vector<std::string>& arguments, const QString& urlScheme) {
    return Invocation::parse(arguments, std::filesystem::current_path(), urlScheme.toStdString());
}

int run(int argc, char** argv, std::unique_ptr<PlatformClient> client, SingleInstance& instance,
        const Invocation& invocation) {
    const QApplication qt(argc, argv);
    requirePictures();
    describeApplication();
    FreedesktopServices desktop;
    const QString urlScheme = client->urlScheme();
    auto defaults = openUserDefaults(client->store().file());
    AppState state(std::move(client), desktop, std::move(defaults));
    Application application(state, desktop);
    QObject::connect(&instance, &SingleInstance::activated, &application,
                     [&](const std::vector<std::string>& arguments, const std::string& activationToken) {
                         application.handle(invocationOf(arguments, urlScheme),
                                            QByteArray::fromStdString(activationToken));
                     });
    instance.listen();
    const Interruption interruption;
    const std::stop_callback end(interruption.token(), [&application] { application.quit(); });
    application.begin(invocation);
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    // A write to a connection that nobody reads any more fails instead of ending the process.
    ::signal(SIGPIPE, SIG_IGN);
    const Bundle bundle = Bundle::ofRunningProgram();
    auto client = std::make_unique<PlatformClient>(bundle, ConfigStore(ConfigStore::configFile(bundle)));
    const LaunchRequest request = LaunchRequest::ofThisProcess(argc, argv);
    const Invocation invocation = invocationOf(request.arguments, client->urlScheme());
    if (const std::optional<int> code = answer(invocation)) {
        return *code;
    }
    try {
        SingleInstance instance(client->store().file().parent_path());
        if (instance.claim(request) == SingleInstance::Role::HandedOver) {
            return 0;
        }
        return run(argc, argv, std::move(client), instance, invocation);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "driftwell: %s\n", failure.what());
        return failed;
    }
}
