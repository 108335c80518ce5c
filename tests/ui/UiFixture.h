#pragma once

#include "tests/core/ModelFixture.h"
#include "tests/QtPrinters.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace driftwell::tests {

/// A model brought to a state of the connection by a platform that really answers so. The introduction was gone through
/// before.
class UiFixture : public ModelFixture {
protected:
    using Kind = ConnectionStatus::Kind;

    UiFixture();

    /// What the platform says to a person who is not on the team.
    static constexpr const char* notTeamText = "Ask an administrator to add you to the team.";

    /// The model in the state, from whatever state it is in. On a local platform, but SignedOut on a remote one, and
    /// NoHost on none.
    AppState& become(Kind kind);

    /// The same on a platform that has accounts.
    AppState& becomeOnRemote(Kind kind);

    /// The site was published from this folder, whatever platform is connected to from now on.
    void rememberFolder(const char* site, const std::filesystem::path& folder);

    /// Connected to a platform that holds these sites.
    AppState& connectedWithRecords(const std::vector<Json>& sites);
    AppState& connectedWith(const std::vector<std::string>& names);

    /// What the model says the host is: the platform's address without its scheme.
    [[nodiscard]] QString host() const;

    /// A folder with one file of five bytes.
    [[nodiscard]] std::filesystem::path siteFolder(const std::string& name) const;

    /// The open deployment of such a folder, after its figures have been counted.
    std::shared_ptr<DeployFlow> openDeployment(const std::string& folderName);

    /// Lets a running or future deployment be answered so.
    void answerDeploy(const Json& response);

private:
    AppState& settleAs(Kind kind);
    void saveFolders() const;

    std::map<QString, std::filesystem::path> m_folders;
};

/// All kinds of status.
inline constexpr std::array allKinds{ConnectionStatus::Kind::Unreachable, ConnectionStatus::Kind::NotTeam,
                                     ConnectionStatus::Kind::NoHost,      ConnectionStatus::Kind::Connecting,
                                     ConnectionStatus::Kind::Connected,   ConnectionStatus::Kind::SignedOut};

} // namespace driftwell::tests
