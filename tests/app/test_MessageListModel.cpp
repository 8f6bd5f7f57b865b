// The message list: rows newest first, updated by diffing identities, and the bubble's HTML.

#include "views/MessageListModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace brevio::test {
namespace {

const QDateTime base = QDateTime::fromString(QStringLiteral("2026-03-14T09:00:00Z"), Qt::ISODate);

TimelineEntry message(const QString& id, qint64 seq, const QString& text,
                      const QString& author = QStringLiteral("u-other")) {
    TimelineEntry e;
    e.kind = TimelineEntry::Kind::message;
    e.message.id = id;
    e.message.clientID = id;
    e.message.seq = seq;
    e.message.text = text;
    e.message.authorID = author;
    e.message.date = base.addSecs(seq * 60);
    return e;
}

QString name(const QString& id) {
    return id == QStringLiteral("u-other") ? QStringLiteral("Marta") : QStringLiteral("Utente");
}

QStringList ids(const MessageListModel& model) {
    QStringList list;
    for (int i = 0; i < model.rowCount(); ++i)
        list.append(model.rowID(i));
    return list;
}

struct ListFixture : ::testing::Test {
    ListFixture() : tester(&model, QAbstractItemModelTester::FailureReportingMode::Warning) {}
    void set(const QList<TimelineEntry>& rows) { model.setRows(rows, name, base.addDays(1)); }

    MessageListModel model;
    QAbstractItemModelTester tester;
    QSignalSpy inserted{&model, &QAbstractItemModel::rowsInserted};
    QSignalSpy removed{&model, &QAbstractItemModel::rowsRemoved};
    QSignalSpy changed{&model, &QAbstractItemModel::dataChanged};
    QSignalSpy resets{&model, &QAbstractItemModel::modelReset};
    QSignalSpy newest{&model, &MessageListModel::newestInserted};
};

TEST_F(ListFixture, ANewMessageIsOneRowAtTheNewestEndAndAnOlderPageLandsAtTheFarEnd) {
    set({TimelineEntry::dayEntry(base), message("m2", 2, "due"), message("m3", 3, "tre")});
    EXPECT_EQ(ids(model), QStringList({"msg:m3", "msg:m2", "day:2026-03-14"}));
    EXPECT_EQ(newest.count(), 0); // the first rows are not "new"
    inserted.clear();

    set({TimelineEntry::dayEntry(base), message("m2", 2, "due"), message("m3", 3, "tre"),
         message("m4", 4, "quattro")});
    ASSERT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 0);
    EXPECT_EQ(inserted[0][2].toInt(), 0);
    ASSERT_EQ(newest.count(), 1);
    EXPECT_EQ(newest[0][0].toInt(), 1);

    // An older page: the day separator moves up, above the new oldest messages.
    inserted.clear();
    set({TimelineEntry::dayEntry(base), message("m1", 1, "uno"), message("m2", 2, "due"),
         message("m3", 3, "tre"), message("m4", 4, "quattro")});
    EXPECT_EQ(ids(model), QStringList({"msg:m4", "msg:m3", "msg:m2", "msg:m1", "day:2026-03-14"}));
    ASSERT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 3);
    EXPECT_EQ(newest.count(), 1);
    EXPECT_EQ(resets.count(), 0);
}

TEST_F(ListFixture, AnEditChangesOneRowAndAnAcceptedMessageReplacesItsOutboxRow) {
    TimelineEntry pending = message("c-1", 0, "ciao", "u-me");
    pending.message.isMine = true;
    set({message("m1", 1, "uno"), pending});
    EXPECT_EQ(ids(model), QStringList({"out:c-1", "msg:m1"}));
    inserted.clear();

    TimelineEntry edited = message("m1", 1, "uno, corretto");
    edited.message.isEdited = true;
    TimelineEntry accepted = message("m2", 2, "ciao", "u-me");
    accepted.message.isMine = true;
    set({edited, accepted});
    EXPECT_EQ(ids(model), QStringList({"msg:m2", "msg:m1"}));
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(inserted.count(), 1);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].value<QModelIndex>().row(), 1);
    EXPECT_EQ(model.data(model.index(1), MessageListModel::TextRole), "uno, corretto");
    EXPECT_EQ(newest.count(), 0); // one's own message is not news
    EXPECT_EQ(resets.count(), 0);

    // Nothing different: nothing signalled.
    changed.clear();
    set({edited, accepted});
    EXPECT_EQ(changed.count(), 0);
}

TEST_F(ListFixture, RowsCarryTheTextsTheBubbleShows) {
    TimelineEntry quoted = message("m2", 2, "sì", "u-me");
    quoted.message.isMine = true;
    quoted.message.quote = QuotedMessage{1, "u-other", "domanda", true};
    TimelineEntry deleted = message("m3", 3, "", "u-other");
    deleted.message.isDeleted = true;
    set({TimelineEntry::unreadEntry(2), quoted, deleted});
    const auto value = [&](int row, int role) { return model.data(model.index(row), role); };
    EXPECT_EQ(value(2, MessageListModel::SeparatorRole), "2 messaggi non letti");
    const QVariantMap quote = value(1, MessageListModel::QuoteRole).toMap();
    EXPECT_EQ(quote["title"], "Risposta a Marta");
    EXPECT_EQ(quote["text"], "messaggio eliminato");
    EXPECT_EQ(quote["seq"], "1");
    EXPECT_EQ(value(0, MessageListModel::DeletedTextRole), "Messaggio eliminato");
    EXPECT_EQ(value(1, MessageListModel::DeletedTextRole), "Hai eliminato questo messaggio");
    EXPECT_EQ(model.rowOfSeq(2), 1);
}

TEST(MessageRichText, EscapesLinksLineBreaksAndHighlights) {
    const MessageListModel::TextStyle style{"#ff0", "#111", "#00f", "#fff"};
    // Plain text, nothing to mark up: no HTML at all, the bubble shows the text as it is.
    EXPECT_EQ(MessageListModel::richText("<b>a & b</b>\nc", {}, style, false), "");
    EXPECT_EQ(MessageListModel::richText("<b>a & b</b>\nc", "zz", style, false), "");
    EXPECT_EQ(MessageListModel::richText("<b>a & b</b>\nc", "c", style, false),
              "&lt;b&gt;a &amp; b&lt;/b&gt;<br><span "
              "style=\"color:#111;background-color:#ff0\">c</span>");
    // Links take the colour of the bubble they are in.
    EXPECT_EQ(MessageListModel::richText("vedi www.esempio.it.", {}, style, false),
              "vedi <a style=\"color:#00f\" href=\"https://www.esempio.it\">www.esempio.it</a>.");
    EXPECT_EQ(MessageListModel::richText("https://a.it", {}, style, true),
              "<a style=\"color:#fff\" href=\"https://a.it\">https://a.it</a>");
    // A match that runs out of a link is closed with the link and opened again after it.
    EXPECT_EQ(MessageListModel::richText("http://a.it/x y", "x y", style, false),
              "<a style=\"color:#00f\" href=\"http://a.it/x\">http://a.it/"
              "<span style=\"color:#111;background-color:#ff0\">x</span></a>"
              "<span style=\"color:#111;background-color:#ff0\"> y</span>");
    EXPECT_EQ(MessageListModel::richText("Perché", "perche", style, false),
              "<span style=\"color:#111;background-color:#ff0\">Perché</span>");
}

} // namespace
} // namespace brevio::test
