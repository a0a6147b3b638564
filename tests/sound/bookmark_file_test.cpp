// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/bookmark_file.h"

#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "gen/bytes.h"

namespace ondarix {
namespace {

template <typename T>
QByteArray Le(T value) {
    QByteArray bytes(sizeof value, '\0');
    StoreLe(bytes.data(), value);
    return bytes;
}

// --- Byte images by hand

QByteArray Chunk(uint16_t id, uint16_t type, const QByteArray& payload) {
    return Le(id) + Le(type) + Le(static_cast<uint64_t>(payload.size())) + payload;
}
QByteArray Container(const QByteArray& children, uint32_t kind = 77) {
    return "lsdf" + Le<uint16_t>(1) + Le(kind) + Le<uint16_t>(7) + Chunk(0, 0, children) + "lsdf";
}
QByteArray Fields(const QString& name, const QString& comment, int64_t position, uint32_t rate,
                  uint32_t index, uint32_t kind, uint32_t flags) {
    return Chunk(3001, 6, name.toUtf8() + '\0') + Chunk(3002, 6, comment.toUtf8() + '\0') +
           Chunk(3003, 3, Le(position)) + Chunk(3004, 2, Le(rate)) + Chunk(3005, 2, Le(index)) +
           Chunk(3006, 2, Le(kind)) + Chunk(3007, 2, Le(flags));
}

QByteArray Wide(const QString& text) {
    return {reinterpret_cast<const char*>(text.utf16()), text.size() * 2};
}
QByteArray FixedText(const QString& text) { return Wide(text).leftJustified(520, '\0'); }
QByteArray EndedText(const QString& text) { return Wide(text) + Le<uint16_t>(0); }
QByteArray FlatValues(int64_t position, int32_t rate, uint32_t index, uint8_t kind, uint32_t flags) {
    return Le(position) + Le(rate) + Le(index) + Le(kind) + Le(flags);
}

const QString kFirstName = QString::fromUtf8("Größe 🎵");
constexpr int64_t kFarPosition = int64_t{1} << 40;

QByteArray ContainerImage() {
    return Container(Chunk(2011, 0,
                           Chunk(3000, 0, Fields(kFirstName, "first", 100, 48000, 4, 1, 0)) +
                               Chunk(3000, 0, Fields("Two", "", kFarPosition, 44100, 9, 200, 0x80000001))));
}
QByteArray FlatImage(bool wideCount, QByteArray (*text)(const QString&)) {
    return (wideCount ? Le<uint32_t>(2) : Le<uint8_t>(2)) + text(kFirstName) + text("first") +
           FlatValues(100, 48000, 4, 1, 0) + text("Two") + text("") +
           FlatValues(kFarPosition, 44100, 9, 200, 0x80000001);
}
std::vector<QByteArray> AllForms() {
    return {ContainerImage(), FlatImage(true, FixedText), FlatImage(false, FixedText),
            FlatImage(true, EndedText), FlatImage(false, EndedText)};
}

void ExpectBoth(const LBookmarks& bookmarks) {
    ASSERT_EQ(bookmarks.size(), 2U);
    EXPECT_EQ(bookmarks[0].name, kFirstName);
    EXPECT_EQ(bookmarks[0].comment, "first");
    EXPECT_EQ(bookmarks[0].position, 100);
    EXPECT_EQ(bookmarks[0].sampleRate, 48000);
    EXPECT_EQ(bookmarks[0].positionMs, 2);
    EXPECT_EQ(bookmarks[0].index, 4U);
    EXPECT_EQ(bookmarks[1].name, "Two");
    EXPECT_EQ(bookmarks[1].comment, "");
    EXPECT_EQ(bookmarks[1].position, kFarPosition);
    EXPECT_EQ(bookmarks[1].index, 9U);
    EXPECT_EQ(bookmarks[1].kind, 200);
    EXPECT_EQ(bookmarks[1].colourOrFlags, 0x80000001U);
}

class BookmarkFile : public testing::Test {
  protected:
    QString Path(const QString& name) const { return folder_.filePath(name); }
    QStringList Files() const {
        return QDir(folder_.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    void Put(const QString& path, const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    QByteArray Get(const QString& path) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        return file.readAll();
    }
    LBookmarks bookmarks;
    QTemporaryDir folder_;
};

TEST_F(BookmarkFile, EveryFormGivesTheSameBookmarks) {
    for (const QByteArray& image : AllForms()) {
        ASSERT_EQ(ReadBookmarks(image, 8000, bookmarks), LBookmarkRead::kRead) << image.size();
        ExpectBoth(bookmarks);
    }
    for (const QByteArray& none :
         {Container(Chunk(2011, 0, {})), Container({}, 43), Le<uint32_t>(0), Le<uint8_t>(0)}) {
        EXPECT_EQ(ReadBookmarks(none, 8000, bookmarks), LBookmarkRead::kRead);
        EXPECT_TRUE(bookmarks.empty());
    }
}

TEST_F(BookmarkFile, WhatIsCutShortOrHasTooMuchIsDamaged) {
    for (const QByteArray& image : AllForms()) {
        for (qsizetype size = 0; size < image.size(); ++size) {
            bookmarks.resize(1);
            ASSERT_EQ(ReadBookmarks(image.left(size), 8000, bookmarks), LBookmarkRead::kDamaged)
                << size << " of " << image.size();
            EXPECT_TRUE(bookmarks.empty());
        }
        EXPECT_EQ(ReadBookmarks(image + '\0', 8000, bookmarks), LBookmarkRead::kDamaged);
        EXPECT_EQ(ReadBookmarks(image + image, 8000, bookmarks), LBookmarkRead::kDamaged);
    }
}

// The process may not grow by what the data claims; the limit of the test's own memory would end it.
TEST_F(BookmarkFile, ClaimsBeyondTheDataAreDamaged) {
    const auto claim = [](uint16_t id, uint16_t type, uint64_t size) { return Le(id) + Le(type) + Le(size); };
    const QByteArray position = Chunk(3003, 3, Le<int64_t>(5));
    const auto with = [&](const QByteArray& more) {
        return Container(Chunk(2011, 0, Chunk(3000, 0, position + more)));
    };
    ASSERT_EQ(ReadBookmarks(with({}), 8000, bookmarks), LBookmarkRead::kRead);
    EXPECT_EQ(bookmarks[0].sampleRate, 8000);  // none was named
    EXPECT_EQ(bookmarks[0].index, 1U);
    for (const uint64_t size : {uint64_t{100}, uint64_t{1} << 31, ~uint64_t{0}}) {
        EXPECT_EQ(ReadBookmarks(with(claim(3001, 6, size)), 8000, bookmarks), LBookmarkRead::kDamaged);
        EXPECT_EQ(ReadBookmarks(with(claim(3999, 7, size)), 8000, bookmarks), LBookmarkRead::kDamaged);
        EXPECT_EQ(ReadBookmarks(Container(claim(2011, 0, size)), 8000, bookmarks), LBookmarkRead::kDamaged);
    }
    for (const QByteArray& bad : {with("abc"), with(Chunk(3003, 3, Le<int64_t>(-1))),
                                  with(Chunk(3004, 2, "ab")), with(Chunk(3004, 2, Le<uint32_t>(0x80000000))),
                                  with(Chunk(3001, 2, Le(1))), Container(Chunk(2011, 0, Chunk(3000, 0, {})))})
        EXPECT_EQ(ReadBookmarks(bad, 8000, bookmarks), LBookmarkRead::kDamaged) << bad.toHex().toStdString();
    for (const QByteArray& bad :
         {Le<uint32_t>(0x7FFFFFFF) + "abcdef", Le<uint32_t>(~0U) + QByteArray(2000, 'x'),
          Le<uint8_t>(1) + FixedText("a") + FixedText("b") + FlatValues(-1, 44100, 1, 1, 0),
          Le<uint8_t>(1) + FixedText("a") + FixedText("b") + FlatValues(1, -44100, 1, 1, 0)})
        EXPECT_EQ(ReadBookmarks(bad, 8000, bookmarks), LBookmarkRead::kDamaged);
}

TEST_F(BookmarkFile, LongTextsAreCutAndNumbersMadeUnique) {
    const QString longName = QString(258, u'n') + QString::fromUtf8("🎵") + QString(500, u'x');
    const QByteArray flat =
        Le<uint32_t>(1) + EndedText(longName) + EndedText("") + FlatValues(0, 44100, 0, 1, 0);
    ASSERT_EQ(ReadBookmarks(flat, 22050, bookmarks), LBookmarkRead::kRead);
    EXPECT_EQ(bookmarks[0].name, QString(258, u'n'));  // no half of a surrogate pair
    const QByteArray full = Le<uint8_t>(1) + QByteArray(1040, 'q') + FlatValues(0, 0, 1, 1, 0);
    ASSERT_EQ(ReadBookmarks(full, 22050, bookmarks), LBookmarkRead::kRead);
    EXPECT_EQ(bookmarks[0].name.size(), 259);
    EXPECT_EQ(bookmarks[0].sampleRate, 22050);

    QByteArray list;
    for (const uint32_t index : {5U, 0U, 5U, ~0U, 1U, 0U})
        list += Chunk(3000, 0, Fields("n", "", 0, 44100, index, 1, 0));
    ASSERT_EQ(ReadBookmarks(Container(Chunk(2011, 0, list)), 44100, bookmarks), LBookmarkRead::kRead);
    std::vector<uint32_t> indexes;
    for (const LBookmark& one : bookmarks) indexes.push_back(one.index);
    EXPECT_EQ(indexes, (std::vector<uint32_t>{5, 2, 3, ~0U, 1, 4}));
}

TEST_F(BookmarkFile, IsWrittenAsLaidDownAndLosesNothing) {
    const QByteArray strange = Chunk(3100, 0, Chunk(1, 2, "12") + "odd") + Chunk(3999, 7, "bytes");
    const QByteArray image =
        Container(Chunk(2011, 0, Chunk(3000, 0, Fields(kFirstName, "c", 5, 44100, 3, 2, 9) + strange)));
    ASSERT_EQ(ReadBookmarks(image, 8000, bookmarks), LBookmarkRead::kRead);
    ASSERT_TRUE(WriteBookmarkFile(Path("a.wav.odxm"), bookmarks));
    QByteArray written = Get(Path("a.wav.odxm"));
    written.replace(6, 6, image.mid(6, 6));  // any kind and version will do
    EXPECT_EQ(written, image);
    EXPECT_EQ(Files(), QStringList{"a.wav.odxm"});

    chmod(qPrintable(Path("a.wav.odxm")), 0640);
    bookmarks[0].name = "other";
    ASSERT_TRUE(WriteBookmarkFile(Path("a.wav.odxm"), bookmarks));
    ASSERT_EQ(ReadBookmarkFile(Path("a.wav.odxm"), 1, bookmarks), LBookmarkRead::kRead);
    EXPECT_EQ(bookmarks[0].name, "other");
    EXPECT_EQ(bookmarks[0].unknownChunks.size(), 2U);
    struct stat facts;
    ASSERT_EQ(stat(qPrintable(Path("a.wav.odxm")), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0640U);

    ASSERT_TRUE(WriteBookmarkFile(Path("a.wav.odxm"), {}));
    EXPECT_EQ(Files(), QStringList());
    EXPECT_TRUE(WriteBookmarkFile(Path("a.wav.odxm"), {}));
    EXPECT_EQ(ReadBookmarkFile(Path("a.wav.odxm"), 1, bookmarks), LBookmarkRead::kNone);
}

TEST_F(BookmarkFile, DamagedOnesAreKeptAside) {
    const LBookmarks one(1);
    const QString path = Path("a.wav.odxm");
    Put(path, "first rubbish");
    ASSERT_TRUE(WriteBookmarkFile(path, one));
    EXPECT_EQ(ReadBookmarkFile(path, 1, bookmarks), LBookmarkRead::kRead);
    EXPECT_EQ(Get(path + ".bad"), "first rubbish");
    Put(path, "second rubbish");
    ASSERT_TRUE(WriteBookmarkFile(path, {}));
    EXPECT_EQ(Get(path + ".bad"), "first rubbish");
    EXPECT_EQ(Get(path + ".bad2"), "second rubbish");
    EXPECT_EQ(Files(), (QStringList{"a.wav.odxm.bad", "a.wav.odxm.bad2"}));
}

TEST_F(BookmarkFile, PlacesThatCannotBeWrittenAreTold) {
    const LBookmarks one(1);
    EXPECT_FALSE(WriteBookmarkFile(Path("none/a.wav.odxm"), one));
    ASSERT_TRUE(QDir(folder_.path()).mkdir("folder.odxm"));
    EXPECT_FALSE(WriteBookmarkFile(Path("folder.odxm"), one));
    EXPECT_FALSE(WriteBookmarkFile(Path("folder.odxm"), {}));
    EXPECT_EQ(ReadBookmarkFile(Path("folder.odxm"), 1, bookmarks), LBookmarkRead::kDamaged);
    EXPECT_EQ(Files(), QStringList());
    // A link leads to the file that is meant.
    Put(Path("real"), ContainerImage());
    ASSERT_TRUE(QFile::link(Path("real"), Path("b.odxm")));
    ASSERT_TRUE(WriteBookmarkFile(Path("b.odxm"), one));
    EXPECT_TRUE(QFileInfo(Path("b.odxm")).isSymLink());
    ASSERT_EQ(ReadBookmarkFile(Path("real"), 1, bookmarks), LBookmarkRead::kRead);
    EXPECT_EQ(bookmarks.size(), 1U);
}

}  // namespace
}  // namespace ondarix
