// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/argument_block.h"

#include <gtest/gtest.h>

#include <cstring>

namespace ondarix {
namespace {

std::optional<QStringList> Decode(const QByteArray& block) {
    return DecodeArgumentBlock(
        {reinterpret_cast<const uint8_t*>(block.constData()), static_cast<size_t>(block.size())});
}

QByteArray BlockWithCount(const char (&count)[5]) {
    QByteArray block(66564, '\0');
    std::memcpy(block.data(), count, 4);
    return block;
}

TEST(ArgumentBlock, LiesInMemoryAsTheReceiverExpects) {
    const QByteArray block = EncodeArgumentBlock({QStringLiteral("ab"), QStringLiteral("\u00e9"), QString()});
    ASSERT_EQ(block.size(), 66564);
    EXPECT_EQ(block.left(10), QByteArray("\x03\0\0\0a\0b\0\0\0", 10));
    EXPECT_EQ(block.mid(4 + 520, 4), QByteArray("\xe9\0\0\0", 4));
    EXPECT_EQ(block.mid(4 + 2 * 520), QByteArray(126 * 520, '\0'));
}

TEST(ArgumentBlock, HandsOverTheFirst128Of129) {
    QStringList sent;
    for (int i = 0; i < 129; ++i) sent.append(QStringLiteral("argument %1").arg(i));
    EXPECT_EQ(Decode(EncodeArgumentBlock(sent)), sent.mid(0, 128));
}

TEST(ArgumentBlock, CutsLongArgumentsWithoutSplittingACharacter) {
    const QString ascii(300, u'x');
    const QString astral = QString(258, u'x') + QString::fromUcs4(U"\U0001F3B5");  // 260 units
    const auto got = Decode(EncodeArgumentBlock({ascii, astral, QStringLiteral("next")}));
    ASSERT_TRUE(got);
    EXPECT_EQ((*got)[0], QString(259, u'x'));
    EXPECT_EQ((*got)[1], QString(258, u'x'));
    EXPECT_EQ((*got)[2], QStringLiteral("next"));
}

TEST(ArgumentBlock, RefusesOtherSizesAndCounts) {
    const QByteArray good = EncodeArgumentBlock({QStringLiteral("a")});
    EXPECT_FALSE(Decode({}));
    EXPECT_FALSE(Decode(good.left(66563)));
    EXPECT_FALSE(Decode(good + '\0'));
    EXPECT_FALSE(Decode(EncodeArgumentBlock({})));
    EXPECT_FALSE(Decode(BlockWithCount("\xff\xff\xff\xff")));
    EXPECT_EQ(Decode(BlockWithCount("\xff\xff\xff\x7f"))->size(), 128);
}

TEST(ArgumentBlock, AnEntryWithoutItsEndStopsAtTheNext) {
    QByteArray block = BlockWithCount("\x02\0\0\0");
    for (int i = 4; i < 4 + 520; i += 2) block[i] = 'x';
    block[4 + 520] = 'y';
    const auto got = Decode(block);
    ASSERT_TRUE(got);
    EXPECT_EQ((*got)[0], QString(259, u'x'));
    EXPECT_EQ((*got)[1], QStringLiteral("y"));
}

}  // namespace
}  // namespace ondarix
