#include "apps/dw/Command.h"
#include "apps/dw/PlainHttp.h"

namespace driftwell::dw {

namespace {

struct HostInUse {
    QString host;
    QString origin;
};

const JsonTable<HostInUse>& hostTable() {
    static const auto table = JsonTable<HostInUse>()
                                  .add("host", "the platform in use", &HostInUse::host)
                                  .add("origin", "the same with its scheme", &HostInUse::origin);
    return table;
}

/// A name or password in the address would stand in the session file, in addresses that are printed, and in errors.
void refuseCredentials(const PlatformConfig& config) {
    if (config.shownOrigin() != config.origin()) {
        throw WrongUsage(QStringLiteral("What stands before the “@” would be stored and shown, and signs nobody in: %1")
                             .arg(config.shownOrigin()),
                         QStringLiteral("Leave it out, and sign in: dw login. --force stores it all the same."));
    }
}

/// The failure to get a platform's answer, with the way to choose it in spite of that.
CommandFailure notChosen(const PlatformError& failure, const PlatformConfig& config) {
    CommandFailure result = commandFailure(failure);
    if (failure.kind() == PlatformError::Kind::Api) {
        result.message =
            QStringLiteral("%1 does not answer like a platform: %2").arg(config.shownOrigin(), result.message);
        result.hint = QStringLiteral("Look at the address.");
    } else if (result.hint.isEmpty() && (result.kind == ErrorKind::Unreachable || result.kind == ErrorKind::TimedOut)) {
        result.hint = QStringLiteral("Look at the address and at the network.");
    }
    QString advice = result.advice();
    if (advice.endsWith(u'.')) {
        advice.chop(1);
    }
    result.hint = QStringLiteral("%1; or choose it all the same: dw host %2 --force").arg(advice, config.shownOrigin());
    return result;
}

/// Whether only a platform says so.
bool isAnswerOfPlatform(const PlatformError& refusal) {
    return refusal.kind() == PlatformError::Kind::NotTeam || refusal.kind() == PlatformError::Kind::Unauthenticated;
}

QString textOf(const PlatformError& refusal) {
    if (refusal.kind() == PlatformError::Kind::NotTeam) {
        return QStringLiteral("It answers, and does not have you on its team.");
    }
    if (environmentHasToken()) {
        return QStringLiteral("It answers. Commands sign in there with DW_TOKEN.");
    }
    if (refusal.details().token == TokenSource::Stored) {
        return QStringLiteral(
            "It answers, and does not accept the token that is stored for it. Sign in again: dw login");
    }
    return QStringLiteral("It answers. Sign in: dw login");
}

QString textOf(const std::optional<Identity>& person) {
    return person ? QStringLiteral("It knows you as %1.").arg(identityText(*person))
                  : QStringLiteral("It answers, and has no accounts.");
}

/// Asks the host once, and says who it is that has answered. Throws FailedCommand unless a platform has.
Task<QString> greet(PlatformConfig config, std::shared_ptr<Context> context) {
    std::optional<PlatformError> refusal;
    std::optional<Identity> person;
    try {
        person = co_await context->client->whoAnswers(config, context->stop);
    } catch (const PlatformError& failure) {
        refusal = failure;
    }
    if (refusal && !isAnswerOfPlatform(*refusal)) {
        throw FailedCommand(notChosen(*refusal, config));
    }
    const QString text = refusal ? textOf(*refusal) : textOf(person);
    co_return text;
}

/// As a person or a script can type it again, unless there is a password in it.
QString shown(const QString& host) {
    const PlatformConfig config(host);
    return config.isReadable() ? config.shownOrigin() : config.shownHost();
}

} // namespace

class HostCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("host", "Print the platform in use, or choose another", CommandGroup::Start)
            .argument({"HOST", "The platform, for example sites.example.org", {Candidates::Kind::Hosts}}, m_host)
            .flag({"--force", "", "Choose it without asking whether it answers"}, m_force)
            .json(hostTable)
            .example("dw host", "Print the platform in use")
            .example("dw host sites.example.org", "Use the platform sites.example.org from now on");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const ConfigStore& store = context->client->store();
        if (m_host) {
            co_await choose(QString::fromStdString(*m_host).trimmed(), context);
        }
        const std::optional<QString> inUse = store.resolveHost();
        if (!inUse) {
            requireReadable(store);
            throw PlatformError::noHost();
        }
        if (!m_host) {
            context->reporter.line(shown(*inUse).toStdString());
        }
        context->reporter.object(hostTable(), {PlatformConfig(*inUse).shownHost(), shown(*inUse)});
        co_return ExitCode::Done;
    }

private:
    Task<> choose(QString host, std::shared_ptr<Context> context) const {
        const PlatformConfig config = readableConfig(host);
        QString answer;
        if (!m_force) {
            refuseCredentials(config);
            answer = co_await greet(config, context);
        }
        const ConfigStore& store = context->client->store();
        Reporter& reporter = context->reporter;
        store.saveConfig({{"host", host.toStdString()}});
        reporter.success(QStringLiteral("The platform is %1").arg(config.shownOrigin()));
        if (!answer.isEmpty()) {
            reporter.message(answer);
        }
        if (const std::optional<QString> warning = plainHttpWarning(config)) {
            reporter.noticeOnce(*warning);
        }
        if (store.resolveHost() != host) {
            reporter.message(QStringLiteral("DW_HOST is set and comes first: %1").arg(shown(*store.resolveHost())));
        }
    }

    std::optional<std::string> m_host;
    bool m_force = false;
};

template std::unique_ptr<Command> makeCommand<HostCommand>();

} // namespace driftwell::dw
