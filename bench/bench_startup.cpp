// Start-up of the real program under an X server (run it with xvfb-run): process start to the
// first frame of the login window, and to the first frame of the home screen showing a restored
// state of 500 conversations of 200 messages, beside the floor of an empty Qt Quick window; for
// OpenGL and for the software renderer (bench/Renderers.h). Also the main thread's longest stall up
// to that frame.

#include "BigState.h"
#include "Renderers.h"
#include "session/FileSessionStore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

using namespace brevio;

namespace {

constexpr int runs = 7;

struct Run {
    double ms = -1;    // to the frame; negative when it never came
    double stall = -1; // the longest main-thread stall reported with it
};

// Starts `program` and waits for the line "frame <screen>" (and the "stall" line after it).
Run measure(const QString& program, const QStringList& arguments, const QString& home,
            bench::Renderer renderer, const QByteArray& screen) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("BREVIO_PROBE"), QStringLiteral("1"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    bench::askFor(environment, renderer);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    QElapsedTimer clock;
    clock.start();
    process.start(program, arguments);
    Run run;
    QByteArray buffer;
    bool seenFrame = false;
    while (clock.elapsed() < 20000 && process.state() != QProcess::NotRunning) {
        if (!process.waitForReadyRead(100))
            continue;
        buffer += process.readAllStandardOutput();
        int newline;
        while ((newline = buffer.indexOf('\n')) >= 0) {
            const QByteArray line = buffer.left(newline);
            buffer.remove(0, newline + 1);
            if (!seenFrame && line == "frame " + screen) {
                run.ms = double(clock.nsecsElapsed()) / 1e6;
                seenFrame = true;
            } else if (seenFrame && line.startsWith("stall ")) {
                run.stall = line.mid(6).toDouble();
                process.kill();
                process.waitForFinished();
                return run;
            }
        }
        if (seenFrame && screen == "empty") {
            process.kill();
            process.waitForFinished();
            return run;
        }
    }
    process.kill();
    process.waitForFinished();
    return run;
}

void report(const char* what, bench::Renderer renderer, std::vector<Run> results) {
    std::vector<double> ms, stalls;
    for (const Run& r : results) {
        if (r.ms >= 0)
            ms.push_back(r.ms);
        if (r.stall >= 0)
            stalls.push_back(r.stall);
    }
    std::sort(ms.begin(), ms.end());
    std::sort(stalls.begin(), stalls.end());
    if (ms.empty()) {
        std::printf("%-34s %-9s no frame\n", what, bench::rendererName(renderer));
        return;
    }
    std::printf("%-34s %-9s median %7.1f ms  min %7.1f ms  max %7.1f ms", what,
                bench::rendererName(renderer), ms[ms.size() / 2], ms.front(), ms.back());
    if (!stalls.empty())
        std::printf("  longest stall median %.1f ms max %.1f ms", stalls[stalls.size() / 2],
                    stalls.back());
    std::printf("  (%zu/%d runs)\n", ms.size(), runs);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "bench_startup: needs an X server; run it with xvfb-run -a\n");
        return 2;
    }
    QTemporaryDir empty, restored;
    {
        // Signed in on this computer with a big saved state; the server is out of reach, so the
        // home screen shows what was saved.
        FileSessionStore store(restored.path() + QStringLiteral("/data/Brevio"));
        store.saveCredentials(
            {QUrl(QStringLiteral("ws://127.0.0.1:9/ws")), QStringLiteral("t"), bench::userID});
        store.saveState(bench::bigState(), bench::userID);
        store.flush();
    }
    for (const bench::Renderer renderer : bench::renderers) {
        std::vector<Run> floor, login, home;
        for (int i = 0; i < runs; ++i) {
            floor.push_back(measure(QStringLiteral(BREVIO_EMPTY_WINDOW_EXE), {}, empty.path(),
                                    renderer, "empty"));
            login.push_back(
                measure(QStringLiteral(BREVIO_EXE), {}, empty.path(), renderer, "login"));
            home.push_back(
                measure(QStringLiteral(BREVIO_EXE), {}, restored.path(), renderer, "staffHome"));
        }
        report("empty Qt Quick window (floor)", renderer, floor);
        report("login window", renderer, login);
        report("home, 500 x 200 restored", renderer, home);
    }
    return 0;
}
