// The settings window as the application opens it: made on the first request, the same window
// brought back on every later one, from the model or from the tray's menu.

#include "app/AppWorld.h"
#include "shell/SettingsView.h"
#include "shell/TrayMenu.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <QTest>

namespace brevio::test {
namespace {

TEST(SettingsView, MadeOnTheFirstRequestAndBroughtBackAfterClosing) {
    AppWorld world;
    world.signIn(Role::staff);
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    SettingsView view(engine, *world.model);
    EXPECT_EQ(view.window(), nullptr) << "nothing is made before it is asked for";

    world.model->openSettings();
    QQuickWindow* window = view.window();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->title(), QStringLiteral("Impostazioni"));
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
    EXPECT_EQ(window->property("app").value<AppModel*>(), world.model.get());

    window->close();
    EXPECT_FALSE(window->isVisible());
    // The tray's "Impostazioni…" asks the model; the same window comes back.
    for (const TrayEntry& entry : trayMenu(TrayState::of(*world.model)))
        if (entry.action == TrayEntry::Action::openSettings)
            chooseTrayEntry(*world.model, entry);
    EXPECT_EQ(view.window(), window);
    EXPECT_TRUE(window->isVisible());
}

} // namespace
} // namespace brevio::test
