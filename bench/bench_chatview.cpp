// The chat view on screen over a long conversation, under an X server (run it with
// `xvfb-run -a -s "-screen 0 1280x800x24" build/bench/bench_chatview`). Without arguments it runs
// itself twice as a child process, once with OpenGL (QSG_RHI_BACKEND=opengl) and once with
// QT_QUICK_BACKEND=software, and prints both; `--measure` runs in this process with the program's
// own choices (shell/Rendering: the software renderer where there is no GPU).
//
// A session restored from a saved state (one direct conversation of 10,000 messages and an empty
// one; the server is out of reach, so it stays offline) shows `ChatView` in a 1100 x 720 window:
//   a. creating the view to the first frame that shows it: the first view of the process (the
//      empty conversation, which loads the view's QML types), the first view of the long one, then
//      the medians of later openings of both (the empty one is the floor);
//   b. the resident set each first opening adds once settled, and what later openings add;
//   c. the list moved by a pixel and back (the floor under a scrolling frame: all drawn, no row
//      made), then scrolling from the newest message towards the oldest at three fixed steps per
//      frame (the fastest flick, a fast wheel, the scroll bar dragged): each frame's work (the
//      step, then the frame from the window's update request to the swap) with its parts, and the
//      swap-to-swap intervals; whether the list asked for older messages at the top;
//   d. one's own message shown at once (the session's send puts it in the outbox): the time the
//      call takes, and to the frame that shows it.
// QML warnings are counted by phase and printed at the end. Figures only; nothing is asserted.

#include "LongConversation.h"
#include "Renderers.h"
#include "session/FileSessionStore.h"
#include "shell/AppModel.h"
#include "shell/Rendering.h"
#include "support/EventLoopWait.h"
#include "support/QuietDesktop.h"
#include "transport/WebSocketTransport.h"
#include "views/ChatViewModel.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QMap>
#include <QProcess>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <unistd.h>
#include <vector>

Q_IMPORT_QML_PLUGIN(BrevioPlugin)

using namespace brevio;
using namespace std::chrono_literals;

namespace {

constexpr int messageCount = 10000;
constexpr int openRuns = 7;
constexpr int sendRuns = 9;
constexpr int repaintRuns = 60;
// Scrolling speeds, in px a frame, each from the newest message to the oldest: the list's own
// fastest flick (2,500 px/s at 60 frames a second), a fast wheel and a dragged scroll bar.
struct ScrollSpeed {
    double step;
    int maxFrames;
    const char* what;
};
constexpr ScrollSpeed scrollSpeeds[] = {
    {42, 20000, "the fastest flick"},
    {400, 5000, "a fast wheel"},
    {2000, 5000, "the scroll bar dragged"},
};
const QString& me = bench::staffID;
const QString longID = QStringLiteral("c-1");
const QString emptyID = QStringLiteral("c-2");

// Two direct conversations: 10,000 messages, every one read, with Marta Rossi (the last one a
// few minutes ago), and none yet with Paolo Bassi.
ChatState savedState(const QDateTime& now) {
    ChatState state;
    state.me = User{
        me,          QStringLiteral("Sara Conti"), std::nullopt, Role::staff, std::nullopt, true,
        std::nullopt};
    state.organization = QStringLiteral("Ardena");
    state.users.insert(me, *state.me);
    state.users.insert(QStringLiteral("u-client"),
                       User{QStringLiteral("u-client"), QStringLiteral("Marta Rossi"), std::nullopt,
                            Role::client, QStringLiteral("k-1"), false, std::nullopt});
    state.users.insert(QStringLiteral("u-client-2"),
                       User{QStringLiteral("u-client-2"), QStringLiteral("Paolo Bassi"),
                            std::nullopt, Role::client, QStringLiteral("k-2"), false,
                            std::nullopt});
    const QDateTime start = now.addSecs(-qint64(messageCount) * 173 - 300);
    state.clients.insert(QStringLiteral("k-1"),
                         ClientCompany{QStringLiteral("k-1"), QStringLiteral("Ardena"), {}, start});
    state.clients.insert(QStringLiteral("k-2"),
                         ClientCompany{QStringLiteral("k-2"), QStringLiteral("Bassi"), {}, start});

    Conversation full;
    full.id = longID;
    full.clientID = QStringLiteral("k-1");
    full.title = QStringLiteral("Ardena");
    full.lastSeq = messageCount;
    full.reads = {{me, messageCount}, {QStringLiteral("u-client"), messageCount}};
    full.delivered = full.reads;
    state.upsertConversation(full);
    QList<ChatMessage> page;
    page.reserve(messageCount);
    for (qint64 seq = 1; seq <= messageCount; ++seq)
        page.append(bench::conversationMessage(longID, seq, start));
    state.mergeHistory(longID, page, false, true);

    Conversation empty;
    empty.id = emptyID;
    empty.clientID = QStringLiteral("k-2");
    empty.title = QStringLiteral("Bassi");
    state.upsertConversation(empty);
    return state;
}

double residentMB() {
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1
               ? double(fields[1].toLongLong()) * double(sysconf(_SC_PAGESIZE)) / 1048576.0
               : -1;
}

double ms(qint64 ns) {
    return double(ns) / 1e6;
}

double median(std::vector<double> values) {
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
double worst(const std::vector<double>& values) {
    return values.empty() ? -1 : *std::max_element(values.begin(), values.end());
}

// The frame that follows a change, in nanoseconds of one clock: when the window asked for it (the
// update request, paced to the display's rate), when the main thread had advanced the animations
// and polished the items, when the scene graph began to synchronise and when the frame was swapped.
// The signals may come from the render thread.
class FrameWatch : public QObject {
public:
    struct Times {
        qint64 requested = -1; // -1: this frame came without an update request of its own
        qint64 polished = -1;
        qint64 synced = -1;
        qint64 swapped = -1;
    };

    FrameWatch(QQuickWindow& window, const QElapsedTimer& clock) : window_(window), clock_(clock) {
        window.installEventFilter(this);
        connect(
            &window, &QQuickWindow::afterAnimating, this,
            [this] {
                if (armed_.load() && polished_.load() < 0)
                    polished_.store(clock_.nsecsElapsed());
            },
            Qt::DirectConnection);
        connect(
            &window, &QQuickWindow::beforeSynchronizing, this,
            [this] {
                if (polished_.load() >= 0 && synced_.load() < 0)
                    synced_.store(clock_.nsecsElapsed());
            },
            Qt::DirectConnection);
        connect(
            &window, &QQuickWindow::frameSwapped, this,
            [this] {
                renderThread_.store(QThread::currentThread() != qApp->thread());
                if (synced_.load() >= 0 && swapped_.load() < 0)
                    swapped_.store(clock_.nsecsElapsed());
                frames_.fetch_add(1);
            },
            Qt::DirectConnection);
    }

    // Watches for the next frame from now on (main thread).
    void arm() {
        armed_.store(false);
        requested_.store(-1);
        polished_.store(-1);
        synced_.store(-1);
        swapped_.store(-1);
        armed_.store(true);
    }
    // Waits for the frame armed for; its times, or swapped -1 when none came.
    Times wait(std::chrono::milliseconds limit = 10s) {
        test::waitUntil([&] { return swapped_.load() >= 0; }, limit);
        armed_.store(false);
        return {requested_.load(), polished_.load(), synced_.load(), swapped_.load()};
    }
    int frames() const { return frames_.load(); }
    bool threaded() const { return renderThread_.load(); }

    // Lets the view settle: two more frames, then a pause in which nothing needs one.
    void settle() {
        for (int i = 0; i < 2; ++i) {
            arm();
            window_.update();
            wait();
        }
        QElapsedTimer pause;
        pause.start();
        test::waitUntil([&] { return pause.elapsed() > 300; });
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::UpdateRequest && armed_.load() && requested_.load() < 0 &&
            polished_.load() < 0)
            requested_.store(clock_.nsecsElapsed());
        return QObject::eventFilter(watched, event);
    }

private:
    QQuickWindow& window_;
    const QElapsedTimer& clock_;
    std::atomic<bool> armed_{false};
    std::atomic<qint64> requested_{-1};
    std::atomic<qint64> polished_{-1};
    std::atomic<qint64> synced_{-1};
    std::atomic<qint64> swapped_{-1};
    std::atomic<int> frames_{0};
    std::atomic<bool> renderThread_{false};
};

// QML warnings, counted instead of printed, by the phase they came in.
struct Warnings {
    static inline QString phase;
    static inline QMap<QString, QMap<QString, int>> seen; // phase → message → count

    static void handler(QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type == QtDebugMsg || type == QtInfoMsg)
            return;
        ++seen[phase][message];
    }
    static void print() {
        for (auto p = seen.cbegin(); p != seen.cend(); ++p)
            for (auto m = p->cbegin(); m != p->cend(); ++m)
                std::printf("     warning x%d while %s: %s\n", m.value(), qPrintable(p.key()),
                            qPrintable(m.key()));
    }
};

// One scroll at a fixed step a frame, from where the list is towards the oldest message: each
// frame's work (the step, then the frame from the moment the window handled it to the swap) with
// its parts: the step (delegates made or reused for the rows coming into view), the main thread's
// polish, the synchronisation and rendering; and the wait for the update request.
struct Scroll {
    ScrollSpeed speed;
    bool reachedTop = false;
    int unrequested = 0;
    std::vector<double> workMs, stepMs, polishMs, renderMs, waitMs, intervalMs;

    int over16() const {
        return int(std::count_if(workMs.begin() + std::min<std::size_t>(1, workMs.size()),
                                 workMs.end(), [](double f) { return f > 16.0; }));
    }
    void print() const {
        std::printf(
            "     %.0f px a frame (%s): %s in %zu frames; %d over 16 ms after the first\n"
            "       work per frame median %.1f ms, worst %.1f, first %.1f; the step median "
            "%.1f, worst %.1f; polish median %.1f, worst %.1f; sync+render+swap median "
            "%.1f, worst %.1f\n"
            "       waited for the update request median %.1f ms (%d frames without one); "
            "swap to swap median %.1f ms, worst %.1f\n",
            speed.step, speed.what, reachedTop ? "reached the oldest" : "stopped before the oldest",
            workMs.size(), over16(), median(workMs), worst(workMs), workMs.empty() ? -1 : workMs[0],
            median(stepMs), worst(stepMs), median(polishMs), worst(polishMs), median(renderMs),
            worst(renderMs), median(waitMs), unrequested, median(intervalMs), worst(intervalMs));
    }
};

Scroll scroll(QQuickItem& list, FrameWatch& frames, const QElapsedTimer& clock,
              const ScrollSpeed& speed) {
    Scroll run;
    run.speed = speed;
    qint64 lastSwap = -1;
    for (int step = 0; step < speed.maxFrames && !run.reachedTop; ++step) {
        frames.arm();
        // The step from an event, as a wheel or a flick's animation does it: what it lets go
        // (deleteLater) is deleted when the event loop comes round again, as in the program,
        // rather than never, as it would be from outside any event.
        qint64 start = -1;
        qint64 stepped = -1;
        QTimer::singleShot(0, &list, [&] {
            start = clock.nsecsElapsed();
            const double origin = list.property("originY").toDouble();
            const double y = std::max(list.property("contentY").toDouble() - speed.step, origin);
            list.setProperty("contentY", y);
            stepped = clock.nsecsElapsed();
        });
        const FrameWatch::Times frame = frames.wait();
        if (frame.swapped < 0 || stepped < 0)
            break;
        const qint64 frameStart = frame.requested >= 0 ? frame.requested : stepped;
        if (frame.requested < 0)
            ++run.unrequested;
        else
            run.waitMs.push_back(ms(frame.requested - stepped));
        run.stepMs.push_back(ms(stepped - start));
        run.polishMs.push_back(ms(frame.polished - frameStart));
        run.renderMs.push_back(ms(frame.swapped - frame.synced));
        run.workMs.push_back(ms(stepped - start) + ms(frame.swapped - frameStart));
        if (lastSwap >= 0)
            run.intervalMs.push_back(ms(frame.swapped - lastSwap));
        lastSwap = frame.swapped;
        // The top: the list says so and the oldest row is laid out.
        QQuickItem* oldest = nullptr;
        QMetaObject::invokeMethod(&list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, oldest),
                                  Q_ARG(int, list.property("count").toInt() - 1));
        run.reachedTop = list.property("atYBeginning").toBool() && oldest != nullptr;
    }
    return run;
}

QQuickItem* findItem(QQuickItem* item, const QString& name) {
    if (item->objectName() == name)
        return item;
    for (QQuickItem* child : item->childItems())
        if (QQuickItem* found = findItem(child, name))
            return found;
    return nullptr;
}

const char* renderer(QQuickWindow& window) {
    switch (window.rendererInterface()->graphicsApi()) {
    case QSGRendererInterface::Software:
        return "software";
    case QSGRendererInterface::OpenGL:
        return "OpenGL";
    default:
        return "other";
    }
}

int measure() {
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    qInstallMessageHandler(&Warnings::handler);
    Warnings::phase = QStringLiteral("starting");
    QElapsedTimer clock;
    clock.start();

    // ---- A signed-in session over the saved state -----------------------------------------------
    QTemporaryDir home;
    FileSessionStore store(home.path());
    store.saveCredentials({QUrl(QStringLiteral("ws://127.0.0.1:9/ws")), QStringLiteral("t"), me});
    store.saveState(savedState(QDateTime::currentDateTimeUtc()), me);
    store.flush();

    RealClock realClock;
    WebSocketTransport transport;
    test::NoNotifications notifications;
    test::NoBadge badge;
    AppModel model(AppParts{
        .clock = realClock,
        .transport = transport,
        .store = &store,
        .clientInfo = ClientInfo::current(),
        .notifications = notifications,
        .badge = badge,
        .makeDemo = {},
    });
    model.session().restore();
    const bool loaded = test::waitUntil(
        [&] {
            return model.screen() == QStringLiteral("staffHome") &&
                   !model.session().isRestoring() &&
                   model.session().state().messages.value(longID).size() == messageCount;
        },
        60s);
    if (!loaded) {
        std::fprintf(stderr, "bench_chatview: the saved state was not restored\n");
        return 1;
    }

    // ---- The window, on screen and idle, before any chat view exists ----------------------------
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent windowComponent(&engine);
    windowComponent.setData(R"(
        import QtQuick
        import QtQuick.Controls
        import Brevio
        ApplicationWindow {
            width: 1100
            height: 720
            color: Theme.window
            palette.window: Theme.window
            palette.base: Theme.surface
            palette.text: Theme.text
            palette.windowText: Theme.text
            palette.button: Theme.surface
            palette.buttonText: Theme.text
            palette.highlight: Theme.accent
        })",
                            QUrl::fromLocalFile(home.filePath(QStringLiteral("Window.qml"))));
    std::unique_ptr<QQuickWindow> window(qobject_cast<QQuickWindow*>(windowComponent.create()));
    if (!window) {
        std::fprintf(stderr, "bench_chatview: %s\n", qPrintable(windowComponent.errorString()));
        return 1;
    }
    FrameWatch frames(*window, clock);
    frames.arm();
    window->show();
    frames.wait(20s);
    frames.settle();

    QQmlComponent chatComponent(&engine);
    bool compiled = false;
    struct Opening {
        double toFrame = -1; // creating the view to the frame that shows it
        double create = -1;  // of which creating the objects
        double added = 0;    // resident set added once settled, MB
    };
    // Creates the view of a conversation, waits for its first frame, lets it settle.
    const auto open = [&](const QString& conversationID, std::unique_ptr<QQuickItem>& view) {
        Opening opening;
        const double before = residentMB();
        frames.arm();
        const qint64 start = clock.nsecsElapsed();
        if (!compiled) {
            chatComponent.setData("import Brevio\nChatView { anchors.fill: parent }\n",
                                  QUrl::fromLocalFile(home.filePath(QStringLiteral("Chat.qml"))));
            compiled = true;
        }
        auto* item = qobject_cast<QQuickItem*>(chatComponent.beginCreate(engine.rootContext()));
        if (!item) {
            std::fprintf(stderr, "bench_chatview: %s\n", qPrintable(chatComponent.errorString()));
            std::exit(1);
        }
        item->setParentItem(window->contentItem());
        chatComponent.setInitialProperties(item,
                                           {{QStringLiteral("app"), QVariant::fromValue(&model)},
                                            {QStringLiteral("conversationID"), conversationID}});
        chatComponent.completeCreate();
        view.reset(item);
        opening.create = ms(clock.nsecsElapsed() - start);
        const FrameWatch::Times frame = frames.wait();
        opening.toFrame = frame.swapped >= 0 ? ms(frame.swapped - start) : -1;
        frames.settle();
        opening.added = residentMB() - before;
        return opening;
    };
    const auto close = [&](std::unique_ptr<QQuickItem>& view) {
        view.reset();
        frames.settle();
    };
    // Moving the list a pixel and back, again and again: every frame draws the whole list anew
    // but makes no row, the floor under a scrolling frame. From the window's update request to
    // the swap, as for the scrolling below.
    const auto repaint = [&](QQuickItem& list) {
        std::vector<double> times;
        const double y = list.property("contentY").toDouble();
        for (int run = 0; run < repaintRuns; ++run) {
            frames.arm();
            const qint64 start = clock.nsecsElapsed();
            list.setProperty("contentY", run % 2 == 0 ? y - 1 : y);
            const FrameWatch::Times frame = frames.wait();
            if (frame.swapped >= 0)
                times.push_back(
                    ms(frame.swapped - (frame.requested >= 0 ? frame.requested : start)));
        }
        return times;
    };

    // ---- a, b: opening --------------------------------------------------------------------------
    // The first chat view of the process loads the view's QML types: an empty conversation first,
    // then the long one, so that the two costs show apart.
    std::unique_ptr<QQuickItem> view;
    const double rssBefore = residentMB();
    Warnings::phase = QStringLiteral("opening");
    const Opening firstEmpty = open(emptyID, view);
    close(view);
    const Opening firstLong = open(longID, view);
    auto* chat = qvariant_cast<ChatViewModel*>(view->property("chat"));
    const int rows = chat ? chat->messages()->rowCount() : -1;
    close(view);
    const double rssAfterFirst = residentMB();

    std::vector<double> openLong, openEmpty, createLong, createEmpty, addedLong, addedEmpty;
    for (int run = 0; run < openRuns; ++run) {
        const Opening longOne = open(longID, view);
        close(view);
        const Opening emptyOne = open(emptyID, view);
        close(view);
        openLong.push_back(longOne.toFrame);
        createLong.push_back(longOne.create);
        addedLong.push_back(longOne.added);
        openEmpty.push_back(emptyOne.toFrame);
        createEmpty.push_back(emptyOne.create);
        addedEmpty.push_back(emptyOne.added);
    }

    // ---- c: drawing the screen again, then scrolling to the oldest message at three speeds ------
    open(longID, view);
    chat = qvariant_cast<ChatViewModel*>(view->property("chat"));
    QQuickItem* list = findItem(view.get(), QStringLiteral("messageList"));
    if (!list || !chat) {
        std::fprintf(stderr, "bench_chatview: no message list\n");
        return 1;
    }
    const std::vector<double> repaintFloor = repaint(*list);
    Warnings::phase = QStringLiteral("scrolling");
    const bool startedAtEnd = list->property("atYEnd").toBool();
    std::vector<Scroll> scrolls;
    for (const ScrollSpeed& speed : scrollSpeeds) {
        QMetaObject::invokeMethod(list, "positionViewAtBeginning");
        frames.settle();
        scrolls.push_back(scroll(*list, frames, clock, speed));
    }
    frames.settle();
    const bool rowsKept = chat->messages()->rowCount() == rows;
    const bool nothingAsked = model.session().loadingHistory().isEmpty();
    // Read now: the view's model goes with the view, closed before the figures are printed.
    const bool olderAtTop = chat->hasOlder();

    // ---- d: one's own message, shown at once ----------------------------------------------------
    Warnings::phase = QStringLiteral("sending");
    QMetaObject::invokeMethod(list, "positionViewAtBeginning");
    frames.settle();
    std::vector<double> sendReturn, sendFrame;
    int rowsAdded = 0;
    for (int run = 0; run < sendRuns; ++run) {
        const int before = chat->messages()->rowCount();
        frames.arm();
        const qint64 start = clock.nsecsElapsed();
        model.session().send(longID, QStringLiteral("Messaggio di prova %1").arg(run + 1));
        const qint64 returned = clock.nsecsElapsed();
        const FrameWatch::Times frame = frames.wait();
        sendReturn.push_back(ms(returned - start));
        sendFrame.push_back(ms(frame.swapped - start));
        rowsAdded += chat->messages()->rowCount() - before;
        frames.settle();
    }
    close(view);

    // ---- Figures --------------------------------------------------------------------------------
    std::printf("  renderer: %s, render loop: %s; %d rows for %d messages\n", renderer(*window),
                frames.threaded() ? "threaded (frames swap on the render thread)"
                                  : "basic (frames swap on the main thread)",
                rows, messageCount);
    std::printf("  a. creating ChatView to its first frame:\n"
                "     the first view of the process (empty conversation, loads the QML types): "
                "%.1f ms\n"
                "     10,000 messages: first %.1f ms; then median %.1f ms (max %.1f), of which "
                "creating the objects %.1f ms\n"
                "     empty conversation (the floor): median %.1f ms (max %.1f), of which creating "
                "%.1f ms\n",
                firstEmpty.toFrame, firstLong.toFrame, median(openLong), worst(openLong),
                median(createLong), median(openEmpty), worst(openEmpty), median(createEmpty));
    std::printf("  b. resident set: %.1f MB before any chat view; the first view (empty "
                "conversation) +%.1f MB, then the first view of the 10,000 messages +%.1f MB; "
                "%.1f MB once both were closed (+%.1f MB)\n"
                "     later openings: 10,000 messages median %+.1f MB, empty conversation %+.1f "
                "MB\n",
                rssBefore, firstEmpty.added, firstLong.added, rssAfterFirst,
                rssAfterFirst - rssBefore, median(addedLong), median(addedEmpty));
    std::printf("  c. the list moved by a pixel and back, %d frames (all drawn, no row made): "
                "median %.1f ms, worst %.1f\n",
                repaintRuns, median(repaintFloor), worst(repaintFloor));
    std::printf("     scrolling from the newest message towards the oldest (%s)\n",
                startedAtEnd ? "the view opened at the newest"
                             : "the view DID NOT open at the newest");
    for (const Scroll& run : scrolls)
        run.print();
    std::printf("     at the top: hasOlder %s, history requests %s, rows %s\n",
                olderAtTop ? "true" : "false", nothingAsked ? "none" : "SOME",
                rowsKept ? "unchanged" : "CHANGED");
    std::printf("  d. session send while the view shows the newest: the call median %.2f ms "
                "(max %.2f); to the frame showing it median %.1f ms (max %.1f); %d rows for %d "
                "sends\n",
                median(sendReturn), worst(sendReturn), median(sendFrame), worst(sendFrame),
                rowsAdded, sendRuns);
    Warnings::print();
    std::fflush(stdout);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && QByteArray(argv[1]) == "--measure") {
        Rendering::apply(); // the program's own choices of renderer, loop and text
        QGuiApplication app(argc, argv);
        return measure();
    }
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "bench_chatview: needs an X server; run it with xvfb-run -a\n");
        return 2;
    }
    int failures = 0;
    for (const bench::Renderer renderer : bench::renderers) {
        std::printf("%s\n", bench::rendererSetting(renderer));
        std::fflush(stdout);
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        bench::askFor(environment, renderer);
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--measure")});
        if (!child.waitForFinished(600000) || child.exitCode() != 0) {
            std::printf("  failed (exit %d)\n", child.exitCode());
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
