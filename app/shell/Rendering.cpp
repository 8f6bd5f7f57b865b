#include "shell/Rendering.h"

#include <QDir>
#include <QQuickWindow>
#include <QSGRendererInterface>

namespace brevio {

bool Rendering::hasGpu(const QStringList& devices) {
    return std::any_of(devices.cbegin(), devices.cend(), [](const QString& name) {
        return name.startsWith(QLatin1String("renderD")) || name == QLatin1String("nvidia0");
    });
}

Rendering::Choice Rendering::choose(bool gpu, const Settings& settings) {
    Choice choice;
    if (gpu)
        return choice;
    const bool rendererChosen = !settings.backend.isEmpty() || !settings.rhiBackend.isEmpty();
    choice.software = !rendererChosen;
    if (rendererChosen && settings.loop.isEmpty())
        choice.loop = QByteArrayLiteral("basic");
    return choice;
}

void Rendering::apply() {
    QStringList devices =
        QDir(QStringLiteral("/dev/dri")).entryList({QStringLiteral("renderD*")}, QDir::System);
    if (QFileInfo::exists(QStringLiteral("/dev/nvidia0")))
        devices << QStringLiteral("nvidia0");
    const Choice choice =
        choose(hasGpu(devices), {qgetenv("QT_QUICK_BACKEND"), qgetenv("QSG_RHI_BACKEND"),
                                 qgetenv("QSG_RENDER_LOOP")});
    if (choice.software)
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    if (!choice.loop.isEmpty())
        qputenv("QSG_RENDER_LOOP", choice.loop);
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
}

} // namespace brevio
