#include "apps/dw/ChosenName.h"

#include "apps/dw/KnownSites.h"
#include "apps/dw/LineInput.h"
#include "apps/dw/Texts.h"
#include "deploy/SiteName.h"

#include <algorithm>
#include <array>

namespace driftwell::dw {

namespace {

const QString hint = QStringLiteral("Choose a name: dw deploy FOLDER --name NAME");

/// Where tools put a site that they have made. It says nothing of whose site it is.
bool isMadeByTools(const QString& folderName) {
    constexpr std::array<const char*, 11> names{"dist",    "build",  "out",  "output", "public", "target",
                                                "release", "htdocs", "html", "_site",  "www"};
    return std::any_of(names.begin(), names.end(), [&folderName](const char* name) {
        return folderName.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    });
}

QString requireValid(const QString& name) {
    if (const SiteName::Problem problem = SiteName::problem(name); problem != SiteName::Problem::None) {
        throw WrongUsage(problemText(name, problem), hint);
    }
    return name;
}

QString nameOf(const std::filesystem::path& typed, const std::filesystem::path& folder) {
    const std::string called = SiteName::folderName(typed, folder);
    const QString folderName = called.empty() ? QStringLiteral("/") : QString::fromStdString(called);
    if (isMadeByTools(folderName)) {
        throw WrongUsage(QStringLiteral("“%1” does not say which site the folder is").arg(folderName), hint);
    }
    const QString name = SiteName::derive(folderName);
    if (const SiteName::Problem problem = SiteName::problem(name); problem != SiteName::Problem::None) {
        throw WrongUsage(name.isEmpty() ? QStringLiteral("No site name can be made from “%1”").arg(folderName)
                                        : problemText(name, problem),
                         hint);
    }
    return name;
}

Task<QString> askForOne(QStringList sites, std::shared_ptr<Context> context) {
    const QString sentence = oneMustBeNamed(QStringLiteral("The folder"), sites);
    if (!context->reporter.canAsk()) {
        throw WrongUsage(sentence, hint);
    }
    context->reporter.question(sentence, QStringLiteral("Publish it as: "));
    const std::optional<std::string> typed = co_await readLine(context->stop);
    if (typed) {
        context->reporter.answered();
    }
    const QString answer = QString::fromStdString(typed.value_or(std::string())).trimmed();
    if (!sites.contains(answer)) {
        throw FailedCommand({ErrorKind::NotConfirmed, QStringLiteral("Not confirmed. Nothing was sent.")});
    }
    co_return answer;
}

} // namespace

Task<QString> chosenName(std::optional<std::string> typed, std::optional<QString> linked, TypedFolder folder,
                         std::shared_ptr<Context> context) {
    if (typed) {
        QString name = requireValid(QString::fromStdString(*typed));
        co_return name;
    }
    if (linked) {
        QString name = *linked;
        co_return name;
    }
    QStringList before = publishedAs(folder.folder, context->client->store()).sites;
    before.removeIf([](const QString& site) { return !SiteName::isValid(site); });
    if (before.size() > 1) {
        Task<QString> asking = askForOne(before, context);
        QString name = co_await asking;
        co_return name;
    }
    QString name = before.isEmpty() ? nameOf(folder.typed, folder.folder) : before.front();
    co_return name;
}

} // namespace driftwell::dw
