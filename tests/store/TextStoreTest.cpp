// A table's text is held apart from its rows: the bytes of the file it read, and what was set
// since. A table whose rows are edited over and over keeps every value right while the text
// replaced by the edits is let go.
#include <gtest/gtest.h>

#include <string>

#include "store/MemData.h"
#include "store/Tables.h"

namespace {

TEST(TextStoreTest, AMailEditedOverAndOverKeepsEveryTextRight) {
    auto emails = MakeTable("Emails");
    emails->Open();
    for (int i = 0; i < 3; ++i) {
        emails->Append();
        emails->FieldByName("Subject").SetAsString("Mail " + std::to_string(i));
        emails->FieldByName("Text").SetAsString(std::string(100, static_cast<char>('a' + i)));
        emails->Post();
    }
    std::string bytes;
    emails->SaveToStream(bytes);
    emails->LoadFromStream(bytes);  // the texts now lie in the bytes read

    // Some hundred megabytes of bodies written over the second mail, one after the other.
    const std::string big(1 << 20, 'x');
    for (int i = 0; i < 150; ++i) {
        ASSERT_TRUE(emails->Locate("Subject", Variant("Mail 1")));
        emails->Edit();
        emails->FieldByName("Text").SetAsString(big.substr(0, big.size() - static_cast<size_t>(i)));
        emails->Post();
    }
    // And an edit of another field after it.
    ASSERT_TRUE(emails->Locate("Subject", Variant("Mail 0")));
    emails->Edit();
    emails->FieldByName("Subject").SetAsString("Mail 0, edited");
    emails->Post();

    emails->First();
    EXPECT_EQ(emails->FieldByName("Subject").AsString(), "Mail 0, edited");
    EXPECT_EQ(emails->FieldByName("Text").AsString(), std::string(100, 'a'));
    emails->Next();
    EXPECT_EQ(emails->FieldByName("Text").AsString().size(), big.size() - 149);
    emails->Next();
    EXPECT_EQ(emails->FieldByName("Subject").AsString(), "Mail 2");
    EXPECT_EQ(emails->FieldByName("Text").AsString(), std::string(100, 'c'));
}

}  // namespace
