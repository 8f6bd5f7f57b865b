// Brevio at rest, under an X server (run it with
// `xvfb-run -a -s "-screen 0 1280x800x24" build/bench/bench_idle`): the real program started on its
// home screen, left alone, and watched from outside through /proc. For each case and each Qt Quick
// renderer (OpenGL on the X server, then the software one; bench/Renderers.h):
//   - the resident set (VmRSS, and its peak VmHWM) once the home is shown and 5 s have passed;
//   - over the next 30 s: processor time (utime + stime) as a share of one core, and the voluntary
//     and involuntary context switches of the main thread and of all threads, with the threads
//     that woke most; an idle program should show next to nothing;
//   - the connection word before and after the window, and the exit code after SIGTERM.
// Cases: the demo as staff (in-process server); staff signed in against brevio-server on the
// loopback address (keep-alive pings over a real WebSocket); a restored state of 500 conversations
// of 200 messages whose server is out of reach, so the session retries with back-off (a real
// server would drop the 500 conversations at the first welcome, since it does not have them).
//
// The home is recognised through the test driver (BREVIO_TEST_DRIVER), which does nothing between
// commands; BREVIO_PROBE is left unset because its 1 ms stall timer would be the very wake-up this
// looks for. No command is sent during the window. Figures only; nothing is asserted.

#include "BigState.h"
#include "Renderers.h"
#include "endtoend/ServerProcess.h"
#include "model/Clock.h"
#include "session/ChatSession.h"
#include "session/FileSessionStore.h"
#include "support/EventLoopWait.h"
#include "support/ProgramHome.h"
#include "support/TestClient.h"
#include "transport/WebSocketTransport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <map>
#include <unistd.h>

using namespace brevio;
using namespace std::chrono_literals;

namespace {

constexpr auto settle = 5s;
constexpr auto window = 30s;

// ---- /proc ------------------------------------------------------------------------------------

QByteArray readProc(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A "Name:   value kB" line of a status file; -1 when missing.
qint64 statusField(const QByteArray& status, const QByteArray& name) {
    for (const QByteArray& line : status.split('\n'))
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).trimmed().split(' ').value(0).toLongLong();
    return -1;
}

// utime + stime in clock ticks from a stat file (fields 14 and 15; the name in parentheses may
// hold spaces, so counting starts after its closing parenthesis, at field 3).
qint64 cpuTicks(const QByteArray& stat) {
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 12 ? fields[11].toLongLong() + fields[12].toLongLong() : -1;
}

struct ThreadSample {
    QByteArray name;
    qint64 voluntary = 0;
    qint64 involuntary = 0;
    qint64 ticks = 0;
};

struct Sample {
    qint64 ticks = -1; // the whole process, threads that ended included
    std::map<int, ThreadSample> threads;
};

Sample sample(qint64 pid) {
    Sample s;
    const QString base = QStringLiteral("/proc/%1").arg(pid);
    s.ticks = cpuTicks(readProc(base + QStringLiteral("/stat")));
    const QDir tasks(base + QStringLiteral("/task"));
    for (const QString& tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString task = tasks.filePath(tid);
        const QByteArray status = readProc(task + QStringLiteral("/status"));
        if (status.isEmpty())
            continue;
        ThreadSample t;
        t.name = readProc(task + QStringLiteral("/comm")).trimmed();
        t.voluntary = statusField(status, "voluntary_ctxt_switches");
        t.involuntary = statusField(status, "nonvoluntary_ctxt_switches");
        t.ticks = cpuTicks(readProc(task + QStringLiteral("/stat")));
        s.threads[tid.toInt()] = t;
    }
    return s;
}

// ---- the program ------------------------------------------------------------------------------

// brevio in a window on the X server with a home of its own, and its test driver's socket.
class Program {
public:
    Program(QString home, bench::Renderer renderer) : home_(std::move(home)), renderer_(renderer) {
        QObject::connect(&process_, &QProcess::readyReadStandardError,
                         [this] { said_ += process_.readAllStandardError(); });
    }
    ~Program() {
        if (process_.state() != QProcess::NotRunning) {
            process_.kill();
            process_.waitForFinished(5000);
        }
    }

    QString dataFolder() const { return home_ + QStringLiteral("/data/Brevio"); }

    bool start(const QStringList& arguments) {
        QProcessEnvironment environment = test::programEnvironment(home_);
        const QString driverPath = test::driverSocket(home_);
        environment.remove(QStringLiteral("BREVIO_PROBE"));
        bench::askFor(environment, renderer_);
        process_.setProcessEnvironment(environment);
        process_.setStandardOutputFile(QProcess::nullDevice());
        process_.start(QStringLiteral(BREVIO_EXE), arguments);
        if (!process_.waitForStarted(10000))
            return fail(QStringLiteral("cannot start ") + QStringLiteral(BREVIO_EXE));
        // The driver listens before the event loop runs; until then the socket is not there.
        const bool connected = test::waitUntil(
            [&] {
                if (process_.state() == QProcess::NotRunning)
                    return true;
                driver_.connectToServer(driverPath);
                if (driver_.waitForConnected(100))
                    return true;
                driver_.abort();
                return false;
            },
            20s);
        if (!connected || driver_.state() != QLocalSocket::ConnectedState)
            return fail(QStringLiteral("no test driver"));
        return true;
    }

    // An AppModel property, through the root view that holds the model.
    QString model(const QString& property) {
        const QJsonObject command{{QStringLiteral("cmd"), QStringLiteral("get")},
                                  {QStringLiteral("target"), QStringLiteral("rootView.app")},
                                  {QStringLiteral("property"), property}};
        driver_.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
        driver_.flush();
        const bool answered = test::waitUntil(
            [&] {
                answers_ += driver_.readAll();
                return answers_.contains('\n') || driver_.state() != QLocalSocket::ConnectedState;
            },
            10s);
        if (!answered || !answers_.contains('\n'))
            return {};
        const qsizetype end = answers_.indexOf('\n');
        const QJsonObject answer = QJsonDocument::fromJson(answers_.left(end)).object();
        answers_.remove(0, end + 1);
        return answer.value(QStringLiteral("value")).toString();
    }

    // Polls the model a few times a second (each look walks the scene) until `done` or the limit.
    bool waitFor(const std::function<bool()>& done, std::chrono::milliseconds limit) {
        QElapsedTimer sinceLook;
        return test::waitUntil(
                   [&] {
                       if (process_.state() == QProcess::NotRunning)
                           return true;
                       if (sinceLook.isValid() && sinceLook.elapsed() < 200)
                           return false;
                       sinceLook.start();
                       return done();
                   },
                   limit) &&
               process_.state() != QProcess::NotRunning;
    }

    qint64 pid() const { return process_.processId(); }
    bool running() const { return process_.state() != QProcess::NotRunning; }

    // SIGTERM, as the desktop session ends programs; the exit as text.
    QString terminate() {
        driver_.abort();
        if (process_.state() == QProcess::NotRunning)
            return exitText();
        process_.terminate();
        if (!test::waitUntil([&] { return process_.state() == QProcess::NotRunning; }, 15s)) {
            process_.kill();
            process_.waitForFinished(5000);
            return QStringLiteral("still running 15 s after SIGTERM (killed)");
        }
        return exitText();
    }

    QString exitText() const {
        return process_.exitStatus() == QProcess::CrashExit
                   ? QStringLiteral("crashed")
                   : QStringLiteral("exit %1").arg(process_.exitCode());
    }

    // The program's standard error, shortened to its first lines.
    QString said() const {
        const QList<QByteArray> lines = said_.trimmed().split('\n');
        QStringList shown;
        for (qsizetype i = 0; i < std::min<qsizetype>(lines.size(), 4); ++i)
            shown << QString::fromUtf8(lines[i]);
        if (lines.size() > 4)
            shown << QStringLiteral("(%1 lines in all)").arg(lines.size());
        return said_.trimmed().isEmpty() ? QString() : shown.join(QStringLiteral("\n    "));
    }

    QString failure;

private:
    bool fail(const QString& why) {
        failure = why;
        return false;
    }

    QString home_;
    bench::Renderer renderer_;
    QProcess process_;
    QLocalSocket driver_;
    QByteArray answers_;
    QByteArray said_;
};

// ---- one case ---------------------------------------------------------------------------------

struct Case {
    const char* name;
    QStringList arguments;
    QString home;      // its data already in place
    bool mustBeOnline; // waits for the connection as well as the home
};

void run(const Case& c, bench::Renderer renderer) {
    const QString label =
        QStringLiteral("%1 [%2]").arg(c.name, QLatin1String(bench::rendererName(renderer)));
    std::printf("%s\n", qPrintable(label));
    std::fflush(stdout);
    Program program(c.home, renderer);
    if (!program.start(c.arguments)) {
        std::printf("  not measured: %s %s\n", qPrintable(program.failure),
                    qPrintable(program.said()));
        return;
    }
    QElapsedTimer sinceStart;
    sinceStart.start();
    const bool home = program.waitFor(
        [&] {
            const QString screen = program.model(QStringLiteral("screen"));
            if (!screen.endsWith(QStringLiteral("Home")))
                return false;
            return !c.mustBeOnline ||
                   program.model(QStringLiteral("connectionWord")) == QStringLiteral("collegato");
        },
        40s);
    if (!home) {
        std::printf(
            "  not measured: no home%s within 40 s (screen \"%s\", connection \"%s\"); %s\n",
            c.mustBeOnline ? " with a connection" : "",
            qPrintable(program.model(QStringLiteral("screen"))),
            qPrintable(program.model(QStringLiteral("connectionWord"))),
            qPrintable(program.running() ? program.terminate() : program.exitText()));
        return;
    }
    const double homeAfter = double(sinceStart.elapsed()) / 1000;
    const QString wordBefore = program.model(QStringLiteral("connectionWord"));

    // Settled: nothing asked of it for a while.
    QElapsedTimer quiet;
    quiet.start();
    test::waitUntil([&] { return quiet.hasExpired(settle.count() * 1000); }, settle + 5s);
    const QByteArray status = readProc(QStringLiteral("/proc/%1/status").arg(program.pid()));
    const qint64 rssKb = statusField(status, "VmRSS");
    const qint64 peakKb = statusField(status, "VmHWM");

    const Sample before = sample(program.pid());
    QElapsedTimer measured;
    measured.start();
    test::waitUntil(
        [&] { return measured.hasExpired(window.count() * 1000) || !program.running(); },
        window + 5s);
    const Sample after = sample(program.pid());
    const double seconds = double(measured.nsecsElapsed()) / 1e9;
    if (!program.running()) {
        std::printf("  the program ended during the window: %s\n", qPrintable(program.exitText()));
        return;
    }
    const QString wordAfter = program.model(QStringLiteral("connectionWord"));
    const QString screenAfter = program.model(QStringLiteral("screen"));

    // Threads present at the end; one born during the window counts from zero.
    struct Delta {
        int tid;
        QByteArray name;
        qint64 voluntary, involuntary, ticks;
    };
    std::vector<Delta> deltas;
    qint64 allVoluntary = 0, allInvoluntary = 0;
    for (const auto& [tid, end] : after.threads) {
        const auto start = before.threads.find(tid);
        const ThreadSample zero;
        const ThreadSample& from = start == before.threads.end() ? zero : start->second;
        Delta d{tid, end.name, end.voluntary - from.voluntary, end.involuntary - from.involuntary,
                end.ticks - from.ticks};
        allVoluntary += d.voluntary;
        allInvoluntary += d.involuntary;
        deltas.push_back(d);
    }
    const int pid = int(program.pid());
    const auto main =
        std::find_if(deltas.begin(), deltas.end(), [pid](const Delta& d) { return d.tid == pid; });
    const double hz = double(sysconf(_SC_CLK_TCK));
    const double cpu = double(after.ticks - before.ticks) / hz / seconds * 100;

    std::printf("  home after %.1f s, connection \"%s\"; measured %.0f s from %.0f s later\n",
                homeAfter, qPrintable(wordBefore), seconds, double(settle.count()));
    std::printf("  VmRSS %.1f MB (peak VmHWM %.1f MB)\n", double(rssKb) / 1024,
                double(peakKb) / 1024);
    std::printf("  idle CPU %.2f %% of one core (%lld ticks of 1/%.0f s in %.1f s)\n", cpu,
                after.ticks - before.ticks, hz, seconds);
    if (main != deltas.end())
        std::printf("  context switches, main thread: %lld voluntary (%.1f/s), %lld involuntary\n",
                    main->voluntary, double(main->voluntary) / seconds, main->involuntary);
    std::printf("  context switches, all %zu threads: %lld voluntary (%.1f/s), %lld involuntary\n",
                deltas.size(), allVoluntary, double(allVoluntary) / seconds, allInvoluntary);
    std::sort(deltas.begin(), deltas.end(),
              [](const Delta& a, const Delta& b) { return a.voluntary > b.voluntary; });
    QStringList woke;
    for (const Delta& d : deltas)
        if (d.voluntary > 0 && woke.size() < 4)
            woke << QStringLiteral("%1 %2 (%3 ticks)")
                        .arg(QString::fromLatin1(d.name))
                        .arg(d.voluntary)
                        .arg(d.ticks);
    std::printf("  woke most: %s\n", woke.isEmpty() ? "none" : qPrintable(woke.join(", ")));
    std::printf("  after the window: screen \"%s\", connection \"%s\"\n", qPrintable(screenAfter),
                qPrintable(wordAfter));
    std::printf("  SIGTERM: %s\n", qPrintable(program.terminate()));
    if (const QString said = program.said(); !said.isEmpty())
        std::printf("  standard error:\n    %s\n", qPrintable(said));
    std::fflush(stdout);
}

// Credentials and state on disk as a sign-in through the window leaves them.
bool signInBefore(const QString& dataFolder, const test::ServerProcess& server) {
    const auto account = server.account(QStringLiteral("staff"));
    if (!account)
        return false;
    FileSessionStore store(dataFolder);
    RealClock clock;
    WebSocketTransport transport;
    ChatSession session(clock, transport, &store, test::testClient(), SessionSettings{});
    bool done = false, ok = false;
    session.signIn(server.url, account->email, account->password,
                   [&](std::expected<void, ChatError> result) {
                       ok = result.has_value();
                       done = true;
                   });
    test::waitUntil([&] { return done; }, 20s);
    session.flush();
    return ok;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "bench_idle: needs an X server; run it with xvfb-run -a\n");
        return 2;
    }
    QElapsedTimer total;
    total.start();

    test::ServerProcess server;
    if (!server.start({QStringLiteral("--no-auto-reply")})) {
        std::fprintf(stderr, "bench_idle: brevio-server: %s\n", qPrintable(server.failure));
        return 1;
    }
    std::printf("brevio-server at %s\n", qPrintable(server.url.toString()));

    // The restored state is written once and copied into each home, so that no run sees what an
    // earlier one saved.
    QTemporaryDir restoredSource;
    {
        FileSessionStore store(restoredSource.path());
        store.saveCredentials(
            {QUrl(QStringLiteral("ws://127.0.0.1:9/ws")), QStringLiteral("t"), bench::userID});
        store.saveState(bench::bigState(), bench::userID);
        store.flush();
    }

    for (const bench::Renderer renderer : bench::renderers) {
        QTemporaryDir demoHome, signedInHome, restoredHome;
        run({"1. demo as staff (in-process server)",
             {QStringLiteral("--demo"), QStringLiteral("staff")},
             demoHome.path(),
             true},
            renderer);

        if (signInBefore(signedInHome.path() + QStringLiteral("/data/Brevio"), server))
            run({"2. staff signed in to brevio-server", {}, signedInHome.path(), true}, renderer);
        else
            std::printf("2. staff signed in to brevio-server [%s]\n  not measured: the sign-in "
                        "before the start failed\n",
                        bench::rendererName(renderer));

        const QString data = restoredHome.path() + QStringLiteral("/data/Brevio");
        QDir().mkpath(data);
        const QDir source(restoredSource.path());
        for (const QString& name : source.entryList(QDir::Files))
            QFile::copy(source.filePath(name), data + u'/' + name);
        run({"3. 500 x 200 restored, server out of reach", {}, restoredHome.path(), false},
            renderer);
    }
    std::printf("whole run %.0f s\n", double(total.elapsed()) / 1000);
    return 0;
}
