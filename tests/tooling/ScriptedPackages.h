#pragma once

#include "desktop/PackageUpdates.h"
#include "support/Sleep.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace driftwell::tests {

/// A package manager that does as it is told.
class ScriptedPackages final : public PackageUpdates {
public:
    [[nodiscard]] bool isReady() const override { return ready; }
    Task<> refresh(std::stop_token stop) override { return step("refresh", std::move(stop)); }
    Task<QList<PackageUpdate>> updates(std::stop_token stop) override {
        co_await step("updates", std::move(stop));
        // A copy: a member that is returned as it is is moved away (QCoro 0.8).
        co_return QList<PackageUpdate>(available);
    }
    Task<> download(QList<PackageUpdate> updates, std::stop_token stop) override {
        return step("download " + namesOf(updates), std::move(stop));
    }
    Task<Installation> install(QList<PackageUpdate> updates, Consent consent, std::stop_token stop) override {
        const bool mayAsk = consent == Consent::MayBeAsked;
        co_await step((mayAsk ? "ask and install " : "install ") + namesOf(updates), std::move(stop));
        co_return mayAsk || !needsPassword ? Installation::Done : Installation::NeedsConsent;
    }

    void setReady(bool isReady) {
        ready = isReady;
        Q_EMIT readyChanged();
    }

    bool ready = true;
    bool needsPassword = false;
    QList<PackageUpdate> available;
    /// The step that fails, by its first word.
    std::string failing;
    /// The step that waits until it is stopped.
    std::string hanging;
    std::vector<std::string> steps;

private:
    static std::string namesOf(const QList<PackageUpdate>& updates) {
        std::string names;
        for (const PackageUpdate& update : updates) {
            names += (names.empty() ? "" : ",") + update.name.toStdString();
        }
        return names;
    }

    Task<> step(std::string name, std::stop_token stop) {
        steps.push_back(name);
        if (!hanging.empty() && name.starts_with(hanging)) {
            co_await sleepFor(std::chrono::hours(1), std::move(stop));
        }
        if (!failing.empty() && name.starts_with(failing)) {
            throw std::runtime_error("no network");
        }
    }
};

} // namespace driftwell::tests
