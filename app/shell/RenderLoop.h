#pragma once

#include <QByteArray>
#include <QStringList>
#include <optional>

namespace brevio {

// Which thread renders the windows. Qt Quick renders on a thread of its own where OpenGL allows
// it; without a GPU, Mesa rasterises on the processor with a thread per core, and a render thread
// beside them and the main thread only adds contention: measured on two cores, scrolling a long
// conversation missed 16 ms in a fifth of the frames with the render thread and in almost none
// without it. So without a GPU the main thread renders.
class RenderLoop {
public:
    // The loop to ask for, or nothing to leave Qt's choice: "basic" when no GPU render node is
    // present (`renderNodes`, the names of /dev/dri's renderD* entries) and nobody has chosen a
    // loop already (`chosen`, the QSG_RENDER_LOOP setting).
    static std::optional<QByteArray> choose(const QStringList& renderNodes,
                                            const QByteArray& chosen);
    // Looks at this machine and sets QSG_RENDER_LOOP when choose() says so. Call it before the
    // first window is made.
    static void apply();
};

} // namespace brevio
