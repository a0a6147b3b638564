// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/lsdf.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <functional>

namespace ondarix {
namespace {

constexpr uint32_t kKind = 43;

QByteArray FileBytes(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

// Owns its bytes, in a block of just their size so that one byte too many is seen.
class OwnedBytes final : public LByteSource {
  public:
    explicit OwnedBytes(const QByteArray& bytes) : bytes_(bytes.begin(), bytes.end()), source_(bytes_) {}
    int64_t ReadAt(int64_t offset, void* dest, int64_t bytes) override {
        return source_.ReadAt(offset, dest, bytes);
    }
    int64_t Size() override { return source_.Size(); }

  private:
    const std::vector<uint8_t> bytes_;
    LMemoryBytes source_;
};

std::unique_ptr<LLsdfReader> ReaderOver(const QByteArray& bytes) {
    return std::make_unique<LLsdfReader>(std::make_shared<OwnedBytes>(bytes), kKind);
}

// Every chunk as one line, groups indented: two walks that see the same give the same text.
QString Dump(LLsdfReader& reader, int depth = 0) {
    QString text;
    while (const auto chunk = reader.Next()) {
        text += QString(depth, QLatin1Char(' ')) + QStringLiteral("%1/%2 ").arg(chunk->id).arg(chunk->type);
        if (const auto value = reader.Bool()) text += *value ? u'T' : u'F';
        if (const auto value = reader.U32()) text += QString::number(*value);
        if (const auto value = reader.I64()) text += QString::number(*value);
        if (const auto value = reader.F32()) text += QString::number(static_cast<double>(*value));
        if (const auto value = reader.Text()) text += *value;
        if (chunk->type == 7) text += QString::fromLatin1(reader.Bytes(0, 1 << 20).toHex());
        text += QLatin1Char('\n');
        if (reader.Enter()) {
            text += Dump(reader, depth + 1);
            reader.Leave();
        }
    }
    return text;
}

class Lsdf : public ::testing::Test {
  protected:
    QByteArray Written(const std::function<void(LLsdfWriter&)>& fill) {
        LLsdfWriter writer(Path(), kKind, 7);
        fill(writer);
        writer.Close();
        EXPECT_FALSE(writer.Failed());
        return FileBytes(Path());
    }
    static void FillWithEverything(LLsdfWriter& writer) {
        writer.PutU32(16, 48000);
        writer.Open(80);
        writer.PutText(81, QStringLiteral("/tmp/über.wav"));
        writer.PutI64(83, int64_t{1} << 40);
        writer.Open(900);
        writer.CloseChunk();  // an empty group is no end of the data
        writer.PutI32As64(9, -5);
        writer.CloseChunk();
        writer.PutF32(3, 0.5f);
        writer.PutBool(4, true);
        writer.PutBytes(5, QByteArray(20000, 'x'));
        writer.PutU32(84, 12345);
    }
    QString Path() const { return folder_.filePath(QStringLiteral("file.lsdf")); }
    QTemporaryDir folder_;
};

// The layout byte by byte, so that reader and writer cannot agree on the same mistake.
TEST_F(Lsdf, WritesThePublishedLayout) {
    const QByteArray bytes = Written([](LLsdfWriter& writer) {
        writer.Open(80);
        writer.PutU32(82, 0x01020304);
        writer.CloseChunk();
        writer.PutText(81, QStringLiteral("ab"));
    });
    const QByteArray expected = QByteArray::fromHex(
        "6c736466"
        "0100"
        "2b000000"
        "0700"
        "0000"
        "0000"
        "2b00000000000000"
        "5000"
        "0000"
        "1000000000000000"
        "5200"
        "0200"
        "0400000000000000"
        "04030201"
        "5100"
        "0600"
        "0300000000000000"
        "616200"
        "6c736466");
    EXPECT_EQ(bytes.toHex(), expected.toHex());
}

TEST_F(Lsdf, GivesBackEveryTypeAndSkipsWhatIsNotEntered) {
    const QByteArray bytes = Written(FillWithEverything);
    const auto reader = ReaderOver(bytes);
    EXPECT_EQ(reader->FormatVersion(), 7);
    const QString all = Dump(*reader);
    EXPECT_TRUE(all.contains(
        QStringLiteral(" 81/6 /tmp/über.wav\n 83/3 1099511627776\n 900/0 \n 9/9 -5\n3/4 0.5\n4/1 T")));
    EXPECT_TRUE(all.endsWith(QStringLiteral("84/2 12345\n")));

    const auto flat = ReaderOver(bytes);
    QList<int> ids;
    while (const auto chunk = flat->Next()) ids.push_back(chunk->id);
    EXPECT_EQ(ids, (QList<int>{16, 80, 3, 4, 5, 84}));
}

TEST_F(Lsdf, AppendsChildrenToTheRootOfAFinishedFile) {
    Written(FillWithEverything);
    const QString before = Dump(*ReaderOver(FileBytes(Path())));
    const auto writer = LLsdfWriter::Append(Path(), kKind);
    writer->PutU32(87, 1);
    writer->Close();
    ASSERT_FALSE(writer->Failed());
    const QByteArray bytes = FileBytes(Path());
    EXPECT_EQ(Dump(*ReaderOver(bytes)), before + QStringLiteral("87/2 1\n"));
    EXPECT_TRUE(bytes.endsWith("lsdf"));
    EXPECT_TRUE(LLsdfWriter::Append(folder_.filePath(QStringLiteral("none")), kKind)->Failed());
}

TEST_F(Lsdf, CutsLongTextAndNeverOverreadsIt) {
    const QByteArray bytes = Written([](LLsdfWriter& writer) { writer.PutText(1, QString(3000, u'é')); });
    const auto reader = ReaderOver(bytes);
    reader->Next();
    EXPECT_EQ(reader->Text(), QString(259, u'é'));
}

// What a crash leaves: the root's size is still 0. Everything complete before the cut is found, nothing else.
TEST_F(Lsdf, AFileCutAnywhereGivesThePrefixOfWhatItHeld) {
    QByteArray bytes = Written(FillWithEverything);
    const QString whole = Dump(*ReaderOver(bytes));
    std::memset(bytes.data() + 16, 0, 8);
    for (qsizetype length = 0; length < bytes.size() - 4; length += length < 400 ? 1 : 997) {
        const auto reader = ReaderOver(bytes.left(length));
        EXPECT_EQ(reader->IsValid(), length >= 28) << length;
        const QStringList seen = Dump(*reader).split(QLatin1Char('\n'));
        const QStringList complete = seen.mid(0, seen.size() - 2);  // the chunk at the cut may be short
        EXPECT_TRUE(whole.startsWith(complete.join(QLatin1Char('\n')))) << length;
    }
}

// A finished file that lost its end in a copy: sizes reach beyond the file and are clipped.
TEST_F(Lsdf, AFinishedFileThatIsCutGivesAPrefixToo) {
    const QByteArray bytes = Written([](LLsdfWriter& writer) {
        writer.Open(80);
        writer.Open(900);
        writer.CloseChunk();
        writer.PutText(81, QStringLiteral("/a/b.wav"));
        writer.CloseChunk();
        writer.PutU32(84, 12345);
    });
    const QString whole = Dump(*ReaderOver(bytes));
    for (qsizetype length = 28; length < bytes.size(); ++length) {
        const QStringList seen = Dump(*ReaderOver(bytes.left(length))).split(QLatin1Char('\n'));
        EXPECT_TRUE(whole.startsWith(seen.mid(0, seen.size() - 2).join(QLatin1Char('\n')))) << length;
    }
}

TEST_F(Lsdf, ACloseTooManyLeavesTheRootOpenAndAnyKindIsTakenWhenAsked) {
    const QByteArray bytes = Written([](LLsdfWriter& writer) {
        writer.CloseChunk();
        writer.PutU32(1, 2);
        writer.CloseChunk();
    });
    EXPECT_TRUE(bytes.endsWith("lsdf"));
    EXPECT_EQ(Dump(*ReaderOver(bytes)), QStringLiteral("1/2 2\n"));
    const auto file = std::make_shared<LFileBytes>(Path());
    EXPECT_TRUE(LLsdfReader(file, kLsdfAnyKind).IsValid());
    EXPECT_FALSE(LLsdfReader(file, kKind + 1).IsValid());
}

TEST_F(Lsdf, AnOpenGroupEndsTheData) {
    QByteArray bytes = Written([](LLsdfWriter& writer) {
        writer.PutU32(16, 1);
        writer.Open(80);
        writer.PutU32(82, 2);
        writer.CloseChunk();
        writer.PutU32(17, 3);
    });
    std::memset(bytes.data() + 16, 0, 8);           // root
    std::memset(bytes.data() + 24 + 16 + 4, 0, 8);  // group 80
    EXPECT_EQ(Dump(*ReaderOver(bytes.chopped(4))), QStringLiteral("16/2 1\n"));
}

TEST_F(Lsdf, RefusesOtherFilesAndDisbelievesSizes) {
    const QByteArray good = Written(FillWithEverything);
    for (const int offset : {0, 4, 6, 12, 14}) {  // magic, version, kind, root's id and type
        QByteArray bad = good;
        bad[offset] = static_cast<char>(bad.at(offset) ^ 1);
        EXPECT_FALSE(ReaderOver(bad)->IsValid()) << offset;
    }
    QByteArray huge = good;
    std::memset(huge.data() + 24 + 4, 0xFF, 8);  // the first chunk claims 2^64 - 1 bytes
    const auto reader = ReaderOver(huge);
    const auto chunk = reader->Next();
    ASSERT_TRUE(chunk);
    EXPECT_EQ(chunk->payload + chunk->size, huge.size() - 4);
    EXPECT_FALSE(reader->U32());
    EXPECT_FALSE(reader->Next());
}

}  // namespace
}  // namespace ondarix
