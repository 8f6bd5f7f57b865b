#pragma once

#include "media/PhotoReference.h"

#include <QImage>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace brevio {

// A user's photo drawn as a circle filling the item, loaded through the application's shared
// PhotoCache from the reference the user's record carries. Until the photo is here (and when there
// is none, or it cannot be had) it draws nothing and `ready` is false, so the view shows the
// initials.
class AvatarImage : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT

    // The photo reference: inline data, a web address or a path on the chat server; empty: none.
    Q_PROPERTY(QString reference READ reference WRITE setReference NOTIFY referenceChanged)
    // The chat server's address, for references that are paths on it.
    Q_PROPERTY(
        QString serverOrigin READ serverOrigin WRITE setServerOrigin NOTIFY serverOriginChanged)
    Q_PROPERTY(bool ready READ ready NOTIFY readyChanged)
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged)

public:
    explicit AvatarImage(QQuickItem* parent = nullptr);

    QString reference() const { return reference_; }
    void setReference(const QString& reference);
    QString serverOrigin() const { return serverOrigin_; }
    void setServerOrigin(const QString& origin);
    bool ready() const { return !image_.isNull(); }
    bool loading() const { return loading_; }

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void referenceChanged();
    void serverOriginChanged();
    void readyChanged();
    void loadingChanged();

private:
    void reload();
    void show(const QImage& image);
    void setLoading(bool loading);

    QString reference_;
    QString serverOrigin_;
    PhotoSource source_;
    QImage image_;
    // image_ as last drawn: its square at the item's size in pixels.
    QImage drawn_;
    qint64 drawnFrom_ = 0;
    bool loading_ = false;
    quint64 request_ = 0;
};

} // namespace brevio
