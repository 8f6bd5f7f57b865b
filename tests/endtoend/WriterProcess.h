#pragma once

// One brevio_crash_writer process and what it has reported on its standard output.

#include "endtoend/CrashVerdict.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

namespace brevio::test {

class WriterProcess {
public:
    WriterProcess();
    WriterProcess(const WriterProcess&) = delete;
    WriterProcess& operator=(const WriterProcess&) = delete;
    ~WriterProcess();

    void start(const QStringList& arguments, const QProcessEnvironment& environment);
    // Waits (bounded) until it is signed in and online, or has ended.
    bool waitReady();
    // Stops its writing; the session goes on.
    void pause() { process_.closeWriteChannel(); }
    // Waits (bounded) until its outbox is empty after being ready.
    bool waitOutboxEmpty();
    // SIGKILL; returns the moment on the monotonic clock, taken just before the signal. Reads
    // everything it printed before dying.
    qint64 kill();

    bool isRunning() const { return process_.state() != QProcess::NotRunning; }
    // Its output and errors so far, for a failure message.
    QString transcript();

    bool ready = false;
    bool resumed = false; // started from saved credentials
    QList<WrittenMessage> sent;
    QStringList acked;
    QStringList failed;
    int pending = -1;
    QString error;

private:
    void readLines();

    QProcess process_;
    QStringList lines_;
};

qint64 monotonicNowMs();

} // namespace brevio::test
