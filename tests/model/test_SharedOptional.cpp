#include "model/Records.h"

#include <gtest/gtest.h>

using namespace brevio;

TEST(SharedOptionalTest, CopiesShareUntilOneChangesAndCompareByValue) {
    ChatMessage original;
    original.reply = QuotedMessage{1, "u-1", "prima", false};
    ChatMessage copy = original;
    EXPECT_EQ(&*std::as_const(copy).reply, &*std::as_const(original).reply); // one value, shared

    copy.reply->text = "cambiata";
    EXPECT_EQ(original.reply->text, "prima"); // the change stays in the copy
    EXPECT_EQ(copy.reply->text, "cambiata");
    EXPECT_NE(copy, original);
    copy.reply->text = "prima";
    EXPECT_EQ(copy, original); // equal values, separate storage

    // Absent, and present with a default value, are different, also to the hash.
    ChatMessage bare, defaulted;
    defaulted.reply = QuotedMessage{};
    EXPECT_NE(bare, defaulted);
    EXPECT_NE(qHash(bare, 0), qHash(defaulted, 0));
    EXPECT_EQ(bare.reply, std::nullopt);
    EXPECT_EQ(defaulted.reply, std::optional(QuotedMessage{}));
    defaulted.reply.reset();
    EXPECT_EQ(bare, defaulted);

    // Smaller than the value it stands for: that is the point of it.
    EXPECT_LT(sizeof(SharedOptional<QuotedMessage>), sizeof(std::optional<QuotedMessage>));
}
