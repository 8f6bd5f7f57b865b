#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QTimer>

namespace brevio {

class AppModel;

// For benchmarks and end-to-end tests (BREVIO_PROBE=1): prints one line on standard output for
// the first frame of each screen ("frame login"), when the connection comes up ("online"), and the
// longest stall of the main thread seen since the last line ("stall 3.2"). Prints nothing else
// and changes nothing.
class StartupProbe : public QObject {
    Q_OBJECT
public:
    static bool isWanted();

    StartupProbe(AppModel& model, QQuickWindow& window, QObject* parent = nullptr);

private:
    void print(const QByteArray& line);

    AppModel& model_;
    QPointer<QQuickWindow> window_;
    QString shownScreen_;
    QTimer tick_;
    QElapsedTimer sinceTick_;
    qint64 longestGapNs_ = 0;
};

} // namespace brevio
