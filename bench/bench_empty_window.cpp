// The floor for start-up figures: a process that shows an empty Qt Quick window and says when its
// first frame is on screen.

#include <QGuiApplication>
#include <QQuickWindow>
#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    QQuickWindow window;
    window.resize(1100, 720);
    window.setColor(QColor(0xF6, 0xF7, 0xF9));
    bool reported = false;
    QObject::connect(&window, &QQuickWindow::frameSwapped, [&] {
        if (reported)
            return;
        reported = true;
        std::printf("frame empty\n");
        std::fflush(stdout);
    });
    window.show();
    return app.exec();
}
