/// The window with 10,000 sites, on the display that the program is started on: what a key press in the filter and a
/// step of the wheel cost until they are seen, how soon a conflict of many files is listed, and how soon the settings
/// are there. Prints the rows of the report, a line each.

#include "apps/driftwell/MainWindow.h"
#include "apps/driftwell/SettingsWindow.h"
#include "bench/FrameTimer.h"
#include "bench/Report.h"
#include "bench/SampleModel.h"
#include "bench/SampleSite.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Gates.h"
#include "core/UserDefaults.h"
#include "tooling/Updater.h"
#include "ui/collab/ConflictFilesModel.h"
#include "ui/window/MainWindowModel.h"

#include <QApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <stdexcept>

using namespace driftwell;
using namespace driftwell::bench;

namespace {

constexpr double frameMilliseconds = 16;
constexpr int filterRounds = 8;
constexpr int wheelSteps = 150;
constexpr int wheelNotches = 300;
constexpr int notchAngle = 120;
constexpr int pages = 300;
constexpr int flings = 5;
constexpr double flingSpeed = 6000;
constexpr int wheelPixels = 90;
constexpr int conflictRounds = 20;
constexpr int conflictFiles = 500;
constexpr double conflictMilliseconds = 100;
constexpr int settingsRounds = 9;
constexpr double settingsMilliseconds = 150;
constexpr int frameTimeout = 20'000;

QQuickItem& focusFilter(QQuickView& window) {
    const QList<QQuickItem*> items = window.rootObject()->findChildren<QQuickItem*>();
    for (QQuickItem* item : items) {
        if (item->inherits("QQuickTextInput")) {
            item->forceActiveFocus();
            return *item;
        }
    }
    throw std::runtime_error("the window has no filter");
}

/// A word is typed, and deleted again, a character at a time.
std::vector<FrameCost> typeInFilter(QQuickView& window, const AppState& state) {
    FrameTimer timer(window);
    const QByteArray word = "project-42";
    const QQuickItem& field = focusFilter(window);
    std::vector<FrameCost> frames;
    for (int i = 0; i < filterRounds; ++i) {
        for (const char character : word) {
            frames.push_back(timer.frameAfter([&] { QTest::keyClick(&window, character); }));
        }
        if (state.catalog().filter() != QString::fromLatin1(word) ||
            field.property("text").toString() != state.catalog().filter()) {
            throw std::runtime_error("the keys did not reach the filter, which says \"" +
                                     state.catalog().filter().toStdString() + '"');
        }
        for (int left = static_cast<int>(word.size()); left > 0; --left) {
            frames.push_back(timer.frameAfter([&] { QTest::keyClick(&window, Qt::Key_Backspace); }));
        }
    }
    return frames;
}

void turnWheel(QQuickView& window, Qt::ScrollPhase phase, int pixels) {
    const QPointF middle(window.width() / 2.0, window.height() / 2.0);
    QWheelEvent event(middle, window.mapToGlobal(middle), QPoint(0, pixels), QPoint(0, pixels), Qt::NoButton,
                      Qt::NoModifier, phase, false, Qt::MouseEventSynthesizedBySystem);
    QCoreApplication::sendEvent(&window, &event);
}

/// The list follows a touch pad, a row and a half with each event.
std::vector<FrameCost> scroll(QQuickView& window) {
    FrameTimer timer(window);
    std::vector<FrameCost> frames;
    timer.settle();
    turnWheel(window, Qt::ScrollBegin, 0);
    for (int i = 0; i < wheelSteps; ++i) {
        frames.push_back(timer.frameAfter([&] { turnWheel(window, Qt::ScrollUpdate, -wheelPixels); }));
    }
    turnWheel(window, Qt::ScrollEnd, 0);
    return frames;
}

/// The list of the sites below an item; null where there is none.
QQuickItem* findSiteList(QQuickItem& below) {
    if (below.inherits("QQuickListView") && below.property("count").toInt() == sampleSiteCount) {
        return &below;
    }
    const QList<QQuickItem*> children = below.childItems();
    for (QQuickItem* const child : children) {
        if (QQuickItem* const found = findSiteList(*child)) {
            return found;
        }
    }
    return nullptr;
}

QQuickItem& siteList(QQuickView& window) {
    QQuickItem* const list = findSiteList(*window.rootObject());
    if (list == nullptr) {
        throw std::runtime_error("the window has no list");
    }
    return *list;
}

/// How far the list went must not be nothing: otherwise nothing was measured.
void requireMoved(const QQuickItem& list, double before) {
    if (list.property("contentY").toDouble() == before) {
        throw std::runtime_error("the list did not move");
    }
}

/// A mouse wheel, a notch with each event.
std::vector<FrameCost> scrollByNotches(QQuickView& window) {
    FrameTimer timer(window);
    const QQuickItem& list = siteList(window);
    const double before = list.property("contentY").toDouble();
    const QPointF middle(window.width() / 2.0, window.height() / 2.0);
    std::vector<FrameCost> frames;
    for (int i = 0; i < wheelNotches; ++i) {
        frames.push_back(timer.frameAfter([&] {
            QWheelEvent event(middle, window.mapToGlobal(middle), {}, QPoint(0, -notchAngle), Qt::NoButton,
                              Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(&window, &event);
        }));
    }
    requireMoved(list, before);
    return frames;
}

/// Page Down, a page with each press.
std::vector<FrameCost> scrollByPages(QQuickView& window) {
    FrameTimer timer(window);
    QQuickItem& list = siteList(window);
    list.forceActiveFocus();
    QTest::keyClick(&window, Qt::Key_Home);
    const double before = list.property("contentY").toDouble();
    std::vector<FrameCost> frames;
    for (int i = 0; i < pages; ++i) {
        frames.push_back(timer.frameAfter([&] { QTest::keyClick(&window, Qt::Key_PageDown); }));
    }
    requireMoved(list, before);
    return frames;
}

/// The list is flung and glides to its end.
std::vector<FrameCost> fling(QQuickView& window) {
    FrameTimer timer(window);
    QQuickItem& list = siteList(window);
    list.forceActiveFocus();
    QTest::keyClick(&window, Qt::Key_Home);
    const double before = list.property("contentY").toDouble();
    std::vector<FrameCost> frames;
    for (int i = 0; i < flings; ++i) {
        const std::vector<FrameCost> some = timer.framesDuring(
            [&list] { QMetaObject::invokeMethod(&list, "flick", Q_ARG(qreal, 0), Q_ARG(qreal, -flingSpeed)); },
            [&list] { return list.property("moving").toBool(); });
        frames.insert(frames.end(), some.begin(), some.end());
    }
    requireMoved(list, before);
    return frames;
}

QStringList paths(int count) {
    QStringList result;
    for (int i = 0; i < count; ++i) {
        result.append(QStringLiteral("pages/section-%1/page.html").arg(1000 + i));
    }
    return result;
}

/// The sheet of a conflict is open, and a look at the folder has found this many files: the list until it is seen.
std::vector<FrameCost> listConflict(QQuickView& window, AppState& state) {
    const QString site = state.catalog().sites().first().name;
    auto* const model = window.rootObject()->property("model").value<MainWindowModel*>();
    state.collaboration().showConflict(site);
    if (model == nullptr || model->siteSheets()->conflict() == nullptr) {
        throw std::runtime_error("no conflict is shown");
    }
    ConflictFilesModel& files = *model->siteSheets()->conflict()->files();
    const QStringList found = paths(conflictFiles);
    FrameTimer timer(window);
    std::vector<FrameCost> frames;
    for (int i = 0; i < conflictRounds; ++i) {
        timer.settle();
        frames.push_back(timer.frameAfter([&] { files.show(found); }));
        timer.settle();
        files.show({});
    }
    state.collaboration().dismissConflict();
    timer.settle();
    return frames;
}

/// From the wish to see the settings to their first frame, in milliseconds. Each time they are made anew.
std::vector<double> openSettings(SampleModel& model) {
    Updater updater{Bundle()};
    SettingsWindow settings(model.state(), updater, model.desktop());
    std::vector<double> times;
    for (int i = 0; i < settingsRounds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        std::chrono::steady_clock::time_point shown;
        settings.show();
        QObject::connect(
            settings.view(), &QQuickWindow::frameSwapped, settings.view(),
            [&shown] { shown = std::chrono::steady_clock::now(); }, Qt::SingleShotConnection);
        if (!QTest::qWaitFor([&shown] { return shown != std::chrono::steady_clock::time_point(); }, frameTimeout)) {
            throw std::runtime_error("the settings were not drawn");
        }
        times.push_back(std::chrono::duration<double, std::milli>(shown - start).count());
        settings.view()->close();
        if (!QTest::qWaitFor([&settings] { return !settings.isOpen(); }, frameTimeout)) {
            throw std::runtime_error("the settings did not close");
        }
    }
    return times;
}

Row settingsRow(const std::vector<double>& times) {
    const double usual = median(times);
    return {"the settings to their first frame",
            fixed(usual, 0, "ms (the first time " + fixed(times.front(), 0, "ms)")),
            "",
            "",
            "under " + fixed(settingsMilliseconds, 0, "ms"),
            std::max(usual, times.front()) < settingsMilliseconds};
}

Row conflictRow(const std::vector<FrameCost>& frames) {
    const double most = nearlyAll(frames);
    return {"a conflict of 500 files, from the look at the folder to the list on screen",
            describe(frames),
            "",
            "",
            "95 % under " + fixed(conflictMilliseconds, 0, "ms"),
            most < conflictMilliseconds};
}

Row frameRow(const std::string& work, const std::vector<FrameCost>& frames, int percent) {
    const double most = nearlyAll(frames, percent);
    return {work,
            describe(frames, percent),
            "a frame of a screen that shows 60 in a second: 16 ms",
            fixed(most / frameMilliseconds, 2, "of it"),
            std::to_string(percent) + " % under 16 ms",
            most < frameMilliseconds};
}

void measure() {
    SampleModel model({sitesAnswer(sampleSiteCount, "2026-03-02T10:00:00.000Z")});
    int count = 1;
    char name[] = "driftwell-bench-window";
    char* arguments[] = {name, nullptr};
    const QApplication application(count, arguments);
    model.refresh();
    // What is measured is the list, and not the introduction, which would stand in its place.
    model.state().gates().completeOnboarding();
    MainWindow window(model.state(), model.desktop(), openUserDefaults(model.config()));
    window.show();
    if (!QTest::qWaitForWindowActive(window.view())) {
        throw std::runtime_error("the window did not come to the front");
    }
    printRows(
        {frameRow("key press in the filter of 10,000 sites to the new frame",
                  typeInFilter(*window.view(), model.state()), 95),
         frameRow("scrolling 10,000 sites, a step of a touchpad to the new frame", scroll(*window.view()), 99),
         frameRow("scrolling 10,000 sites, a notch of the wheel to the new frame", scrollByNotches(*window.view()), 99),
         frameRow("scrolling 10,000 sites, a page to the new frame", scrollByPages(*window.view()), 99),
         frameRow("scrolling 10,000 sites, a frame of a fling", fling(*window.view()), 99),
         conflictRow(listConflict(*window.view(), model.state())), settingsRow(openSettings(model))});
}

} // namespace

int main() {
    try {
        measure();
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "driftwell-bench-window: " << failure.what() << '\n';
        return 1;
    }
}
