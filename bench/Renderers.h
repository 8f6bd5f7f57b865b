#pragma once

// The two ways Qt Quick draws here, as the benchmarks ask a child process for them: OpenGL (on
// Mesa's processor rasteriser where there is no GPU) and the software renderer, the program's own
// choice where there is no GPU. Each is asked for outright, so that the figures do not depend on
// what the program would choose on the machine at hand.

#include <QProcessEnvironment>

namespace brevio::bench {

enum class Renderer { opengl, software };
inline constexpr Renderer renderers[] = {Renderer::opengl, Renderer::software};

inline const char* rendererName(Renderer renderer) {
    return renderer == Renderer::software ? "software" : "opengl";
}

// What `environment` asks for `renderer` with, as a line for the figures.
inline const char* rendererSetting(Renderer renderer) {
    return renderer == Renderer::software ? "QT_QUICK_BACKEND=software" : "QSG_RHI_BACKEND=opengl";
}

inline void askFor(QProcessEnvironment& environment, Renderer renderer) {
    environment.remove(QStringLiteral("QT_QUICK_BACKEND"));
    environment.remove(QStringLiteral("QSG_RHI_BACKEND"));
    if (renderer == Renderer::software)
        environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    else
        environment.insert(QStringLiteral("QSG_RHI_BACKEND"), QStringLiteral("opengl"));
}

} // namespace brevio::bench
