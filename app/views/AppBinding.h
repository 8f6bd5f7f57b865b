#pragma once

#include "shell/AppModel.h"

#include <QPointer>

namespace brevio {

// A view model follows one AppModel at a time: this forgets the old one's signals and takes the
// new one, whose signals the caller then connects. False when `app` is already the one followed.
inline bool rebindApp(QObject* self, QPointer<AppModel>& followed, AppModel* app) {
    if (followed == app)
        return false;
    if (followed)
        QObject::disconnect(followed, nullptr, self, nullptr);
    followed = app;
    return true;
}

} // namespace brevio
