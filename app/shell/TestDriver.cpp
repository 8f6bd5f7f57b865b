#include "shell/TestDriver.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLocalSocket>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QTimer>

namespace brevio {

namespace {

// A line longer than this is not a command; the connection's buffer is dropped.
constexpr qsizetype maxLine = 1 << 20;

const QHash<QString, DriverCommand::Kind>& kinds() {
    using K = DriverCommand::Kind;
    static const QHash<QString, K> names{
        {QStringLiteral("list"), K::list},   {QStringLiteral("get"), K::get},
        {QStringLiteral("set"), K::set},     {QStringLiteral("call"), K::call},
        {QStringLiteral("click"), K::click}, {QStringLiteral("type"), K::type},
        {QStringLiteral("key"), K::key},     {QStringLiteral("close"), K::close},
    };
    return names;
}

std::expected<QString, QString> stringField(const QJsonObject& object, const QString& key,
                                            bool required) {
    const QJsonValue value = object.value(key);
    if (value.isUndefined()) {
        if (required)
            return std::unexpected(QStringLiteral("\"%1\" is missing").arg(key));
        return QString();
    }
    if (!value.isString())
        return std::unexpected(QStringLiteral("\"%1\" is not a string").arg(key));
    return value.toString();
}

QJsonValue jsonOf(const QVariant& value) {
    if (auto* object = qvariant_cast<QObject*>(value))
        return object->objectName();
    return QJsonValue::fromVariant(value);
}

quint64 eventTime() {
    static QElapsedTimer clock;
    if (!clock.isValid())
        clock.start();
    return quint64(clock.elapsed());
}

} // namespace

std::expected<DriverCommand, QString> parseDriverCommand(QByteArrayView line) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(line.toByteArray(), &error);
    if (error.error != QJsonParseError::NoError)
        return std::unexpected(QStringLiteral("not JSON: ") + error.errorString());
    if (!document.isObject())
        return std::unexpected(QStringLiteral("not a JSON object"));
    const QJsonObject object = document.object();

    DriverCommand command;
    const auto cmd = stringField(object, QStringLiteral("cmd"), true);
    if (!cmd)
        return std::unexpected(cmd.error());
    const auto kind = kinds().constFind(*cmd);
    if (kind == kinds().constEnd())
        return std::unexpected(QStringLiteral("unknown command \"%1\"").arg(*cmd));
    command.kind = *kind;

    using K = DriverCommand::Kind;
    // Acting on an element or listing it needs its name; reading, writing and calling may address
    // the window itself.
    const bool needsTarget =
        command.kind == K::list || command.kind == K::click || command.kind == K::type;
    const auto target = stringField(object, QStringLiteral("target"), needsTarget);
    if (!target)
        return std::unexpected(target.error());
    if (!target->isEmpty()) {
        command.path = target->split(u'.');
        command.name = command.path.takeFirst();
        if (command.name.isEmpty() || command.path.contains(QString()))
            return std::unexpected(QStringLiteral("bad target \"%1\"").arg(*target));
    } else if (needsTarget) {
        return std::unexpected(QStringLiteral("\"target\" is empty"));
    }

    if (object.contains(QStringLiteral("withText"))) {
        const auto withText = stringField(object, QStringLiteral("withText"), true);
        if (!withText)
            return std::unexpected(withText.error());
        command.withText = *withText;
    }

    const bool needsProperty = command.kind == K::get || command.kind == K::set;
    const auto property = stringField(object, QStringLiteral("property"), needsProperty);
    if (!property)
        return std::unexpected(property.error());
    if (needsProperty && property->isEmpty())
        return std::unexpected(QStringLiteral("\"property\" is empty"));
    command.property = *property;

    if (command.kind == K::set) {
        if (!object.contains(QStringLiteral("value")))
            return std::unexpected(QStringLiteral("\"value\" is missing"));
        command.value = object.value(QStringLiteral("value"));
    }
    if (command.kind == K::call) {
        const auto method = stringField(object, QStringLiteral("method"), true);
        if (!method)
            return std::unexpected(method.error());
        command.method = *method;
        const QJsonValue arguments = object.value(QStringLiteral("args"));
        if (!arguments.isUndefined() && !arguments.isArray())
            return std::unexpected(QStringLiteral("\"args\" is not a list"));
        command.arguments = arguments.toArray();
        if (command.arguments.size() > 4)
            return std::unexpected(QStringLiteral("at most 4 arguments"));
    }
    if (command.kind == K::type || command.kind == K::key) {
        const auto text = stringField(object, QStringLiteral("text"), true);
        if (!text)
            return std::unexpected(text.error());
        command.text = *text;
        if (command.kind == K::key) {
            const QKeySequence sequence(command.text);
            if (sequence.count() != 1 || sequence[0].key() == Qt::Key_unknown)
                return std::unexpected(QStringLiteral("not one key: \"%1\"").arg(command.text));
        }
    }
    return command;
}

QString TestDriver::socketPath() {
    return qEnvironmentVariable("BREVIO_TEST_DRIVER");
}

TestDriver::TestDriver(QQuickWindow& window, QObject* parent) : QObject(parent), window_(&window) {
    connect(&server_, &QLocalServer::newConnection, this, &TestDriver::accept);
}

TestDriver::~TestDriver() {
    // The connections end with the server; nothing of this object may run while they do.
    for (QLocalSocket* socket : server_.findChildren<QLocalSocket*>())
        socket->disconnect(this);
}

bool TestDriver::listen(const QString& path) {
    QLocalServer::removeServer(path);
    return server_.listen(path);
}

void TestDriver::accept() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { read(socket); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
            pending_.remove(socket);
            socket->deleteLater();
        });
    }
}

void TestDriver::read(QLocalSocket* socket) {
    QByteArray& buffer = pending_[socket];
    buffer += socket->readAll();
    qsizetype end;
    while ((end = buffer.indexOf('\n')) >= 0) {
        const QByteArray line = buffer.left(end);
        buffer.remove(0, end + 1);
        socket->write(answer(line) + '\n');
    }
    if (buffer.size() > maxLine) {
        buffer.clear();
        socket->write(answer("line too long") + '\n');
    }
    socket->flush();
}

QByteArray TestDriver::answer(QByteArrayView line) {
    QJsonObject reply;
    const auto command = parseDriverCommand(line);
    const auto result = command
                            ? execute(*command)
                            : std::expected<QJsonValue, QString>(std::unexpected(command.error()));
    reply.insert(QStringLiteral("ok"), result.has_value());
    if (result)
        reply.insert(QStringLiteral("value"), *result);
    else
        reply.insert(QStringLiteral("error"), result.error());
    return QJsonDocument(reply).toJson(QJsonDocument::Compact);
}

QList<QObject*> TestDriver::named(const QString& name) const {
    // Declared objects hang from the window as QObject children; delegates and popups' contents
    // only as visual children of the scene. Both are walked, in scene order.
    QList<QObject*> found;
    QSet<QObject*> seen;
    QList<QObject*> stack{window_.data()};
    while (!stack.isEmpty()) {
        QObject* object = stack.takeLast();
        if (!object || seen.contains(object))
            continue;
        seen.insert(object);
        if (object->objectName() == name)
            found.append(object);
        QList<QObject*> next = object->children();
        if (auto* item = qobject_cast<QQuickItem*>(object))
            for (QQuickItem* child : item->childItems())
                next.append(child);
        if (object == window_)
            next.append(window_->contentItem());
        for (auto it = next.rbegin(); it != next.rend(); ++it)
            stack.append(*it);
    }
    return found;
}

std::expected<QObject*, QString> TestDriver::resolve(const DriverCommand& command) const {
    if (!window_)
        return std::unexpected(QStringLiteral("no window"));
    if (command.name.isEmpty())
        return window_.data();
    // Among several of that name the first shown one wins: a list's rows, the same name on two
    // screens of which one is hidden.
    QObject* chosen = nullptr;
    bool chosenShown = false;
    for (QObject* object : named(command.name)) {
        for (const QString& step : command.path) {
            object = object ? qvariant_cast<QObject*>(object->property(step.toUtf8())) : nullptr;
        }
        if (!object)
            continue;
        if (command.withText && object->property("text").toString() != *command.withText)
            continue;
        auto* item = qobject_cast<QQuickItem*>(object);
        const bool shown = item && item->isVisible();
        if (!chosen || (shown && !chosenShown)) {
            chosen = object;
            chosenShown = shown;
        }
    }
    if (!chosen)
        return std::unexpected(QStringLiteral("nothing named \"%1\"").arg(command.name));
    return chosen;
}

std::expected<QQuickItem*, QString> TestDriver::shownItem(const DriverCommand& command) const {
    const auto object = resolve(command);
    if (!object)
        return std::unexpected(object.error());
    auto* item = qobject_cast<QQuickItem*>(*object);
    if (!item)
        return std::unexpected(QStringLiteral("\"%1\" is not an item").arg(command.name));
    if (!item->isVisible() || item->window() != window_ || !window_->isVisible())
        return std::unexpected(QStringLiteral("\"%1\" is not shown").arg(command.name));
    if (!item->isEnabled())
        return std::unexpected(QStringLiteral("\"%1\" is disabled").arg(command.name));
    return item;
}

std::expected<QJsonValue, QString> TestDriver::execute(const DriverCommand& command) {
    using K = DriverCommand::Kind;
    switch (command.kind) {
    case K::list: {
        QJsonArray rows;
        for (QObject* object : named(command.name)) {
            for (const QString& step : command.path)
                object =
                    object ? qvariant_cast<QObject*>(object->property(step.toUtf8())) : nullptr;
            if (!object)
                continue;
            auto* item = qobject_cast<QQuickItem*>(object);
            rows.append(QJsonObject{{QStringLiteral("text"), jsonOf(object->property("text"))},
                                    {QStringLiteral("shown"), item && item->isVisible()}});
        }
        return rows;
    }
    case K::get: {
        const auto object = resolve(command);
        if (!object)
            return std::unexpected(object.error());
        const QVariant value = (*object)->property(command.property.toUtf8());
        if (!value.isValid())
            return std::unexpected(QStringLiteral("no property \"%1\"").arg(command.property));
        return jsonOf(value);
    }
    case K::set: {
        const auto object = resolve(command);
        if (!object)
            return std::unexpected(object.error());
        if (!(*object)->setProperty(command.property.toUtf8(), command.value.toVariant()))
            return std::unexpected(QStringLiteral("cannot set \"%1\"").arg(command.property));
        return QJsonValue();
    }
    case K::call: {
        const auto object = resolve(command);
        if (!object)
            return std::unexpected(object.error());
        return call(*object, command);
    }
    case K::click: {
        const auto item = shownItem(command);
        if (!item)
            return std::unexpected(item.error());
        click(*item);
        return QJsonValue();
    }
    case K::type: {
        const auto item = shownItem(command);
        if (!item)
            return std::unexpected(item.error());
        if (const auto focused = focus(*item); !focused)
            return std::unexpected(focused.error());
        // One key per character; a character outside the basic plane is one key too.
        for (qsizetype i = 0; i < command.text.size(); ++i) {
            const qsizetype length = command.text.at(i).isHighSurrogate() ? 2 : 1;
            sendKey(0, Qt::NoModifier, command.text.mid(i, length));
            i += length - 1;
        }
        return QJsonValue();
    }
    case K::key: {
        if (!command.name.isEmpty()) {
            const auto item = shownItem(command);
            if (!item)
                return std::unexpected(item.error());
            if (const auto focused = focus(*item); !focused)
                return std::unexpected(focused.error());
        }
        const QKeyCombination combination = QKeySequence(command.text)[0];
        const Qt::Key key = combination.key();
        const Qt::KeyboardModifiers modifiers = combination.keyboardModifiers();
        QString text;
        if (key == Qt::Key_Return || key == Qt::Key_Enter)
            text = QStringLiteral("\r");
        else if (key == Qt::Key_Escape)
            text = QStringLiteral("\x1b");
        else if (key == Qt::Key_Space)
            text = QStringLiteral(" ");
        if (modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
            text.clear();
        sendKey(key, modifiers, text);
        return QJsonValue();
    }
    case K::close:
        if (!window_)
            return std::unexpected(QStringLiteral("no window"));
        // After the answer has gone: closing may end the program.
        QTimer::singleShot(0, window_.data(), [window = window_] {
            if (window)
                window->close();
        });
        return QJsonValue();
    }
    return std::unexpected(QStringLiteral("unknown command"));
}

std::expected<QJsonValue, QString> TestDriver::call(QObject* object, const DriverCommand& command) {
    const QMetaObject* meta = object->metaObject();
    for (int i = meta->methodCount() - 1; i >= 0; --i) {
        const QMetaMethod method = meta->method(i);
        if (method.name() != command.method.toUtf8() ||
            method.parameterCount() != command.arguments.size())
            continue;
        // Each argument converted to the parameter's type; QML functions take QVariant.
        QList<QVariant> values;
        QList<QByteArray> typeNames;
        for (int p = 0; p < method.parameterCount(); ++p) {
            QVariant value = command.arguments.at(p).toVariant();
            const QMetaType type = method.parameterMetaType(p);
            if (type == QMetaType::fromType<QVariant>())
                value = QVariant::fromValue(value);
            else if (!value.convert(type))
                return std::unexpected(
                    QStringLiteral("argument %1 is not a %2").arg(p + 1).arg(type.name()));
            values.append(value);
            typeNames.append(method.parameterTypeName(p));
        }
        std::array<QGenericArgument, 4> arguments;
        for (qsizetype p = 0; p < values.size(); ++p)
            arguments[size_t(p)] =
                QGenericArgument(typeNames[p].constData(), values[p].constData());
        const QMetaType returnType = method.returnMetaType();
        const bool returns = returnType.isValid() && returnType.id() != QMetaType::Void;
        QVariant result = returns ? QVariant(returnType) : QVariant();
        const QGenericReturnArgument returned =
            returns ? QGenericReturnArgument(method.typeName(), result.data())
                    : QGenericReturnArgument();
        if (!method.invoke(object, Qt::DirectConnection, returned, arguments[0], arguments[1],
                           arguments[2], arguments[3]))
            return std::unexpected(QStringLiteral("\"%1\" failed").arg(command.method));
        if (returnType == QMetaType::fromType<QVariant>())
            result = result.value<QVariant>();
        return returns ? jsonOf(result) : QJsonValue();
    }
    return std::unexpected(QStringLiteral("no method \"%1\" taking %2 arguments")
                               .arg(command.method)
                               .arg(command.arguments.size()));
}

std::expected<void, QString> TestDriver::focus(QQuickItem* item) {
    window_->requestActivate();
    item->forceActiveFocus(Qt::OtherFocusReason);
    if (!item->hasActiveFocus())
        return std::unexpected(QStringLiteral("the focus does not go to the target"));
    return {};
}

void TestDriver::click(QQuickItem* item) {
    // Through the window, so that whatever is on top at that point gets it, as with a real mouse.
    const QPointF scene = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    const QPointF global = window_->mapToGlobal(scene);
    QMouseEvent press(QEvent::MouseButtonPress, scene, scene, global, Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    press.setTimestamp(eventTime());
    QCoreApplication::sendEvent(window_.data(), &press);
    QMouseEvent release(QEvent::MouseButtonRelease, scene, scene, global, Qt::LeftButton,
                        Qt::NoButton, Qt::NoModifier);
    release.setTimestamp(eventTime());
    QCoreApplication::sendEvent(window_.data(), &release);
}

void TestDriver::sendKey(int key, Qt::KeyboardModifiers modifiers, const QString& text) {
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    press.setTimestamp(eventTime());
    QCoreApplication::sendEvent(window_.data(), &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    release.setTimestamp(eventTime());
    QCoreApplication::sendEvent(window_.data(), &release);
}

} // namespace brevio
