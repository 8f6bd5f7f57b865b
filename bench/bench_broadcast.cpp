// Broadcast load on brevio-server over real WebSockets on 127.0.0.1.
//
// Starts brevio-server as a child process (demo seed, no automatic replies, a free port), sets up
// through the protocol only: the staff member signs in, makes MEMBERS client accounts with
// createInvite + redeem, and creates one group holding all of them. Then a separate load-generator
// process connects every member and sends into the group at rising rates until the server
// saturates; this program prints the table: achieved deliveries per second, and the time from a
// send to its receipt at the other members (p50, p99, max), with the server's CPU use per step.
//
// Usage: bench_broadcast [--members N] [--seconds S] [--rates R1,R2,...] [--server PROGRAM]
// Every step is bounded: S seconds of sending, then at most 10 s for the last deliveries.

#include "wire/Frames.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>
#include <QWebSocket>
#include <csignal>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <unistd.h>

using namespace brevio;

namespace {

[[noreturn]] void fail(const QString& what) {
    std::fprintf(stderr, "bench_broadcast: %s\n", qPrintable(what));
    std::exit(1);
}

// Sleeps in the event loop until `condition` holds. (processEvents with a time limit ignores
// WaitForMoreEvents and spins, which would take a core from the server and the load generator.)
bool waitFor(const std::function<bool()>& condition, int limitMs) {
    QElapsedTimer timer;
    timer.start();
    QTimer tick; // wakes the loop now and then, so that the limit is noticed in a quiet spell
    tick.start(20);
    while (!condition()) {
        if (timer.elapsed() > limitMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

ClientInfo benchClient() {
    return ClientInfo{3, QStringLiteral("1.0"), 1, QStringLiteral("bench")};
}

// A protocol client for the set-up; speed does not matter here.
class SetupClient {
public:
    explicit SetupClient(const QUrl& url) {
        QObject::connect(&socket_, &QWebSocket::textMessageReceived, [this](const QString& text) {
            const QByteArray utf8 = text.toUtf8();
            auto decoded = wire::decodeServerFrame(std::string_view(utf8.constData(), utf8.size()));
            if (decoded)
                frames_.push_back(std::move(*decoded.value));
        });
        socket_.open(url);
        if (!waitFor([&] { return socket_.state() == QAbstractSocket::ConnectedState; }, 20000))
            fail(QStringLiteral("cannot connect to ") + url.toString());
    }

    // Sends `frame` and waits for the frame `match` accepts (an error frame fails the run).
    ServerFrame request(const ClientFrame& frame,
                        const std::function<bool(const ServerFrame&)>& match) {
        socket_.sendTextMessage(QString::fromStdString(wire::encode(frame)));
        std::optional<ServerFrame> found;
        const bool ok = waitFor(
            [&] {
                for (auto it = frames_.begin(); it != frames_.end(); ++it) {
                    if (it->type == ServerFrame::Type::error)
                        fail(QStringLiteral("refused: ") +
                             QString::fromStdString(wire::encode(*it)));
                    if (match(*it)) {
                        found = std::move(*it);
                        frames_.erase(it);
                        return true;
                    }
                }
                frames_.clear();
                return false;
            },
            60000);
        if (!ok)
            fail(QStringLiteral("no answer to ") + QString::fromStdString(wire::encode(frame)));
        return *found;
    }

    QWebSocket& socket() { return socket_; }

private:
    QWebSocket socket_;
    std::vector<ServerFrame> frames_;
};

bool isType(const ServerFrame& f, ServerFrame::Type type) {
    return f.type == type;
}

// CPU seconds (user + system) a process has used so far.
double cpuSeconds(qint64 pid) {
    FILE* file =
        std::fopen(QStringLiteral("/proc/%1/stat").arg(pid).toLocal8Bit().constData(), "r");
    if (!file)
        return 0;
    char buffer[1024] = {};
    const size_t n = std::fread(buffer, 1, sizeof buffer - 1, file);
    std::fclose(file);
    // Fields after the command name, which is in parentheses and may hold blanks.
    const QList<QByteArray> fields =
        QByteArray(buffer, qsizetype(n)).mid(QByteArray(buffer).lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 13)
        return 0;
    const double ticks = double(sysconf(_SC_CLK_TCK));
    return (fields[11].toDouble() + fields[12].toDouble()) / ticks;
}

qint64 residentKiB(qint64 pid) {
    FILE* file =
        std::fopen(QStringLiteral("/proc/%1/status").arg(pid).toLocal8Bit().constData(), "r");
    if (!file)
        return 0;
    char line[256];
    qint64 kib = 0;
    while (std::fgets(line, sizeof line, file)) {
        if (std::sscanf(line, "VmRSS: %lld kB", &kib) == 1)
            break;
    }
    std::fclose(file);
    return kib;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    int members = 100;
    double seconds = 3;
    QStringList rates = {"100", "200", "400", "800", "1600", "3200", "6400"};
    QString serverProgram = QStringLiteral(BREVIO_SERVER_EXE);
    const QStringList args = app.arguments();
    for (qsizetype i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == QStringLiteral("--members"))
            members = std::clamp(args[i + 1].toInt(), 2, 1000);
        else if (args[i] == QStringLiteral("--seconds"))
            seconds = std::clamp(args[i + 1].toDouble(), 0.5, 30.0);
        else if (args[i] == QStringLiteral("--rates"))
            rates = args[i + 1].split(u',');
        else if (args[i] == QStringLiteral("--server")) // to compare two builds
            serverProgram = args[i + 1];
        else
            fail(QStringLiteral("unknown option ") + args[i]);
    }

    // The server.
    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start(serverProgram, {"--listen", "127.0.0.1:0", "--seed", "demo", "--no-auto-reply"});
    if (!server.waitForStarted())
        fail(QStringLiteral("cannot start brevio-server"));
    QStringList lines;
    waitFor(
        [&] {
            while (server.canReadLine())
                lines << QString::fromUtf8(server.readLine()).trimmed();
            return lines.size() >= 2;
        },
        20000);
    if (lines.size() < 2)
        fail(QStringLiteral("brevio-server printed no address and accounts"));
    const QUrl url(lines[0]);
    QString staffEmail;
    for (const QString& line : lines.mid(1)) {
        const QStringList parts = line.split(u' ');
        if (parts.size() == 3 && parts[1] == QStringLiteral("staff")) {
            staffEmail = parts[0];
            break;
        }
    }
    if (staffEmail.isEmpty())
        fail(QStringLiteral("no staff account printed"));

    // Set-up through the protocol: invites, redemptions, one group.
    QElapsedTimer setupTime;
    setupTime.start();
    SetupClient staff(url);
    staff.request(
        ClientFrame::login(LoginRequest{staffEmail, QStringLiteral("corda5678"), benchClient()}),
        [](const ServerFrame& f) { return isType(f, ServerFrame::Type::welcome); });
    std::optional<QString> companyID;
    QList<QString> codes;
    for (int i = 0; i < members; ++i) {
        InviteRequest invite;
        invite.id = QStringLiteral("inv-%1").arg(i);
        if (companyID)
            invite.clientID = companyID;
        else
            invite.companyName = QStringLiteral("Prove di Carico Srl");
        invite.name = QStringLiteral("Membro %1").arg(i);
        invite.email = QStringLiteral("membro.%1@carico.test").arg(i);
        const ServerFrame reply =
            staff.request(ClientFrame::createInvite(invite),
                          [&](const ServerFrame& f) { return f.replyTo() == invite.id; });
        const Invite& made = reply.as<InviteCreated>()->invite;
        companyID = made.clientID;
        codes << made.code;
    }
    QStringList memberIDs, tokens;
    for (int i = 0; i < members; ++i) {
        SetupClient member(url);
        const ServerFrame welcome = member.request(
            ClientFrame::redeem(RedeemRequest{codes[i], QStringLiteral("Membro %1").arg(i),
                                              QStringLiteral("carico-1234"), benchClient()}),
            [](const ServerFrame& f) { return isType(f, ServerFrame::Type::welcome); });
        memberIDs << welcome.as<Welcome>()->me.id;
        tokens << welcome.as<Welcome>()->token;
        member.socket().close();
    }
    CreateGroupRequest group{QStringLiteral("grp"), QStringLiteral("Carico"), memberIDs};
    const ServerFrame created =
        staff.request(ClientFrame::createGroup(group),
                      [](const ServerFrame& f) { return f.replyTo() == QStringLiteral("grp"); });
    const QString conversationID = created.as<OKReply>()->conversationID.value_or(QString());
    if (conversationID.isEmpty())
        fail(QStringLiteral("createGroup gave no conversation id"));
    staff.socket().close();
    waitFor([&] { return staff.socket().state() == QAbstractSocket::UnconnectedState; }, 5000);

    std::printf("brevio-server broadcast load: %d members in one group, %g s per step, 127.0.0.1\n",
                members, seconds);
    std::printf("set-up through the protocol (%d invites + redeems, 1 group): %.1f s\n", members,
                double(setupTime.elapsed()) / 1000);
    std::fflush(stdout);

    // The load generator.
    QProcess load;
    load.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QStringList loadArgs = {QString::number(url.port()), conversationID, QString::number(seconds)};
    loadArgs += rates;
    load.start(QStringLiteral(BREVIO_LOAD_EXE), loadArgs);
    if (!load.waitForStarted())
        fail(QStringLiteral("cannot start the load generator"));
    load.write(tokens.join(u'\n').toUtf8() + "\n");
    load.closeWriteChannel();

    // "server CPU" is the share of one core the server used during the step; "us/delivery" is its
    // CPU time per delivered message (read receipts it sends alongside included), a figure that
    // does not depend on how much of the machine other programs take.
    std::printf("\n%9s %9s %12s %13s %9s %9s %9s %8s %11s %12s %8s\n", "sends/s", "sent",
                "deliveries", "deliveries/s", "p50 ms", "p99 ms", "max ms", "missing", "server CPU",
                "us/delivery", "gen CPU");
    double serverCpuAtStep = 0;
    QElapsedTimer stepTime;
    bool finished = false;
    QObject::connect(&load, &QProcess::finished, [&] { finished = true; });
    // Bounded: every step sends for `seconds` and drains for at most 10 s.
    const int limitMs = int((seconds + 15) * 1000 * (rates.size() + 1)) + 60000;
    waitFor(
        [&] {
            while (load.canReadLine()) {
                const QList<QByteArray> f = load.readLine().trimmed().split(' ');
                if (f[0] == "step") {
                    serverCpuAtStep = cpuSeconds(server.processId());
                    stepTime.start();
                } else if (f[0] == "result" && f.size() == 11) {
                    const double wall = double(stepTime.elapsed()) / 1000;
                    const double serverSeconds = cpuSeconds(server.processId()) - serverCpuAtStep;
                    const double loadCpu = f[10].toDouble() / wall;
                    const double deliveries = f[4].toDouble();
                    std::printf("%9s %9s %12s %13s %9s %9s %9s %8s %10.0f%% %12.1f %7.0f%%\n",
                                f[1].constData(), f[2].constData(), f[4].constData(),
                                f[5].constData(), f[6].constData(), f[7].constData(),
                                f[8].constData(), f[9].constData(), serverSeconds / wall * 100,
                                deliveries > 0 ? serverSeconds * 1e6 / deliveries : 0.0,
                                loadCpu * 100);
                    std::fflush(stdout);
                }
            }
            return finished && !load.canReadLine();
        },
        limitMs);
    if (!finished) {
        load.kill();
        load.waitForFinished();
        std::printf("load generator stopped at the time limit\n");
    }
    std::printf("server resident memory at the end: %lld MiB\n",
                static_cast<long long>(residentKiB(server.processId()) / 1024));

    ::kill(pid_t(server.processId()), SIGTERM);
    if (!server.waitForFinished(10000)) {
        server.kill();
        server.waitForFinished();
    }
    std::printf("server exit code after SIGTERM: %d\n", server.exitCode());
    return 0;
}
