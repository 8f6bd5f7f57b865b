#include "views/ProfilePhotoEditor.h"
#include "views/AppBinding.h"

#include "media/PhotoPreparation.h"
#include "shell/AppModel.h"

namespace brevio {

ProfilePhotoEditor::ProfilePhotoEditor(QObject* parent) : QObject(parent) {}

void ProfilePhotoEditor::setApp(AppModel* app) {
    if (app_ == app)
        return;
    sessionReplaced(); // what was under way belonged to the model left
    rebindApp(this, app_, app);
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &ProfilePhotoEditor::userChanged);
        connect(app_, &AppModel::sessionReplaced, this, &ProfilePhotoEditor::sessionReplaced);
    }
    Q_EMIT appChanged();
    Q_EMIT userChanged();
}

void ProfilePhotoEditor::setPicking(bool picking) {
    if (picking == picking_)
        return;
    picking_ = picking;
    Q_EMIT pickingChanged();
}

QString ProfilePhotoEditor::userID() const {
    if (!app_)
        return {};
    const auto& me = app_->session().state().me;
    return me ? me->id : QString();
}

QString ProfilePhotoEditor::userName() const {
    return app_ ? app_->userName() : QString();
}

QString ProfilePhotoEditor::photo() const {
    if (!app_)
        return {};
    const auto& me = app_->session().state().me;
    return me && me->avatar ? *me->avatar : QString();
}

void ProfilePhotoEditor::choose(const QUrl& file) {
    if (working_ || !app_)
        return;
    setError(std::nullopt);
    if (!file.isLocalFile()) {
        setError(PhotoPreparation::unreadableText());
        return;
    }
    setWorking(true);
    const quint64 attempt = ++attempt_;
    PhotoPreparation::start(file.toLocalFile(), this,
                            [this, attempt](const PhotoPreparation::Result& result) {
                                if (attempt != attempt_)
                                    return;
                                if (!result) {
                                    setError(result.error());
                                    setWorking(false);
                                    return;
                                }
                                send(QString::fromLatin1(result->toBase64()), attempt);
                            });
}

void ProfilePhotoEditor::remove() {
    if (working_ || !app_)
        return;
    setError(std::nullopt);
    setWorking(true);
    send(std::nullopt, ++attempt_);
}

void ProfilePhotoEditor::send(std::optional<QString> image, quint64 attempt) {
    if (!app_) {
        setWorking(false);
        return;
    }
    QPointer<ProfilePhotoEditor> self(this);
    app_->session().setAvatar(std::move(image),
                              [self, attempt](std::expected<void, ChatError> result) {
                                  if (!self || attempt != self->attempt_)
                                      return;
                                  if (!result)
                                      self->setError(result.error().description());
                                  self->setWorking(false);
                              });
}

void ProfilePhotoEditor::sessionReplaced() {
    // The old session takes its pending answer with it.
    ++attempt_;
    setWorking(false);
    Q_EMIT userChanged();
}

void ProfilePhotoEditor::setWorking(bool working) {
    if (working == working_)
        return;
    working_ = working;
    Q_EMIT workingChanged();
}

void ProfilePhotoEditor::setError(std::optional<QString> error) {
    if (error == error_)
        return;
    error_ = std::move(error);
    Q_EMIT errorChanged();
}

} // namespace brevio
