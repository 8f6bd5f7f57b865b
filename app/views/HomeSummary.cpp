#include "views/HomeSummary.h"

#include "shell/AppModel.h"

#include <algorithm>

namespace brevio {

HomeSummary::HomeSummary(QObject* parent) : QObject(parent) {}

void HomeSummary::setApp(AppModel* app) {
    if (app_ == app)
        return;
    if (app_)
        disconnect(app_, nullptr, this, nullptr);
    app_ = app;
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &HomeSummary::rebuild);
        connect(app_, &AppModel::selectionChanged, this, &HomeSummary::rebuild);
        connect(app_, &AppModel::sessionReplaced, this, &HomeSummary::rebuild);
    }
    rebuild();
    Q_EMIT appChanged();
}

void HomeSummary::rebuild() {
    conversations_.clear();
    if (!app_) {
        Q_EMIT changed();
        return;
    }
    const ChatState& state = app_->session().state();

    QList<const Conversation*> sorted;
    for (const Conversation& c : state.conversations)
        sorted.append(&c);
    const auto lastDate = [](const Conversation* c) {
        return c->lastMessage ? c->lastMessage->sentAt : QDateTime();
    };
    std::sort(sorted.begin(), sorted.end(), [&](const Conversation* a, const Conversation* b) {
        if (lastDate(a) != lastDate(b))
            return lastDate(a) > lastDate(b);
        return a->title.localeAwareCompare(b->title) < 0;
    });
    for (const Conversation* c : sorted) {
        conversations_.append(QVariantMap{
            {QStringLiteral("id"), c->id},
            {QStringLiteral("title"), c->title},
            {QStringLiteral("preview"), c->lastMessage ? c->lastMessage->text : QString()},
            {QStringLiteral("unread"), state.unreadCount(c->id)},
        });
    }
    Q_EMIT changed();
}

} // namespace brevio
