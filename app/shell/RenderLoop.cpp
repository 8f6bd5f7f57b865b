#include "shell/RenderLoop.h"

#include <QDir>

namespace brevio {

std::optional<QByteArray> RenderLoop::choose(const QStringList& renderNodes,
                                             const QByteArray& chosen) {
    if (!chosen.isEmpty() || !renderNodes.isEmpty())
        return std::nullopt;
    return QByteArrayLiteral("basic");
}

void RenderLoop::apply() {
    const QStringList nodes =
        QDir(QStringLiteral("/dev/dri")).entryList({QStringLiteral("renderD*")}, QDir::System);
    if (const auto loop = choose(nodes, qgetenv("QSG_RENDER_LOOP")))
        qputenv("QSG_RENDER_LOOP", *loop);
}

} // namespace brevio
