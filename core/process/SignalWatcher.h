#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <initializer_list>
#include <memory>

namespace brevio {

// Turns POSIX signals into a Qt signal on the event loop. The handler only writes the signal
// number into a pipe (the one thing that is safe inside a handler); a notifier on the other end
// reads it back on the thread that created the watcher. One watcher per process.
class SignalWatcher : public QObject {
    Q_OBJECT
public:
    explicit SignalWatcher(std::initializer_list<int> signalNumbers, QObject* parent = nullptr);
    ~SignalWatcher() override;

Q_SIGNALS:
    void received(int signalNumber);

private:
    void readPipe();

    int fds_[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> notifier_;
    QList<int> installed_;
};

} // namespace brevio
