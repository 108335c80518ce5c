#include "bench/FrameTimer.h"

#include "bench/Report.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <utility>

namespace driftwell::bench {

namespace {

constexpr int restMilliseconds = 40;
constexpr int timeoutMilliseconds = 5000;

double cpuMilliseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

std::vector<double> each(const std::vector<FrameCost>& frames, double FrameCost::*figure) {
    std::vector<double> figures;
    for (const FrameCost& frame : frames) {
        figures.push_back(frame.*figure);
    }
    return figures;
}

double nearlyAll(std::vector<double> figures, int percent) {
    std::sort(figures.begin(), figures.end());
    return figures.at(figures.size() * static_cast<std::size_t>(percent) / 100);
}

} // namespace

void FrameTimer::settle() {
    QEventLoop loop;
    QTimer rest;
    rest.setSingleShot(true);
    QObject::connect(&rest, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(&m_window, &QQuickWindow::frameSwapped, &rest, [&rest] { rest.start(); });
    rest.start(restMilliseconds);
    loop.exec();
}

FrameCost FrameTimer::frameAfter(const std::function<void()>& sendEvent) {
    settle();
    QEventLoop loop;
    std::optional<FrameCost> cost;
    QElapsedTimer timer;
    const double cpu = cpuMilliseconds();
    timer.start();
    QObject::connect(&m_window, &QQuickWindow::frameSwapped, &loop, [&] {
        if (!cost) {
            cost = FrameCost{static_cast<double>(timer.nsecsElapsed()) / 1e6, cpuMilliseconds() - cpu};
        }
        loop.quit();
    });
    sendEvent();
    QTimer::singleShot(timeoutMilliseconds, &loop, &QEventLoop::quit);
    if (!cost) {
        loop.exec();
    }
    if (!cost) {
        throw std::runtime_error("no frame came");
    }
    return *cost;
}

std::vector<FrameCost> FrameTimer::framesDuring(const std::function<void()>& start,
                                                const std::function<bool()>& goesOn) {
    settle();
    QEventLoop loop;
    QObject context;
    std::vector<FrameCost> frames;
    QElapsedTimer atWork;
    double worked = 0;
    double cpu = cpuMilliseconds();
    const auto milliseconds = [&atWork] {
        return static_cast<double>(atWork.nsecsElapsed()) / 1e6;
    };
    auto* const dispatcher = QAbstractEventDispatcher::instance();
    QObject::connect(dispatcher, &QAbstractEventDispatcher::awake, &context, [&] { atWork.start(); });
    QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &context, [&] {
        worked += milliseconds();
        atWork.start();
    });
    QTimer timeout;
    timeout.setSingleShot(true);
    QObject::connect(&timeout, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(&m_window, &QQuickWindow::frameSwapped, &context, [&] {
        worked += milliseconds();
        frames.push_back({worked, cpuMilliseconds() - cpu});
        worked = 0;
        cpu = cpuMilliseconds();
        atWork.start();
        timeout.start(timeoutMilliseconds);
        if (!goesOn()) {
            loop.quit();
        }
    });
    atWork.start();
    start();
    timeout.start(timeoutMilliseconds);
    loop.exec();
    if (frames.empty() || goesOn()) {
        throw std::runtime_error("the movement has no frames");
    }
    return frames;
}

double nearlyAll(const std::vector<FrameCost>& frames, int percent) {
    return nearlyAll(each(frames, &FrameCost::wall), percent);
}

std::string describe(const std::vector<FrameCost>& frames, int percent) {
    const auto both = [&frames, percent](double FrameCost::*figure) {
        const std::vector<double> figures = each(frames, figure);
        return fixed(median(figures), 1, "ms, ") + std::to_string(percent) + " % within " +
               fixed(nearlyAll(figures, percent), 1, "ms");
    };
    return both(&FrameCost::wall) + "; CPU " + both(&FrameCost::cpu);
}

} // namespace driftwell::bench
