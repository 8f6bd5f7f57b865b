#include "shell/TestDriver.h"

#include "support/EventLoopWait.h"

#include <QFile>
#include <QJsonDocument>
#include <QLocalSocket>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace brevio {
namespace {

TEST(TestDriverCommands, MalformedLinesAreRefusedWithTheirReason) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "not JSON"},
        {"click submitButton", "not JSON"},
        {"{\"cmd\": \"click\", ", "not JSON"},
        {"[\"click\"]", "not a JSON object"},
        {"{}", "\"cmd\" is missing"},
        {"{\"cmd\": 3}", "\"cmd\" is not a string"},
        {"{\"cmd\": \"fly\"}", "unknown command \"fly\""},
        {"{\"cmd\": \"click\"}", "\"target\" is missing"},
        {"{\"cmd\": \"click\", \"target\": \"\"}", "\"target\" is empty"},
        {"{\"cmd\": \"click\", \"target\": \"a..b\"}", "bad target \"a..b\""},
        {"{\"cmd\": \"click\", \"target\": \".input\"}", "bad target \".input\""},
        {"{\"cmd\": \"list\", \"target\": [\"a\"]}", "\"target\" is not a string"},
        {"{\"cmd\": \"get\", \"target\": \"a\"}", "\"property\" is missing"},
        {"{\"cmd\": \"set\", \"target\": \"a\", \"property\": \"text\"}", "\"value\" is missing"},
        {"{\"cmd\": \"type\", \"target\": \"a\"}", "\"text\" is missing"},
        {"{\"cmd\": \"type\", \"target\": \"a\", \"text\": 5}", "\"text\" is not a string"},
        {"{\"cmd\": \"key\", \"text\": \"Ctrl+A, Ctrl+B\"}", "not one key: \"Ctrl+A, Ctrl+B\""},
        {"{\"cmd\": \"key\", \"text\": \"Frobnicate\"}", "not one key: \"Frobnicate\""},
        {"{\"cmd\": \"call\", \"target\": \"a\"}", "\"method\" is missing"},
        {"{\"cmd\": \"call\", \"method\": \"m\", \"args\": {}}", "\"args\" is not a list"},
        {"{\"cmd\": \"call\", \"method\": \"m\", \"args\": [1,2,3,4,5]}", "at most 4 arguments"},
        {"{\"cmd\": \"click\", \"target\": \"a\", \"withText\": null}",
         "\"withText\" is not a string"},
    };
    for (const auto& [line, reason] : cases) {
        const auto command = parseDriverCommand(QByteArrayView(line));
        ASSERT_FALSE(command.has_value()) << line;
        EXPECT_TRUE(command.error().startsWith(QString::fromUtf8(reason)))
            << line << " -> " << command.error().toStdString();
    }
}

TEST(TestDriverCommands, ATargetIsANameAndAPathOfProperties) {
    const auto command = parseDriverCommand(
        R"({"cmd": "type", "target": "serverField.input", "text": "ws://h", "withText": ""})");
    ASSERT_TRUE(command.has_value()) << command.error().toStdString();
    EXPECT_EQ(command->kind, DriverCommand::Kind::type);
    EXPECT_EQ(command->name, QStringLiteral("serverField"));
    EXPECT_EQ(command->path, QStringList{QStringLiteral("input")});
    EXPECT_EQ(command->withText, QString());
    EXPECT_EQ(command->text, QStringLiteral("ws://h"));

    // Reading the window itself needs no target.
    const auto window = parseDriverCommand(R"({"cmd": "get", "property": "visible"})");
    ASSERT_TRUE(window.has_value());
    EXPECT_TRUE(window->name.isEmpty());
    EXPECT_FALSE(window->withText.has_value());
}

// A small screen of the same controls the program's screens use, driven through the window.
class TestDriverWindow : public ::testing::Test {
protected:
    void SetUp() override {
        engine.loadData(R"(
            import QtQuick
            import QtQuick.Controls
            Window {
                width: 300; height: 300; visible: true
                property int clicks: 0
                function sum(a, b) { return a + b }
                Column {
                    Item {
                        objectName: "field"
                        property alias input: input
                        width: 200; height: 30
                        TextField { id: input; anchors.fill: parent }
                    }
                    Button { objectName: "button"; text: "Premi"; onClicked: clicks++ }
                    Button { objectName: "off"; text: "Spento"; enabled: false }
                    Button { objectName: "hidden"; visible: false }
                    Repeater {
                        model: ["uno", "due"]
                        Label { objectName: "row"; text: modelData }
                    }
                }
            })");
        ASSERT_EQ(engine.rootObjects().size(), 1);
        window = qobject_cast<QQuickWindow*>(engine.rootObjects().front());
        ASSERT_NE(window, nullptr);
        ASSERT_TRUE(test::waitUntil([&] { return window->isExposed(); }));
        driver = std::make_unique<TestDriver>(*window);
    }

    QJsonObject ask(const QByteArray& line) {
        return QJsonDocument::fromJson(driver->answer(line)).object();
    }
    QString error(const QByteArray& line) { return ask(line).value("error").toString(); }

    QQmlApplicationEngine engine;
    QQuickWindow* window = nullptr;
    std::unique_ptr<TestDriver> driver;
};

TEST_F(TestDriverWindow, ClicksAndKeysReachTheControlsAsAUsersWould) {
    EXPECT_TRUE(ask(R"({"cmd": "click", "target": "button"})").value("ok").toBool());
    EXPECT_EQ(window->property("clicks").toInt(), 1);

    ASSERT_TRUE(ask(R"({"cmd": "type", "target": "field.input", "text": "ciao 🙂"})")
                    .value("ok")
                    .toBool());
    EXPECT_EQ(ask(R"({"cmd": "get", "target": "field.input", "property": "text"})").value("value"),
              QStringLiteral("ciao 🙂"));
    // Select everything and type over it, as one replaces a field's default.
    ASSERT_TRUE(
        ask(R"({"cmd": "key", "target": "field.input", "text": "Ctrl+A"})").value("ok").toBool());
    ask(R"({"cmd": "type", "target": "field.input", "text": "x"})");
    EXPECT_EQ(ask(R"({"cmd": "get", "target": "field.input", "property": "text"})").value("value"),
              QStringLiteral("x"));

    EXPECT_EQ(error(R"({"cmd": "click", "target": "off"})"), QStringLiteral("\"off\" is disabled"));
    EXPECT_EQ(error(R"({"cmd": "click", "target": "hidden"})"),
              QStringLiteral("\"hidden\" is not shown"));
    EXPECT_EQ(window->property("clicks").toInt(), 1);
}

TEST_F(TestDriverWindow, ReadsWritesListsAndCalls) {
    const QJsonArray rows = ask(R"({"cmd": "list", "target": "row"})").value("value").toArray();
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].toObject().value("text"), QStringLiteral("uno"));
    EXPECT_EQ(rows[1].toObject().value("text"), QStringLiteral("due"));
    EXPECT_TRUE(rows[1].toObject().value("shown").toBool());
    EXPECT_EQ(ask(R"({"cmd": "get", "target": "row", "withText": "due", "property": "text"})")
                  .value("value"),
              QStringLiteral("due"));
    EXPECT_EQ(error(R"({"cmd": "get", "target": "row", "withText": "tre", "property": "text"})"),
              QStringLiteral("nothing named \"row\""));

    EXPECT_TRUE(ask(R"({"cmd": "set", "property": "clicks", "value": 7})").value("ok").toBool());
    EXPECT_EQ(ask(R"({"cmd": "get", "property": "clicks"})").value("value"), 7);
    EXPECT_EQ(error(R"({"cmd": "get", "property": "nothing"})"),
              QStringLiteral("no property \"nothing\""));

    EXPECT_EQ(ask(R"({"cmd": "call", "method": "sum", "args": [2, 3]})").value("value"), 5);
    EXPECT_EQ(error(R"({"cmd": "call", "method": "sum", "args": [2]})"),
              QStringLiteral("no method \"sum\" taking 1 arguments"));
    EXPECT_EQ(error(R"({"cmd": "call", "target": "nobody", "method": "sum"})"),
              QStringLiteral("nothing named \"nobody\""));
}

TEST_F(TestDriverWindow, OverTheSocketEveryLineGetsOneAnswerAndABadOneStopsNothing) {
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QString path = folder.filePath(QStringLiteral("driver"));
    // A socket file left behind by a killed program is replaced.
    {
        QFile stale(path);
        ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    }
    ASSERT_TRUE(driver->listen(path));
    QLocalSocket socket;
    socket.connectToServer(path);
    ASSERT_TRUE(socket.waitForConnected(5000));
    // Two commands in one write, the second one split across writes.
    socket.write("not json\n{\"cmd\": \"click\", \"target\": \"button\"}\n{\"cmd\": \"get\", ");
    socket.flush();
    QByteArray received;
    ASSERT_TRUE(test::waitUntil([&] {
        received += socket.readAll();
        return received.count('\n') == 2;
    }));
    socket.write("\"property\": \"clicks\"}\n");
    ASSERT_TRUE(test::waitUntil([&] {
        received += socket.readAll();
        return received.count('\n') == 3;
    }));
    const QList<QByteArray> answers = received.trimmed().split('\n');
    EXPECT_FALSE(QJsonDocument::fromJson(answers[0]).object().value("ok").toBool());
    EXPECT_TRUE(QJsonDocument::fromJson(answers[1]).object().value("ok").toBool());
    EXPECT_EQ(QJsonDocument::fromJson(answers[2]).object().value("value"), 1);
}

} // namespace
} // namespace brevio
