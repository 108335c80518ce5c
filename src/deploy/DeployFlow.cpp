#include "deploy/DeployFlow.h"

namespace driftwell {

DeployFlow::DeployFlow(std::filesystem::path folder, const QString& suggestedName) : m_folder(std::move(folder)) {
    m_siteName = suggestedName;
}

std::optional<std::int64_t> DeployFlow::fileCount() const {
    const std::optional<Figures> figures = m_figures;
    return figures ? std::optional(figures->files) : std::nullopt;
}

std::optional<std::int64_t> DeployFlow::byteCount() const {
    const std::optional<Figures> figures = m_figures;
    return figures ? std::optional(figures->bytes) : std::nullopt;
}

void DeployFlow::retry() {
    if (std::holds_alternative<Failure>(m_phase.value())) {
        m_stage = DeployStage::packing();
        forgetOutcome();
        m_phase = Confirm{};
    }
}

void DeployFlow::showFigures(std::int64_t fileCount, std::int64_t byteCount) {
    m_figures = Figures{fileCount, byteCount};
}

void DeployFlow::begin() {
    m_progress = DeployProgress();
    m_speed.clear();
    m_startedAt = now();
    m_phase = Deploying{};
}

void DeployFlow::report(DeployStage stage) {
    if (isDeploying()) {
        const bool begins = stage.step == DeployStage::Step::Uploading && m_stage.value().step != stage.step;
        if (begins) {
            m_speed.clear();
            m_speed.add(0, TransferSpeed::Clock::now());
        }
        m_stage = shownStage(stage);
    }
}

void DeployFlow::report(const DeployProgress& progress) {
    if (isDeploying()) {
        if (progress.sentBytes > 0) {
            m_speed.add(progress.sentBytes, TransferSpeed::Clock::now());
        }
        m_progress = progress;
    }
}

void DeployFlow::showOutcome(std::optional<Timestamp> attempt, const ChangeOutcome& outcome) {
    if (std::holds_alternative<Failure>(m_phase.value()) && m_startedAt == attempt) {
        // In this order, so that what is told of it is told once.
        m_isOutcomeAsked = false;
        m_outcome = outcome;
    }
}

void DeployFlow::forgetOutcome() {
    m_isOutcomeAsked = false;
    m_outcome = std::nullopt;
}

void DeployFlow::succeed(const DeployResponse& response, std::optional<std::int64_t> sentFiles) {
    m_finishedAt = now();
    m_phase = Success{response, sentFiles};
}

void DeployFlow::succeedByMerge(const DeployResponse& response) {
    m_finishedAt = now();
    m_phase = Success{response, std::nullopt, true};
}

void DeployFlow::fail(const std::exception& failure) {
    const auto* platform = dynamic_cast<const PlatformError*>(&failure);
    m_phase = Failure{describe(failure), platform ? std::optional(platform->kind()) : std::nullopt,
                      platform ? platform->details() : PlatformErrorDetails()};
}

void DeployFlow::fail(const QString& message, PlatformErrorReason reason) {
    PlatformErrorDetails details;
    details.reason = reason;
    m_phase = Failure{message, std::nullopt, details};
}

} // namespace driftwell
