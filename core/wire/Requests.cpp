#include "wire/Requests.h"

#include <BuildInfo.h>
#include <QSysInfo>
#include <limits>

namespace brevio {

ClientInfo ClientInfo::current() {
    ClientInfo info;
    info.version = QString::fromUtf8(build::version);
    if (info.version.isEmpty())
        info.version = QStringLiteral("?");
    info.build = parseBuild(QString::fromUtf8(build::buildNumber));
    // The name the machine goes by on the network is what its owner recognises; without one,
    // the operating system's name still tells the user's devices apart better than nothing.
    info.device = QSysInfo::machineHostName().trimmed();
    if (info.device.isEmpty())
        info.device = QSysInfo::prettyProductName().trimmed();
    if (info.device.isEmpty())
        info.device = QStringLiteral("Computer");
    return info;
}

qint64 ClientInfo::parseBuild(QStringView text) {
    qsizetype i = 0;
    bool negative = false;
    if (!text.isEmpty() && (text[0] == u'+' || text[0] == u'-')) {
        negative = text[0] == u'-';
        i = 1;
    }
    if (i == text.size())
        return 0;
    // Accumulate the magnitude; the negative range reaches one further than the positive one.
    const quint64 limit = quint64(std::numeric_limits<qint64>::max()) + (negative ? 1 : 0);
    quint64 magnitude = 0;
    for (; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            return 0;
        const unsigned digit = unsigned(c - u'0');
        if (magnitude > (limit - digit) / 10)
            return 0;
        magnitude = magnitude * 10 + digit;
    }
    return negative ? qint64(0 - magnitude) : qint64(magnitude);
}

} // namespace brevio
