#include "ui/login/WipedText.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::ui {

TEST(WipedText, IsOverwrittenInItsPlace) {
    QString text = unsharedCopy(QStringLiteral("my secret password"));
    const QChar* characters = text.constData();
    const auto size = text.size();
    wipe(text);
    EXPECT_TRUE(text.isEmpty());
    ASSERT_EQ(text.constData(), characters) << "the memory is still the text's own";
    EXPECT_TRUE(std::all_of(characters, characters + size, [](QChar each) { return each.isNull(); }));
}

TEST(WipedText, DoesNotOverwriteSharedMemory) {
    QString text = unsharedCopy(QStringLiteral("my secret password"));
    const QString other = text;
    wipe(text);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(other, QStringLiteral("my secret password"));
}

TEST(WipedText, CopiesWithoutSharedMemory) {
    const QString text = QStringLiteral("words");
    const auto copy = unsharedCopy(text);
    EXPECT_EQ(copy, text);
    EXPECT_NE(copy.constData(), text.constData());
    EXPECT_TRUE(copy.isDetached());
}

} // namespace sonvale::ui
