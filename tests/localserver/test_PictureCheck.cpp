#include "ServerHarness.h"

#include "localserver/PictureCheck.h"

using namespace brevio;
using namespace brevio::test;

namespace {

// Written by Qt's own encoders (3×2 pixels; JPEG at quality 85 as the photo editor sends it).
const char png[] =
    "iVBORw0KGgoAAAANSUhEUgAAAAMAAAACCAIAAAASFvFNAAAACXBIWXMAAA7EAAAOxAGVKw4bAAAAFUlEQVQI"
    "mWM8oaHBwMDAwMDAxAADABSMARyjbDF7AAAAAElFTkSuQmCC";
const char jpeg[] =
    "/9j/4AAQSkZJRgABAQEAYABgAAD/2wBDAAUDBAQEAwUEBAQFBQUGBwwIBwcHBw8LCwkMEQ8SEhEPERETFhwXExQaFR"
    "ERGCEYGh0dHx8fExciJCIeJBweHx7/2wBDAQUFBQcGBw4ICA4eFBEUHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4e"
    "Hh4eHh4eHh4eHh4eHh4eHh4eHh4eHh7/wAARCAACAAMDASIAAhEBAxEB/8QAHwAAAQUBAQEBAQEAAAAAAAAAAAECAw"
    "QFBgcICQoL/8QAtRAAAgEDAwIEAwUFBAQAAAF9AQIDAAQRBRIhMUEGE1FhByJxFDKBkaEII0KxwRVS0fAkM2JyggkK"
    "FhcYGRolJicoKSo0NTY3ODk6Q0RFRkdISUpTVFVWV1hZWmNkZWZnaGlqc3R1dnd4eXqDhIWGh4iJipKTlJWWl5iZmq"
    "KjpKWmp6ipqrKztLW2t7i5usLDxMXGx8jJytLT1NXW19jZ2uHi4+Tl5ufo6erx8vP09fb3+Pn6/8QAHwEAAwEBAQEB"
    "AQEBAQAAAAAAAAECAwQFBgcICQoL/8QAtREAAgECBAQDBAcFBAQAAQJ3AAECAxEEBSExBhJBUQdhcRMiMoEIFEKRob"
    "HBCSMzUvAVYnLRChYkNOEl8RcYGRomJygpKjU2Nzg5OkNERUZHSElKU1RVVldYWVpjZGVmZ2hpanN0dXZ3eHl6goOE"
    "hYaHiImKkpOUlZaXmJmaoqOkpaanqKmqsrO0tba3uLm6wsPExcbHyMnK0tPU1dbX2Nna4uPk5ebn6Onq8vP09fb3+P"
    "n6/9oADAMBAAIRAxEAPwDz+iiivlD+gD//2Q==";
// 1×1 GIF (decoded by Qt's GIF reader) and a 1×1 lossless WebP.
const char gif[] = "R0lGODlhAQABAIAAAP///wAAACH5BAEAAAAALAAAAAABAAEAAAICRAEAOw==";
const char webp[] = "UklGRhoAAABXRUJQVlA4TA0AAAAvAAAAEAcQERGIiP4HAA==";

QByteArray bytes(const char* base64) {
    return QByteArray::fromBase64(base64);
}

QByteArray box(const char* type, const QByteArray& content) {
    QByteArray out;
    const quint32 size = quint32(content.size() + 8);
    out.append(char(size >> 24))
        .append(char(size >> 16))
        .append(char(size >> 8))
        .append(char(size));
    return out + type + content;
}

QByteArray heic(quint32 width, quint32 height) {
    QByteArray ispe(4, '\0');
    for (quint32 v : {width, height})
        ispe.append(char(v >> 24)).append(char(v >> 16)).append(char(v >> 8)).append(char(v));
    const QByteArray meta = QByteArray(4, '\0') + box("hdlr", QByteArray(24, '\0')) +
                            box("iprp", box("ipco", box("ispe", ispe)));
    return box("ftyp", QByteArray("heic") + QByteArray(4, '\0') + "mif1heic") + box("meta", meta) +
           box("mdat", QByteArray(16, 'x'));
}

} // namespace

TEST(PictureCheck, RecognisesRealPicturesOfEveryKindAndRefusesSignaturesWithoutASaneBody) {
    EXPECT_EQ(PictureCheck::pictureType(bytes(png)), "png");
    EXPECT_EQ(PictureCheck::pictureType(bytes(jpeg)), "jpeg");
    EXPECT_EQ(PictureCheck::pictureType(bytes(gif)), "gif");
    EXPECT_EQ(PictureCheck::pictureType(bytes(webp)), "webp");
    EXPECT_EQ(PictureCheck::pictureType(heic(640, 480)), "heic");

    QByteArray badCrc = bytes(png);
    badCrc[20] = char(badCrc[20] ^ 1); // inside IHDR
    QByteArray truncatedJpeg = bytes(jpeg);
    truncatedJpeg.chop(100);
    QByteArray zeroWidthGif = bytes(gif);
    zeroWidthGif[6] = zeroWidthGif[7] = 0;
    QByteArray shortRiff = bytes(webp);
    shortRiff.chop(4);
    const QByteArray refused[] = {
        QByteArray(),
        QByteArray("\x89PNG\r\n\x1a\n", 8),
        bytes(png).left(40),
        badCrc,
        truncatedJpeg,
        QByteArray("\xFF\xD8\xFF\xD9", 4),
        zeroWidthGif,
        shortRiff,
        heic(0, 480),
        heic(640, 480).left(60),
        QByteArray("GIF89a not really a picture"),
        QByteArray("<svg xmlns='http://www.w3.org/2000/svg'/>"),
    };
    for (const QByteArray& data : refused)
        EXPECT_FALSE(PictureCheck::pictureType(data)) << data.toHex().left(40).toStdString();
}

TEST(LocalServerAvatar, StoresRecognisedPicturesAndRefusesEverythingElse) {
    ServerHarness h;
    auto staff = h.signIn(h.email(QStringLiteral("Marta Ferri")));
    auto set = [&](std::optional<QString> image) {
        return staff.exchange(ClientFrame::setAvatar({QStringLiteral("a"), std::move(image)}));
    };
    auto frames = set(QString::fromLatin1(jpeg));
    ASSERT_EQ(frames.size(), 2u);
    ASSERT_TRUE(frames[0].as<UserEvent>()); // the record before the answer
    EXPECT_EQ(frames[0].as<UserEvent>()->user.avatar,
              QStringLiteral("data:image/jpeg;base64,") + QString::fromLatin1(jpeg));
    EXPECT_EQ(frames[1].type, ServerFrame::Type::ok);

    // Exactly at the size limit still passes the size check; one byte more does not.
    QByteArray atLimit = bytes(png);
    QByteArray tooBig = bytes(png);
    atLimit.append(QByteArray(LocalServer::maximumAvatarBytes - atLimit.size(), '\0'));
    tooBig.append(QByteArray(LocalServer::maximumAvatarBytes + 1 - tooBig.size(), '\0'));
    frames = set(QString::fromLatin1(atLimit.toBase64()));
    EXPECT_EQ(frames.back().type, ServerFrame::Type::ok);

    const std::string before = h.server.stateSnapshot();
    for (const QString& image :
         {QString::fromLatin1(tooBig.toBase64()), QStringLiteral("non è base64!"),
          QString::fromLatin1(QByteArray("solo testo").toBase64()),
          QStringLiteral("data:image/png;base64")}) {
        frames = set(image);
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(errorCode(frames[0]), "image_invalid");
    }
    EXPECT_EQ(h.server.stateSnapshot(), before);

    frames = set(QStringLiteral("data:image/gif;base64,") + QString::fromLatin1(gif));
    EXPECT_EQ(frames[0].as<UserEvent>()->user.avatar,
              QStringLiteral("data:image/gif;base64,") + QString::fromLatin1(gif));
    frames = set(QString());
    EXPECT_FALSE(frames[0].as<UserEvent>()->user.avatar);
}
