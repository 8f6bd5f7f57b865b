#include "appendtoend/AppProcess.h"

#include "support/EventLoopWait.h"
#include "support/ProgramHome.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>

namespace brevio::test {

AppProcess::AppProcess(QString home) : home_(std::move(home)) {
    QObject::connect(&process_, &QProcess::readyReadStandardOutput,
                     [this] { printed += process_.readAllStandardOutput(); });
}

AppProcess::~AppProcess() {
    if (isRunning())
        kill();
}

QString AppProcess::dataFolder() const {
    return home_ + QStringLiteral("/data/Brevio");
}

bool AppProcess::start() {
    QProcessEnvironment environment = programEnvironment(home_);
    environment.insert(QStringLiteral("BREVIO_PROBE"), QStringLiteral("1"));
    const QString driverPath = driverSocket(home_);
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    printed.clear();
    process_.start(QStringLiteral(BREVIO_EXE), {});
    if (!process_.waitForStarted(10000)) {
        failure = QStringLiteral("cannot start ") + QStringLiteral(BREVIO_EXE);
        return false;
    }
    // The driver listens before the event loop runs, so it is there by the first frame.
    if (!waitUntil([&] { return printed.contains("frame ") || !isRunning(); }) || !isRunning()) {
        failure = QStringLiteral("no first frame; exit code %1; printed: %2")
                      .arg(process_.exitCode())
                      .arg(QString::fromUtf8(printed));
        return false;
    }
    driver_.connectToServer(driverPath);
    if (!driver_.waitForConnected(10000)) {
        failure = QStringLiteral("no test driver: ") + driver_.errorString();
        return false;
    }
    return true;
}

bool AppProcess::waitForLine(const QByteArray& line) {
    return waitUntil(
        [&] { return printed.startsWith(line + '\n') || printed.contains('\n' + line + '\n'); });
}

bool AppProcess::waitForExit() {
    return waitUntil([&] { return !isRunning(); });
}

void AppProcess::kill() {
    driver_.abort();
    process_.kill();
    process_.waitForFinished(10000);
}

void AppProcess::terminate() {
    process_.terminate();
}

std::expected<QJsonValue, QString> AppProcess::ask(const QJsonObject& command) {
    if (driver_.state() != QLocalSocket::ConnectedState)
        return std::unexpected(QStringLiteral("not connected to the driver"));
    driver_.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
    driver_.flush();
    if (!waitUntil([&] {
            answers_ += driver_.readAll();
            return answers_.contains('\n') || driver_.state() != QLocalSocket::ConnectedState;
        }) ||
        !answers_.contains('\n')) {
        lastError = QStringLiteral("no answer from the driver");
        return std::unexpected(lastError);
    }
    const qsizetype end = answers_.indexOf('\n');
    const QJsonObject answer = QJsonDocument::fromJson(answers_.left(end)).object();
    answers_.remove(0, end + 1);
    if (!answer.value(QStringLiteral("ok")).toBool()) {
        lastError = answer.value(QStringLiteral("error")).toString();
        return std::unexpected(lastError);
    }
    return answer.value(QStringLiteral("value"));
}

std::expected<QJsonValue, QString> AppProcess::click(const QString& target,
                                                     const std::optional<QString>& withText) {
    QJsonObject command{{QStringLiteral("cmd"), QStringLiteral("click")},
                        {QStringLiteral("target"), target}};
    if (withText)
        command.insert(QStringLiteral("withText"), *withText);
    return ask(command);
}

std::expected<QJsonValue, QString> AppProcess::type(const QString& target, const QString& text) {
    return ask({{QStringLiteral("cmd"), QStringLiteral("type")},
                {QStringLiteral("target"), target},
                {QStringLiteral("text"), text}});
}

std::expected<QJsonValue, QString> AppProcess::key(const QString& target, const QString& key) {
    return ask({{QStringLiteral("cmd"), QStringLiteral("key")},
                {QStringLiteral("target"), target},
                {QStringLiteral("text"), key}});
}

std::expected<QJsonValue, QString> AppProcess::get(const QString& target, const QString& property) {
    QJsonObject command{{QStringLiteral("cmd"), QStringLiteral("get")},
                        {QStringLiteral("property"), property}};
    if (!target.isEmpty())
        command.insert(QStringLiteral("target"), target);
    return ask(command);
}

QStringList AppProcess::shownTexts(const QString& target) {
    QStringList texts;
    const auto rows =
        ask({{QStringLiteral("cmd"), QStringLiteral("list")}, {QStringLiteral("target"), target}});
    if (!rows)
        return texts;
    for (const QJsonValue& row : rows->toArray())
        if (row[QStringLiteral("shown")].toBool())
            texts << row[QStringLiteral("text")].toString();
    return texts;
}

bool AppProcess::waitForShownText(const QString& target, const QString& text) {
    // Each look walks the program's whole scene: a few times a second leaves it the processor.
    QElapsedTimer sinceLook;
    return waitUntil([&] {
        if (sinceLook.isValid() && sinceLook.elapsed() < 100)
            return false;
        sinceLook.start();
        return shownTexts(target).contains(text);
    });
}

QStringList AppProcess::savedOutbox() const {
    QStringList texts;
    const QDir folder(dataFolder());
    for (const QString& name : folder.entryList({QStringLiteral("outbox-*.json")}, QDir::Files)) {
        QFile file(folder.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QJsonValue& entry : QJsonDocument::fromJson(file.readAll()).array())
            texts << entry[QStringLiteral("text")].toString();
    }
    return texts;
}

QByteArray AppProcess::savedState() const {
    QByteArray text;
    const QDir folder(dataFolder());
    for (const QString& name : folder.entryList({QStringLiteral("chat-*.json")}, QDir::Files)) {
        QFile file(folder.filePath(name));
        if (file.open(QIODevice::ReadOnly))
            text += file.readAll();
    }
    return text;
}

} // namespace brevio::test
