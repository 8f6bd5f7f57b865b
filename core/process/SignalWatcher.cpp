#include "process/SignalWatcher.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace brevio {

namespace {

std::atomic<int> writeEnd{-1};

extern "C" void forwardSignal(int signalNumber) {
    const int savedErrno = errno;
    const int fd = writeEnd.load();
    if (fd >= 0) {
        const unsigned char byte = static_cast<unsigned char>(signalNumber);
        // A full pipe means a wake-up is already pending; dropping the byte loses nothing useful.
        [[maybe_unused]] const ssize_t written = ::write(fd, &byte, 1);
    }
    errno = savedErrno;
}

} // namespace

SignalWatcher::SignalWatcher(std::initializer_list<int> signalNumbers, QObject* parent)
    : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, fds_) != 0)
        return;
    writeEnd.store(fds_[0]);
    notifier_ = std::make_unique<QSocketNotifier>(fds_[1], QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &SignalWatcher::readPipe);

    struct sigaction action = {};
    action.sa_handler = forwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : signalNumbers) {
        if (::sigaction(number, &action, nullptr) == 0)
            installed_.append(number);
    }
}

SignalWatcher::~SignalWatcher() {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    for (const int number : installed_)
        ::sigaction(number, &action, nullptr);
    writeEnd.store(-1);
    notifier_.reset();
    for (const int fd : fds_) {
        if (fd >= 0)
            ::close(fd);
    }
}

void SignalWatcher::readPipe() {
    unsigned char byte = 0;
    while (::read(fds_[1], &byte, 1) == 1)
        Q_EMIT received(byte);
}

} // namespace brevio
