#pragma once

// What a writer that was killed again and again must have delivered: judged from the messages it
// reported as written (with their moments and each run's kill) and the texts the server holds.

#include "model/Clock.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace brevio::test {

struct WrittenMessage {
    QString text;
    qint64 sentAtMs = 0; // monotonic clock
};

// One process of the writer: its run label, what it wrote in order, when it was killed.
struct WriterRun {
    QString run;
    QList<WrittenMessage> written;
    std::optional<qint64> killedAtMs; // none for a run that ended otherwise
    int acked = 0;                    // acknowledgements it reported, of any run's messages
};

struct RunFigures {
    QString run;
    qsizetype written = 0;
    qsizetype arrived = 0;
    int acked = 0;
    // Write-to-kill intervals: the smallest among the messages that arrived, the largest among
    // those lost. A durable outbox keeps the second small.
    std::optional<qint64> closestArrivedMs;
    std::optional<qint64> farthestLostMs;
};

struct CrashVerdict {
    QList<RunFigures> runs;
    QStringList duplicates; // arrived more than once
    QStringList outOfOrder; // arrived before a message written earlier
    QStringList unknown;    // arrived but never written
    QStringList missing;    // written long enough before the kill, yet lost

    bool passed() const {
        return duplicates.isEmpty() && outOfOrder.isEmpty() && unknown.isEmpty() &&
               missing.isEmpty();
    }
    QString report() const;
};

// `arrived`: the writer's texts in the server's order. A message written at least
// `requiredMargin` before its run's kill (or in a run that was not killed) must have arrived. The
// message after a killed run's last reported one may have arrived without its report: the kill
// can fall between send() and the line that tells of it.
CrashVerdict judgeCrashRuns(const QList<WriterRun>& runs, const QStringList& arrived,
                            Duration requiredMargin);

} // namespace brevio::test
