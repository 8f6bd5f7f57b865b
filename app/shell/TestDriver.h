#pragma once

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QLocalServer>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <expected>
#include <optional>

class QLocalSocket;
class QQuickItem;
class QQuickWindow;

namespace brevio {

// One command for the test driver, read from one line of JSON such as
//   {"cmd": "click", "target": "submitButton"}
//   {"cmd": "type", "target": "serverField.input", "text": "ws://127.0.0.1:4000"}
//   {"cmd": "list", "target": "rowPreview"}
// A target is an objectName, then optionally a path of properties holding objects ("input" of a
// form field). "withText" picks, among objects of that name, the one whose text is that.
struct DriverCommand {
    enum class Kind { list, get, set, call, click, type, key, close };

    Kind kind = Kind::get;
    QString name;     // empty: the window itself
    QStringList path; // properties followed from the named object
    std::optional<QString> withText;
    QString property;     // get, set
    QJsonValue value;     // set
    QString method;       // call
    QJsonArray arguments; // call
    QString text;         // type: the characters; key: a key sequence such as "Ctrl+A" or "Return"
};

// A malformed line gives the reason, never a partial command.
std::expected<DriverCommand, QString> parseDriverCommand(QByteArrayView line);

// For end-to-end tests only (BREVIO_TEST_DRIVER=<socket path>): lets a test program act on the
// window as a user would (clicks and keys go through the window to whatever is under them or has
// the focus) and read what the screens show, over a local socket, one JSON command per line and
// one JSON answer per line: {"ok": true, "value": ...} or {"ok": false, "error": "..."}.
// Nothing listens unless the variable is set.
class TestDriver : public QObject {
    Q_OBJECT
public:
    // The socket path asked for, or empty.
    static QString socketPath();

    explicit TestDriver(QQuickWindow& window, QObject* parent = nullptr);
    ~TestDriver() override;

    // Replaces a socket left behind by a program that was killed.
    bool listen(const QString& path);
    QString errorString() const { return server_.errorString(); }

    // Runs one line and gives the answer (without the line break).
    QByteArray answer(QByteArrayView line);

private:
    void accept();
    void read(QLocalSocket* socket);
    std::expected<QJsonValue, QString> execute(const DriverCommand& command);
    std::expected<QObject*, QString> resolve(const DriverCommand& command) const;
    std::expected<QQuickItem*, QString> shownItem(const DriverCommand& command) const;
    QList<QObject*> named(const QString& name) const;
    std::expected<QJsonValue, QString> call(QObject* object, const DriverCommand& command);
    std::expected<void, QString> focus(QQuickItem* item);
    void click(QQuickItem* item);
    void sendKey(int key, Qt::KeyboardModifiers modifiers, const QString& text);

    QPointer<QQuickWindow> window_;
    // Before the server: its sockets tell of their end while it deletes them.
    QHash<QLocalSocket*, QByteArray> pending_;
    QLocalServer server_;
};

} // namespace brevio
