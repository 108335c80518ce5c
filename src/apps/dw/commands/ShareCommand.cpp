#include "apps/dw/AccessTexts.h"
#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Rows.h"
#include "core/Invitations.h"

#include <QStringList>

#include <algorithm>

namespace driftwell::dw {

namespace {

using Change = PlatformClient::AccessChange;

const QString helpHint = QStringLiteral("Run dw help share.");

/// What is to be changed.
struct Wishes {
    std::optional<SiteAccessMode> mode;
    /// E-mail addresses, as typed.
    std::vector<std::string> invite;
    std::vector<std::string> remove;
    std::optional<bool> anyoneCanComment;
};

/// What is typed with commas between stands for several addresses, as people write a list of them.
QStringList partsOf(const QString& typed) {
    QStringList parts = typed.split(u',');
    parts.removeIf([](const QString& part) { return part.trimmed().isEmpty(); });
    return parts.isEmpty() ? QStringList(typed) : parts;
}

/// The addresses of an option, each once and as it is invited. Throws WrongUsage for what is none.
QStringList addresses(const std::vector<std::string>& typed) {
    QStringList result;
    for (const std::string& text : typed) {
        for (const QString& part : partsOf(QString::fromStdString(text))) {
            const QString address = invitedAddress(part);
            if (!address.contains(u'@')) {
                throw WrongUsage(QStringLiteral("“%1” is no e-mail address").arg(part), helpHint);
            }
            if (!result.contains(address)) {
                result += address;
            }
        }
    }
    return result;
}

/// What the options --invite and --remove ask for.
struct Invitations {
    explicit Invitations(const Wishes& wishes) : invite(addresses(wishes.invite)), remove(addresses(wishes.remove)) {
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
            throw WrongUsage(QStringLiteral("“%1” is not invited. Nothing was changed.").arg(address),
                             QStringLiteral("dw share SITE shows who is."));
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
Change neededChange(const SiteAccess& before, const Wishes& wishes, const Invitations& invitations) {
    Change change;
    if (wishes.mode && wishes.mode != before.mode) {
        change.mode = wishes.mode;
    }
    if (const QList<QString> emails = invitedAfter(before, invitations); emails != before.emails) {
        change.emails = emails;
    }
    if (wishes.anyoneCanComment && wishes.anyoneCanComment != before.anyoneCanComment.value_or(false)) {
        change.anyoneCanComment = wishes.anyoneCanComment;
    }
    return change;
}

bool asksForChange(const Wishes& wishes) {
    return wishes.mode || !wishes.invite.empty() || !wishes.remove.empty() || wishes.anyoneCanComment;
}

/// A label and a value each.
Rows rowsOf(const SiteInfo& site, const SiteAccess& access) {
    Rows rows({{"label"}, {"value"}});
    rows.add({{"label", "address"}, {"value", site.url.toStdString()}});
    rows.add({{"label", "mode"}, {"value", rawValue(access.mode).toStdString()}});
    if (access.owner) {
        rows.add({{"label", "owner"}, {"value", access.owner->toStdString()}});
    }
    for (const QString& email : access.emails) {
        rows.add({{"label", "invited"}, {"value", email.toStdString()}});
    }
    rows.add({{"label", "comments"}, {"value", access.anyoneCanComment.value_or(false)}});
    return rows;
}

struct SharedSite {
    SiteInfo info;
    SiteAccess access;
    QStringList warnings;
};

const JsonTable<SharedSite>& shareTable() {
    static const auto table =
        JsonTable<SharedSite>()
            .add("site", "the site", [](const SharedSite& site) { return site.info.name; })
            .add("url", "its address", [](const SharedSite& site) { return site.info.url; })
            .add("mode", "who may open it", [](const SharedSite& site) { return rawValue(site.access.mode); })
            .words(accessModeWords())
            .add("invited", "the e-mail addresses of the people invited",
                 [](const SharedSite& site) { return site.access.emails; })
            .add("owner", "the e-mail address of its owner", [](const SharedSite& site) { return site.access.owner; })
            .add("anyoneCanComment", "whether everyone with access can comment, not just the team",
                 [](const SharedSite& site) { return site.access.anyoneCanComment.value_or(false); })
            .add("whoCanOpen", "who can open it now, as a sentence",
                 [](const SharedSite& site) { return whoCanOpen(site.access); })
            .add("warnings", "what may not be meant so", &SharedSite::warnings);
    return table;
}

/// What has come of the wishes that may not be meant so.
QStringList warningsOf(const SharedSite& site, const Invitations& invitations, const Change& change) {
    QStringList warnings;
    const QList<QString>& invited = site.access.emails;
    const bool isRestricted = site.access.mode == SiteAccessMode::Restricted;
    const bool concernsInvited = (change.emails && !invited.isEmpty()) ||
                                 std::any_of(invitations.invite.begin(), invitations.invite.end(),
                                             [&invited](const QString& address) { return invited.contains(address); });
    if (concernsInvited && !isRestricted) {
        warnings += QStringLiteral("Invited people matter once the mode is restricted: dw share %1 --mode restricted")
                        .arg(site.info.name);
    }
    if (change.mode && isRestricted) {
        warnings += QStringLiteral("The rest of the team can no longer open it. To let the team in again: dw share %1 "
                                   "--mode team")
                        .arg(site.info.name);
    }
    return warnings;
}

bool changesSomething(const Change& change) {
    return change.mode || change.emails || change.anyoneCanComment;
}

/// The sentences about what was changed.
void report(Reporter& reporter, const SharedSite& site, const Change& change) {
    if (changesSomething(change)) {
        reporter.success(QStringLiteral("Changed how %1 is shared").arg(site.info.name));
    } else {
        reporter.message(QStringLiteral("That is how it is already. Nothing was changed."));
    }
    reporter.message(whoCanOpen(site.access));
    for (const QString& warning : site.warnings) {
        reporter.message(warning);
    }
}

Task<SiteAccess> changed(std::shared_ptr<Context> context, PlatformConfig config, SiteInfo site, Change change) {
    if (!changesSomething(change)) {
        co_return site.access.value_or(SiteAccess::teamDefault());
    }
    const SiteAccessResponse answer = co_await context->client->setAccess(config, site.name, change, context->stop);
    co_return SiteAccess{answer.mode, answer.emails, answer.owner, answer.anyoneCanComment};
}

SiteAccessMode modeNamed(const std::string& word) {
    return *std::find_if(siteAccessModes.begin(), siteAccessModes.end(),
                         [&word](SiteAccessMode mode) { return rawValue(mode).toStdString() == word; });
}

} // namespace

class ShareCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("share", "Print who may open a site, or change that", CommandGroup::Share)
            .site(m_site)
            .choice({"--mode",
                     "MODE",
                     "Who may open it: team, restricted (invited people), public",
                     {Candidates::Kind::Words, accessModeWords()}},
                    [this](const std::string& word) { m_wishes.mode = modeNamed(word); })
            .arguments({"EMAIL", "Somebody to invite, as with --invite"}, m_others)
            .repeatable({"--invite", "EMAIL", "Invite somebody, once for each"}, m_wishes.invite)
            .repeatable({"--remove", "EMAIL", "Take an invitation back, once for each", {Candidates::Kind::People}},
                        m_wishes.remove)
            .choice({"--comments",
                     "on|off",
                     "Whether everyone with access can comment, not just the team",
                     {Candidates::Kind::Words, {"on", "off"}}},
                    [this](const std::string& word) { m_wishes.anyoneCanComment = word == "on"; })
            .json(shareTable)
            .example("dw share launch", "Print who may open the site launch")
            .example("dw share launch ann@example.org",
                     "Invite Ann, which matters where invited people alone may open it")
            .example("dw share launch --mode restricted --invite ann@example.org",
                     "Let invited people alone open it, and invite Ann");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        Wishes wishes = m_wishes;
        wishes.invite.insert(wishes.invite.end(), m_others.begin(), m_others.end());
        const Invitations invitations(wishes);
        const SiteOnPlatform site = co_await requireNamedSite(context, m_site);
        const SiteAccess before = site.info.access.value_or(SiteAccess::teamDefault());
        const Change change = neededChange(before, wishes, invitations);
        const SiteAccess access = co_await changed(context, site.config, site.info, change);
        SharedSite shared{site.info, access, {}};
        shared.warnings = warningsOf(shared, invitations, change);
        context->reporter.object(shareTable(), shared);
        rowsOf(site.info, access).print(context->reporter);
        if (asksForChange(wishes)) {
            report(context->reporter, shared, change);
        }
        co_return ExitCode::Done;
    }

private:
    std::string m_site;
    Wishes m_wishes;
    /// Who is named behind the site, without an option.
    std::vector<std::string> m_others;
};

template std::unique_ptr<Command> makeCommand<ShareCommand>();

} // namespace driftwell::dw
