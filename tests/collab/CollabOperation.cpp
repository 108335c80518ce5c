// A program of the tests that does one operation on a folder and prints how it ended. Its gits are faulty ones
// (FaultyGit.cpp); where "application" is to be killed, that is this program.
//
// collab_operation OPERATION ORIGIN SITE FOLDER

#include "collab/CollabEngine.h"
#include "tests/Await.h"

#include <QCoreApplication>

#include <unistd.h>

#include <array>
#include <iostream>
#include <map>
#include <string>

namespace {

using namespace driftwell;
using Outcome = CollabEngine::SyncOutcome;
using tests::await;

std::string told(const Outcome& outcome) {
    constexpr std::array<const char*, 4> kinds{"published", "updated", "conflict", "failed: "};
    return kinds.at(static_cast<std::size_t>(outcome.kind)) + outcome.text.toStdString();
}

std::string told(const std::optional<QString>& failure) {
    return failure ? "failed: " + failure->toStdString() : "done";
}

std::string operate(const std::string& operation, const Git::Access& access, const QString& site,
                    const std::filesystem::path& folder) {
    Identity identity;
    identity.name = QStringLiteral("Ada");
    identity.email = QStringLiteral("ada@example.org");
    if (operation == "deploy") {
        return told(await(CollabEngine::deploy(folder, access, identity, {})));
    }
    if (operation == "update") {
        return told(await(CollabEngine::update(folder, access, identity, {})));
    }
    if (operation == "take-mine" || operation == "take-theirs") {
        const auto side = operation == "take-mine" ? CollabEngine::Side::Ours : CollabEngine::Side::Theirs;
        return told(await(CollabEngine::resolveTaking(side, folder, access, identity, {})));
    }
    if (operation == "complete-merge") {
        return told(await(CollabEngine::completeMerge(folder, identity, {})));
    }
    if (operation == "link") {
        return told(await(CollabEngine::link(site, folder, access, {})));
    }
    if (operation == "clone") {
        return told(await(CollabEngine::clone(site, folder, access, {})));
    }
    throw std::runtime_error("no such operation: " + operation);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    qputenv("LD_PRELOAD", FAULTY_GIT);
    if (qgetenv("FAULTY_GIT_KILLS") == "application") {
        qputenv("FAULTY_GIT_KILLS", QByteArray::number(::getpid()));
    }
    const Git::Access access{PlatformConfig(arguments.at(2)), QStringLiteral("a-token")};
    std::cout << operate(arguments.at(1).toStdString(), access, arguments.at(3), arguments.at(4).toStdString());
    return 0;
}
