#include "shell/StartupProbe.h"

#include "shell/AppModel.h"

#include <cstdio>

namespace brevio {

bool StartupProbe::isWanted() {
    return qEnvironmentVariableIntValue("BREVIO_PROBE") == 1;
}

StartupProbe::StartupProbe(AppModel& model, QQuickWindow& window, QObject* parent)
    : QObject(parent), model_(model), window_(&window) {
    // The first frame after the screen changed is the frame that shows it.
    connect(&window, &QQuickWindow::frameSwapped, this, [this] {
        const QString screen = model_.screen();
        if (screen == shownScreen_)
            return;
        shownScreen_ = screen;
        print("frame " + screen.toLatin1());
    });
    connect(&model, &AppModel::statusChanged, this, [this] {
        if (model_.session().status().isOnline())
            print("online");
    });
    // A 1 ms timer on the main thread: a gap much longer than that is time the thread was busy.
    tick_.setTimerType(Qt::PreciseTimer);
    tick_.setInterval(1);
    connect(&tick_, &QTimer::timeout, this, [this] {
        longestGapNs_ = std::max(longestGapNs_, sinceTick_.nsecsElapsed());
        sinceTick_.restart();
    });
    sinceTick_.start();
    tick_.start();
}

void StartupProbe::print(const QByteArray& line) {
    std::printf("%s\nstall %.1f\n", line.constData(), double(longestGapNs_) / 1e6);
    std::fflush(stdout);
    longestGapNs_ = 0;
}

} // namespace brevio
