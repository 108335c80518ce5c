#pragma once

#include "support/Task.h"
#include "support/TemporaryFolder.h"
#include "support/WorkerPool.h"

#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace driftwell {

/// How the names of such folders begin.
inline constexpr const char* workingFolderPrefix = "dw-deploy-";

/// What is done with the path of the folder.
template <class Result> using WorkInFolder = std::function<Task<Result>(const std::filesystem::path&)>;

/// Makes the folder in which one deployment works, runs the work with its path, and removes it with all it holds when
/// the work has ended, however it ends. Folders that a killed process has left behind are removed too. None of that
/// holds up the calling thread.
template <class Result> Task<Result> inWorkingFolder(WorkInFolder<Result> work) {
    const auto make = [] {
        TemporaryFolder::removeLeftovers(workingFolderPrefix);
        return std::make_unique<TemporaryFolder>(workingFolderPrefix);
    };
    std::unique_ptr<TemporaryFolder> folder = co_await runOnPool(make);

    std::optional<Result> result;
    std::exception_ptr failure;
    try {
        Task<Result> task = work(folder->path());
        result = co_await task;
    } catch (...) {
        failure = std::current_exception();
    }
    auto remove = [folder = std::shared_ptr(std::move(folder))]() mutable {
        folder.reset();
    };
    co_await runOnPool(std::move(remove));
    if (failure) {
        std::rethrow_exception(failure);
    }
    co_return std::move(*result);
}

} // namespace driftwell
