// brevio_crash_writer: one real session that keeps writing into a conversation until it is killed.
//
//   brevio_crash_writer --data DIR --server URL --email E --password P --run N
//                       [--conversation ID] [--paused]
//
// With credentials saved in DIR it resumes from them, otherwise it signs in. Once online with its
// state loaded it prints "ready" and writes "<run>-<n>" every 150-250 ms. End of standard input (or
// --paused from the start) stops the writing; the session itself keeps running. Lines on stdout,
// each written straight through so that a SIGKILL loses none that were printed:
//   ready resumed|signed-in    state loaded and connected, from saved credentials or a sign-in
//   sent <text> <ms>           send() returned; ms on the monotonic clock (shared by processes)
//   acked <text>               the entry left the outbox
//   failed <text> <error>      the entry was marked failed
//   pending <n>                the outbox holds n entries (on every change, and at ready)
//   error <text>               sign-in failed; the program exits with 2

#include "session/ChatSession.h"
#include "session/FileSessionStore.h"
#include "transport/WebSocketTransport.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <random>
#include <unistd.h>

using namespace brevio;

namespace {

void printLine(const QString& line) {
    const QByteArray bytes = (line + u'\n').toUtf8();
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(STDOUT_FILENO, bytes.constData() + written,
                                  static_cast<size_t>(bytes.size() - written));
        if (n <= 0)
            return;
        written += n;
    }
}

qint64 monotonicMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct Options {
    QString dataDirectory;
    QUrl server;
    QString email;
    QString password;
    QString run;
    QString conversationID;
    bool paused = false;
};

std::optional<Options> parseOptions(const QCoreApplication& app) {
    QCommandLineParser parser;
    const QCommandLineOption data("data", "Folder of the saved session.", "dir");
    const QCommandLineOption server("server", "Server address.", "url");
    const QCommandLineOption email("email", "Account e-mail.", "email");
    const QCommandLineOption password("password", "Account password.", "password");
    const QCommandLineOption run("run", "Label of this run.", "run");
    const QCommandLineOption conversation("conversation", "Conversation to write into.", "id");
    const QCommandLineOption paused("paused", "Do not write.");
    parser.addOptions({data, server, email, password, run, conversation, paused});
    parser.process(app);
    Options options{parser.value(data),     QUrl(parser.value(server)), parser.value(email),
                    parser.value(password), parser.value(run),          parser.value(conversation),
                    parser.isSet(paused)};
    if (options.dataDirectory.isEmpty() || !options.server.isValid() || options.run.isEmpty())
        return std::nullopt;
    return options;
}

// Writes on a timer once the session is online and reports what happens to the outbox.
class Writer : public QObject {
public:
    Writer(ChatSession& session, Options options, bool resumed)
        : session_(session), resumed_(resumed), options_(std::move(options)),
          random_(static_cast<std::minstd_rand::result_type>(qHash(options_.run, 0))) {
        QObject::connect(&session_, &ChatSession::stateChanged, this, [this] { reportOutbox(); });
        QObject::connect(&session_, &ChatSession::statusChanged, this, [this] { onStatus(); });
        writeTimer_.setSingleShot(true);
        QObject::connect(&writeTimer_, &QTimer::timeout, this, [this] { writeOne(); });
        stdinNotifier_ = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
        QObject::connect(stdinNotifier_, &QSocketNotifier::activated, this,
                         [this] { readInput(); });
        if (options_.paused)
            stopWriting();
    }

private:
    void onStatus() {
        if (ready_ || !session_.status().isOnline())
            return;
        ready_ = true;
        printLine(resumed_ ? QStringLiteral("ready resumed") : QStringLiteral("ready signed-in"));
        printLine(QStringLiteral("pending %1").arg(session_.state().outbox.size()));
        if (writing_)
            scheduleNext();
    }

    void scheduleNext() {
        std::uniform_int_distribution<int> interval(150, 250);
        writeTimer_.start(interval(random_));
    }

    void writeOne() {
        if (!writing_)
            return;
        const QString conversationID = target();
        const QString text = QStringLiteral("%1-%2").arg(options_.run).arg(++count_);
        const QString clientID = session_.send(conversationID, text);
        if (clientID.isEmpty()) {
            printLine(QStringLiteral("error unknown conversation %1").arg(conversationID));
            QCoreApplication::exit(2);
            return;
        }
        printLine(QStringLiteral("sent %1 %2").arg(text).arg(monotonicMs()));
        scheduleNext();
    }

    QString target() const {
        if (!options_.conversationID.isEmpty())
            return options_.conversationID;
        QStringList ids = session_.state().conversations.keys();
        std::sort(ids.begin(), ids.end());
        return ids.value(0);
    }

    // An entry that leaves the outbox was acknowledged: the session drops entries only on an ack
    // (failed ones stay until the user discards them).
    void reportOutbox() {
        QHash<QString, PendingMessage> current;
        for (const PendingMessage& pending : session_.state().outbox) {
            current.insert(pending.clientID, pending);
            const auto before = outbox_.constFind(pending.clientID);
            if (pending.failure && (before == outbox_.cend() || !before->failure))
                printLine(QStringLiteral("failed %1 %2").arg(pending.text, *pending.failure));
        }
        for (const PendingMessage& pending : std::as_const(outbox_))
            if (!current.contains(pending.clientID))
                printLine(QStringLiteral("acked %1").arg(pending.text));
        const bool sizeChanged = current.size() != outbox_.size();
        outbox_ = std::move(current);
        if (sizeChanged)
            printLine(QStringLiteral("pending %1").arg(outbox_.size()));
    }

    void readInput() {
        char buffer[256];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            stdinNotifier_->setEnabled(false);
            stopWriting();
        }
    }

    void stopWriting() {
        writing_ = false;
        writeTimer_.stop();
    }

    ChatSession& session_;
    const bool resumed_;
    const Options options_;
    std::minstd_rand random_;
    QTimer writeTimer_;
    QSocketNotifier* stdinNotifier_ = nullptr;
    QHash<QString, PendingMessage> outbox_;
    bool ready_ = false;
    bool writing_ = true;
    int count_ = 0;
};

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const std::optional<Options> options = parseOptions(app);
    if (!options) {
        printLine(QStringLiteral("error --data, --server and --run are required"));
        return 2;
    }

    RealClock clock;
    WebSocketTransport transport;
    FileSessionStore store(options->dataDirectory);
    ChatSession session(clock, transport, &store, ClientInfo::current());
    session.restore();
    const bool resumed = session.phase().isSignedIn();
    Writer writer(session, *options, resumed);
    if (!resumed) {
        session.signIn(options->server, options->email, options->password,
                       [](std::expected<void, ChatError> result) {
                           if (result)
                               return;
                           printLine(QStringLiteral("error ") + result.error().description());
                           QCoreApplication::exit(2);
                       });
    }
    return app.exec();
}
