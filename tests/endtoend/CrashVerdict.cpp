#include "endtoend/CrashVerdict.h"

#include <QHash>
#include <QSet>
#include <algorithm>

namespace brevio::test {

CrashVerdict judgeCrashRuns(const QList<WriterRun>& runs, const QStringList& arrived,
                            Duration requiredMargin) {
    CrashVerdict verdict;

    // Every text the writer may have produced, in writing order.
    QHash<QString, qsizetype> position;
    for (const WriterRun& run : runs) {
        for (const WrittenMessage& message : run.written)
            position.insert(message.text, position.size());
        if (run.killedAtMs)
            position.insert(QStringLiteral("%1-%2").arg(run.run).arg(run.written.size() + 1),
                            position.size());
    }

    QSet<QString> seen;
    qsizetype last = -1;
    for (const QString& text : arrived) {
        const auto found = position.constFind(text);
        if (found == position.cend()) {
            verdict.unknown << text;
            continue;
        }
        if (seen.contains(text)) {
            verdict.duplicates << text;
            continue;
        }
        seen.insert(text);
        if (*found < last)
            verdict.outOfOrder << text;
        last = std::max(last, *found);
    }

    for (const WriterRun& run : runs) {
        RunFigures figures{run.run, run.written.size(), 0, run.acked, {}, {}};
        for (const WrittenMessage& message : run.written) {
            const bool arrivedHere = seen.contains(message.text);
            figures.arrived += arrivedHere ? 1 : 0;
            if (!run.killedAtMs) {
                if (!arrivedHere)
                    verdict.missing << message.text;
                continue;
            }
            const qint64 beforeKill = *run.killedAtMs - message.sentAtMs;
            auto& extreme = arrivedHere ? figures.closestArrivedMs : figures.farthestLostMs;
            extreme = !extreme      ? beforeKill
                      : arrivedHere ? std::min(*extreme, beforeKill)
                                    : std::max(*extreme, beforeKill);
            if (!arrivedHere && beforeKill >= requiredMargin.count())
                verdict.missing << message.text;
        }
        verdict.runs << figures;
    }
    return verdict;
}

QString CrashVerdict::report() const {
    const auto ms = [](const std::optional<qint64>& value) {
        return value ? QStringLiteral("%1 ms").arg(*value) : QStringLiteral("-");
    };
    QString text;
    for (const RunFigures& run : runs)
        text += QStringLiteral("run %1: written %2, acked %3, arrived %4; closest to the kill "
                               "among arrived %5, farthest from it among lost %6\n")
                    .arg(run.run)
                    .arg(run.written)
                    .arg(run.acked)
                    .arg(run.arrived)
                    .arg(ms(run.closestArrivedMs), ms(run.farthestLostMs));
    const auto list = [&](const char* label, const QStringList& texts) {
        if (!texts.isEmpty())
            text += QStringLiteral("%1 (%2): %3\n")
                        .arg(QLatin1String(label))
                        .arg(texts.size())
                        .arg(texts.join(u' '));
    };
    list("missing", missing);
    list("duplicated", duplicates);
    list("out of order", outOfOrder);
    list("never written", unknown);
    return text;
}

} // namespace brevio::test
