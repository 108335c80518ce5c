#include "core/RunningWork.h"

#include "core/AppState.h"
#include "core/Collaboration.h"
#include "core/Deployments.h"
#include "core/SiteOperations.h"

namespace driftwell {

namespace {

QString deployingSentence(const QString& site, const DeployStage& stage) {
    switch (stage.step) {
    case DeployStage::Step::Packing:
        return QStringLiteral("“%1” is being packed.").arg(site);
    case DeployStage::Step::Uploading:
        return QStringLiteral("“%1” is being uploaded, %2% so far.")
            .arg(site, QString::number(static_cast<int>(stage.fraction * 100)));
    case DeployStage::Step::Publishing:
        return QStringLiteral("“%1” is being published; the platform may do so all the same.").arg(site);
    }
    Q_UNREACHABLE();
}

void append(QStringList& sentences, const QSet<QString>& sites, const QString& sentence) {
    QStringList names(sites.begin(), sites.end());
    names.sort();
    for (const QString& name : std::as_const(names)) {
        sentences.append(sentence.arg(name));
    }
}

} // namespace

RunningWork RunningWork::of(const AppState& state) {
    RunningWork work{.deployingSite = state.deployments().deployingSiteName(),
                     .rolledBack = state.siteOperations().rollbacksInFlight(),
                     .deleted = state.siteOperations().deletesInFlight(),
                     .synced = state.collaboration().collabBusy()};
    if (work.deployingSite) {
        work.stage = state.deployments().deployFlow()->stage();
        // One that is published by merge is both.
        work.synced.remove(*work.deployingSite);
    }
    return work;
}

bool RunningWork::isEmpty() const {
    return !deployingSite && rolledBack.isEmpty() && deleted.isEmpty() && synced.isEmpty();
}

QStringList RunningWork::sentences() const {
    QStringList sentences;
    if (deployingSite) {
        sentences.append(deployingSentence(*deployingSite, stage));
    }
    append(sentences, rolledBack, QStringLiteral("“%1” is being rolled back."));
    append(sentences, deleted, QStringLiteral("“%1” is being deleted."));
    append(sentences, synced, QStringLiteral("The folder of “%1” is being synced."));
    return sentences;
}

} // namespace driftwell
