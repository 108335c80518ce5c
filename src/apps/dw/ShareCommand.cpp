#include "apps/dw/ShareCommand.h"

#include "apps/dw/JsonValues.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Texts.h"
#include "core/Invitations.h"

#include <QStringList>

#include <algorithm>

namespace driftwell::dw {

namespace {

using Change = PlatformClient::AccessChange;

const QString helpHint = QStringLiteral("Run dw help share.");

/// The addresses of an option, each once and as it is invited. Throws WrongUsage for what is none.
QStringList addresses(const std::vector<std::string>& typed) {
    QStringList result;
    for (const std::string& text : typed) {
        const QString address = invitedAddress(QString::fromStdString(text));
        if (!address.contains(u'@')) {
            throw WrongUsage(QStringLiteral("“%1” is no e-mail address").arg(QString::fromStdString(text)), helpHint);
        }
        if (!result.contains(address)) {
            result += address;
        }
    }
    return result;
}

/// What the options --invite and --remove ask for.
struct Invitations {
    explicit Invitations(const ShareArguments& arguments)
        : invite(addresses(arguments.invite)), remove(addresses(arguments.remove)) {
        for (const QString& address : invite) {
            if (remove.contains(address)) {
                throw WrongUsage(QStringLiteral("“%1” is both to be invited and removed").arg(address), helpHint);
            }
        }
    }

    QStringList invite;
    QStringList remove;
};

/// The people invited once the invitations hold. Throws WrongUsage for an address to be removed that is not there, for
/// whoever mistyped it would think that somebody can no longer open the site.
QList<QString> invitedAfter(const SiteAccess& before, const Invitations& invitations) {
    SiteAccess after = before;
    for (const QString& address : invitations.remove) {
        if (after.emails.removeIf([&address](const QString& email) { return invitedAddress(email) == address; }) == 0) {
            throw WrongUsage(QStringLiteral("“%1” is not invited. Nothing was changed.").arg(address));
        }
    }
    for (const QString& address : invitations.invite) {
        if (canInvite(address, after)) {
            after.emails.append(address);
        }
    }
    return after.emails;
}

/// What differs from how it is.
Change neededChange(const SiteAccess& before, const ShareArguments& arguments, const Invitations& invitations) {
    Change change;
    if (arguments.mode && arguments.mode != before.mode) {
        change.mode = arguments.mode;
    }
    if (const QList<QString> emails = invitedAfter(before, invitations); emails != before.emails) {
        change.emails = emails;
    }
    if (arguments.anyoneCanComment && arguments.anyoneCanComment != before.anyoneCanComment.value_or(false)) {
        change.anyoneCanComment = arguments.anyoneCanComment;
    }
    return change;
}

bool asksForChange(const ShareArguments& arguments) {
    return arguments.mode || !arguments.invite.empty() || !arguments.remove.empty() || arguments.anyoneCanComment;
}

/// A label and a value each.
QList<QStringList> rows(const SiteInfo& site, const SiteAccess& access) {
    QList<QStringList> rows{{QStringLiteral("address"), site.url}, {QStringLiteral("mode"), rawValue(access.mode)}};
    if (access.owner) {
        rows.append({QStringLiteral("owner"), *access.owner});
    }
    for (const QString& email : access.emails) {
        rows.append({QStringLiteral("invited"), email});
    }
    const bool anyoneCanComment = access.anyoneCanComment.value_or(false);
    rows.append({QStringLiteral("comments"), anyoneCanComment ? QStringLiteral("on") : QStringLiteral("off")});
    return rows;
}

QString aligned(const QStringList& row) {
    constexpr qsizetype labelWidth = 10;
    return row[0].leftJustified(labelWidth) + row[1];
}

void print(Reporter& reporter, const SiteInfo& site, const SiteAccess& access) {
    Json emails = Json::array();
    for (const QString& email : access.emails) {
        emails.push_back(email.toStdString());
    }
    reporter.object({{"ok", true},
                     {"site", site.name.toStdString()},
                     {"url", site.url.toStdString()},
                     {"mode", rawValue(access.mode).toStdString()},
                     {"emails", emails},
                     {"owner", orNull(access.owner)},
                     {"anyoneCanComment", access.anyoneCanComment.value_or(false)}});
    for (const QStringList& row : rows(site, access)) {
        reporter.line((reporter.outputIsTerminal() ? aligned(row) : fieldsText(row)).toStdString());
    }
}

/// The sentences about what was changed.
void report(Reporter& reporter, const SiteInfo& site, const Change& change, const SiteAccess& access) {
    if (!change.mode && !change.emails && !change.anyoneCanComment) {
        reporter.message(QStringLiteral("That is how it is already. Nothing was changed."));
        return;
    }
    reporter.success(QStringLiteral("Changed how %1 is shared").arg(site.name));
    if (change.emails && !access.emails.isEmpty() && access.mode != SiteAccessMode::Restricted) {
        reporter.message(
            QStringLiteral("Invited people matter once the mode is restricted: dw share %1 --mode restricted")
                .arg(site.name));
    }
}

Task<SiteAccess> changed(std::shared_ptr<Context> context, PlatformConfig config, SiteInfo site, Change change) {
    if (!change.mode && !change.emails && !change.anyoneCanComment) {
        co_return site.access.value_or(SiteAccess::teamDefault());
    }
    const SiteAccessResponse answer = co_await context->client->setAccess(config, site.name, change, context->stop);
    co_return SiteAccess{answer.mode, answer.emails, answer.owner, answer.anyoneCanComment};
}

} // namespace

Task<ExitCode> share(Arguments arguments, std::shared_ptr<Context> context) {
    const Invitations invitations(arguments.share);
    const PlatformConfig config = requireSignIn(*context->client);
    const SiteInfo site = co_await requireSite(context, config, QString::fromStdString(*arguments.site));
    const SiteAccess before = site.access.value_or(SiteAccess::teamDefault());
    const Change change = neededChange(before, arguments.share, invitations);
    const SiteAccess access = co_await changed(context, config, site, change);
    print(context->reporter, site, access);
    if (asksForChange(arguments.share)) {
        report(context->reporter, site, change, access);
    }
    co_return ExitCode::Done;
}

} // namespace driftwell::dw
