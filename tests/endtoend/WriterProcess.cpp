#include "endtoend/WriterProcess.h"

#include "support/EventLoopWait.h"

#include <chrono>
#include <csignal>

namespace brevio::test {

namespace {
const QString writerProgram = QStringLiteral(BREVIO_CRASH_WRITER_EXE);
} // namespace

// The writer stamps its lines with the same clock: CLOCK_MONOTONIC is one clock for the machine.
qint64 monotonicNowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

WriterProcess::WriterProcess() {
    QObject::connect(&process_, &QProcess::readyReadStandardOutput, [this] { readLines(); });
}

WriterProcess::~WriterProcess() {
    if (isRunning()) {
        process_.kill();
        process_.waitForFinished();
    }
}

void WriterProcess::start(const QStringList& arguments, const QProcessEnvironment& environment) {
    process_.setProcessEnvironment(environment);
    process_.start(writerProgram, arguments);
}

bool WriterProcess::waitReady() {
    return waitUntil([&] { return ready || !isRunning(); }) && ready && isRunning();
}

bool WriterProcess::waitOutboxEmpty() {
    return waitUntil([&] { return (ready && pending == 0) || !isRunning(); }) && pending == 0;
}

qint64 WriterProcess::kill() {
    const qint64 at = monotonicNowMs();
    ::kill(static_cast<pid_t>(process_.processId()), SIGKILL);
    waitUntil([&] { return !isRunning(); });
    readLines();
    return at;
}

void WriterProcess::readLines() {
    while (process_.canReadLine()) {
        const QString line = QString::fromUtf8(process_.readLine()).trimmed();
        lines_ << line;
        const QStringList fields = line.split(u' ');
        const QString& kind = fields[0];
        if (kind == u"ready") {
            ready = true;
            resumed = fields.value(1) == u"resumed";
        } else if (kind == u"sent" && fields.size() == 3)
            sent.append({fields[1], fields[2].toLongLong()});
        else if (kind == u"acked" && fields.size() == 2)
            acked << fields[1];
        else if (kind == u"failed")
            failed << line;
        else if (kind == u"pending" && fields.size() == 2)
            pending = fields[1].toInt();
        else if (kind == u"error")
            error = line;
    }
}

QString WriterProcess::transcript() {
    return lines_.mid(std::max<qsizetype>(0, lines_.size() - 20)).join(u'\n') + u'\n' +
           QString::fromUtf8(process_.readAllStandardError());
}

} // namespace brevio::test
