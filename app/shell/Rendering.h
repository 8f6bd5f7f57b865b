#pragma once

#include <QByteArray>
#include <QStringList>

namespace brevio {

// How the windows are drawn on this machine.
//
// With a GPU, Qt Quick's own choice. Without one, Qt Quick would draw through OpenGL on Mesa's
// processor rasteriser; its software renderer draws the same screens with a fraction of the work
// (measured on two cores: scrolling a long conversation, a frame's drawing 2-3 ms against 6-10,
// and half the memory), so it draws them, on the main thread. Whoever asked for a renderer or a
// render loop keeps it: without a GPU, OpenGL asked for still renders on the main thread, since a
// render thread beside Mesa's own threads (one per core) only adds contention.
//
// Text is drawn as the desktop draws it, hinted and at the screen's pixels, with both renderers.
class Rendering {
public:
    struct Settings {
        QByteArray backend;    // QT_QUICK_BACKEND
        QByteArray rhiBackend; // QSG_RHI_BACKEND
        QByteArray loop;       // QSG_RENDER_LOOP
    };
    struct Choice {
        bool software = false; // Qt Quick's software renderer
        QByteArray loop;       // the render loop to ask for; empty: none
        bool operator==(const Choice&) const = default;
    };

    // Whether this machine has a GPU: `devices` holds the names in /dev/dri and /dev (a render
    // node renderD*, or the proprietary driver's nvidia0).
    static bool hasGpu(const QStringList& devices);
    static Choice choose(bool gpu, const Settings& settings);
    // Looks at this machine and its settings and makes the choice. Call it before the
    // application object is made.
    static void apply();
};

} // namespace brevio
