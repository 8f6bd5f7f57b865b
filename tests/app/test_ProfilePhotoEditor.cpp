#include "AppWorld.h"
#include "media/PhotoPreparation.h"
#include "media/PhotoSamples.h"
#include "support/EventLoopWait.h"
#include "views/ProfilePhotoEditor.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThreadPool>
#include <gtest/gtest.h>

namespace brevio::test {
namespace {

class ProfilePhotoEditorTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        world.signIn(Role::client);
        editor.setApp(world.model.get());
    }

    QUrl file(const QString& name, const QByteArray& bytes) {
        QFile out(dir.filePath(name));
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
        return QUrl::fromLocalFile(out.fileName());
    }
    // Preparation runs on a worker thread; the server answers through the virtual clock.
    bool finishes() {
        return waitUntil([&] {
            world.advance(Duration::zero());
            return !editor.working();
        });
    }
    std::optional<QString> storedAvatar() const {
        const auto& me = world.model->session().state().me;
        return me ? me->avatar : std::nullopt;
    }

    QTemporaryDir dir;
    AppWorld world;
    ProfilePhotoEditor editor;
};

TEST_F(ProfilePhotoEditorTest, AChosenPhotoIsSentUprightSquareAndShownAsTheUsersPhoto) {
    EXPECT_EQ(editor.userID(), world.model->session().state().me->id);
    EXPECT_EQ(editor.userName(), world.model->userName());
    EXPECT_FALSE(editor.hasPhoto());
    QSignalSpy user(&editor, &ProfilePhotoEditor::userChanged);

    // A portrait from a camera: stored lying down, EXIF orientation 6.
    editor.choose(file("portrait.jpg", withOrientation(encoded(quarters(300, 600), "JPEG"), 6)));
    EXPECT_TRUE(editor.working());
    EXPECT_TRUE(editor.errorText().isEmpty());
    ASSERT_TRUE(finishes());
    EXPECT_TRUE(editor.errorText().isEmpty()) << editor.errorText().toStdString();

    const auto avatar = storedAvatar();
    ASSERT_TRUE(avatar.has_value());
    const QString prefix = QStringLiteral("data:image/jpeg;base64,");
    ASSERT_TRUE(avatar->startsWith(prefix)) << avatar->left(40).toStdString();
    const QImage sent =
        QImage::fromData(QByteArray::fromBase64(avatar->mid(prefix.size()).toLatin1()));
    ASSERT_EQ(sent.size(), QSize(512, 512));
    EXPECT_TRUE(sameCorners(cornersOf(sent), turned(1)));
    EXPECT_TRUE(editor.hasPhoto());
    EXPECT_EQ(editor.photo(), *avatar);
    EXPECT_GE(user.count(), 1);

    // Removing it clears it on the server and here.
    editor.remove();
    EXPECT_TRUE(editor.working());
    ASSERT_TRUE(finishes());
    EXPECT_FALSE(storedAvatar().has_value());
    EXPECT_FALSE(editor.hasPhoto());
    EXPECT_TRUE(editor.errorText().isEmpty());
}

TEST_F(ProfilePhotoEditorTest, APictureThatCannotBeReadShowsWhyAndKeepsThePhoto) {
    editor.choose(file("photo.png", encoded(quarters(64, 64), "PNG")));
    ASSERT_TRUE(finishes());
    const auto before = storedAvatar();
    ASSERT_TRUE(before.has_value());

    QSignalSpy errors(&editor, &ProfilePhotoEditor::errorChanged);
    editor.choose(file("holiday.heic", QByteArray("\0\0\0\x18"
                                                  "ftypheic",
                                                  12) +
                                           "not really"));
    ASSERT_TRUE(finishes());
    EXPECT_EQ(editor.errorText(), PhotoPreparation::unreadableText());
    EXPECT_EQ(storedAvatar(), before);
    EXPECT_EQ(errors.count(), 1);

    // Not a file on this computer: the same text, at once.
    editor.choose(QUrl("https://example.com/me.jpg"));
    EXPECT_FALSE(editor.working());
    EXPECT_EQ(editor.errorText(), PhotoPreparation::unreadableText());

    // The next good choice clears the error.
    editor.choose(file("other.png", encoded(quarters(32, 32), "PNG")));
    EXPECT_TRUE(editor.errorText().isEmpty());
    ASSERT_TRUE(finishes());
    EXPECT_NE(storedAvatar(), before);
}

TEST_F(ProfilePhotoEditorTest, OneOperationAtATimeAndTheSessionsRefusalIsShown) {
    editor.choose(file("a.png", encoded(quarters(32, 32), "PNG")));
    ASSERT_TRUE(editor.working());
    editor.remove(); // ignored while working
    ASSERT_TRUE(finishes());
    EXPECT_TRUE(storedAvatar().has_value());

    // Signed out, the session cannot take it: its reason is shown, nothing hangs.
    world.model->signOut();
    world.advance(std::chrono::seconds(5));
    editor.remove();
    ASSERT_TRUE(finishes());
    EXPECT_FALSE(editor.errorText().isEmpty());
}

TEST_F(ProfilePhotoEditorTest, ADemoReplacingTheSessionEndsTheWaitQuietly) {
    editor.choose(file("a.png", encoded(quarters(32, 32), "PNG")));
    ASSERT_TRUE(editor.working());
    world.model->startDemo(false);
    EXPECT_FALSE(editor.working());
    // The preparation still finishes; its answer belongs to the old session and is dropped.
    QThreadPool::globalInstance()->waitForDone();
    world.advance(std::chrono::seconds(1));
    EXPECT_FALSE(editor.working());
    EXPECT_TRUE(editor.errorText().isEmpty());
}

} // namespace
} // namespace brevio::test
