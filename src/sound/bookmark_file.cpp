// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/bookmark_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFileInfo>
#include <QSet>
#include <limits>
#include <optional>

#include "gen/lsdf.h"
#include "gen/text.h"

namespace ondarix {

namespace {

// The file's own kind; readers take any.
constexpr uint32_t kBookmarkFileKind = 2011;
constexpr uint16_t kBookmarkFileVersion = 7;
constexpr int64_t kLargestBookmarkFile = 256 << 20;  // bytes

enum BookmarkChunkId : uint16_t {
    kBookmarkListChunk = 2011,
    kBookmarkChunk = 3000,
    kBookmarkName = 3001,
    kBookmarkComment = 3002,
    kBookmarkPosition = 3003,
    kBookmarkRate = 3004,
    kBookmarkIndex = 3005,
    kBookmarkKind = 3006,
    kBookmarkFlags = 3007,
};

// False where no bookmark of a sound can stand.
bool PlaceBookmark(LBookmark& bookmark, int64_t position, int32_t rate, int32_t rateOfSound) {
    if (position < 0 || rate < 0) return false;
    bookmark.SetPosition(position, rate == 0 ? rateOfSound : rate);
    return true;
}

// Numbers that are missing or there twice are given anew, behind the highest.
void RepairIndexes(LBookmarks& bookmarks) {
    QSet<uint32_t> used;
    std::vector<LBookmark*> without;
    uint32_t highest = 0;
    for (LBookmark& one : bookmarks) {
        if (one.index == 0 || used.contains(one.index)) {
            without.push_back(&one);
            continue;
        }
        used.insert(one.index);
        highest = std::max(highest, one.index);
    }
    if (highest > std::numeric_limits<uint32_t>::max() - without.size()) highest = 0;
    for (LBookmark* one : without) {
        do ++highest;
        while (used.contains(highest));
        one->index = highest;
    }
}

// --- The container form. Stricter than the reader beneath, which takes files that were cut short: every size
// has to fit exactly, or what is there cannot be told from what is lost.

class LBookmarkChunks {
  public:
    LBookmarkChunks(const QByteArray& data, int32_t rate)
        : data_(data), reader_(MakeSource(data), kLsdfAnyKind), rate_(rate) {}
    bool Read(LBookmarks& bookmarks);

  private:
    static std::shared_ptr<LByteSource> MakeSource(const QByteArray& data) {
        return std::make_shared<LMemoryBytes>(
            std::span(reinterpret_cast<const uint8_t*>(data.constData()), static_cast<size_t>(data.size())));
    }
    // Each child of the group in [at, end); false when one of them, or the last one's end, does not fit.
    template <typename Visit>
    bool EachChild(int64_t at, int64_t end, Visit&& visit);
    bool ReadOne(const LsdfChunk& group, LBookmark& bookmark);
    bool ReadField(const LsdfChunk& chunk, LBookmark& bookmark);
    bool ReadText(QString& text);
    bool ReadWord(uint32_t& word);

    const QByteArray& data_;
    LLsdfReader reader_;
    int32_t rate_;
    std::optional<int64_t> position_;
    uint32_t rateOfOne_ = 0;
};

template <typename Visit>
bool LBookmarkChunks::EachChild(int64_t at, int64_t end, Visit&& visit) {
    while (const auto chunk = reader_.Next()) {
        const auto stated = LoadLe<uint64_t>(data_.constData() + chunk->payload - 8);
        if (stated != static_cast<uint64_t>(chunk->size) || !visit(*chunk)) return false;
        at = chunk->payload + chunk->size;
    }
    return at == end;
}

bool LBookmarkChunks::Read(LBookmarks& bookmarks) {
    constexpr int64_t kRoot = LLsdfReader::kRootPayload;
    const int64_t end = data_.size() - 4;
    if (!reader_.IsValid() || !data_.endsWith("lsdf")) return false;
    if (LoadLe<uint64_t>(data_.constData() + kRoot - 8) != static_cast<uint64_t>(end - kRoot)) return false;
    return EachChild(kRoot, end, [&](const LsdfChunk& list) {
        if (list.id != kBookmarkListChunk) return true;
        if (!reader_.Enter()) return false;
        const bool whole = EachChild(list.payload, list.payload + list.size, [&](const LsdfChunk& one) {
            if (one.id != kBookmarkChunk) return true;
            LBookmark bookmark;
            if (!ReadOne(one, bookmark)) return false;
            bookmarks.push_back(std::move(bookmark));
            return true;
        });
        reader_.Leave();
        return whole;
    });
}

bool LBookmarkChunks::ReadOne(const LsdfChunk& group, LBookmark& bookmark) {
    position_.reset();
    rateOfOne_ = 0;
    if (!reader_.Enter()) return false;
    const bool whole = EachChild(group.payload, group.payload + group.size,
                                 [&](const LsdfChunk& field) { return ReadField(field, bookmark); });
    reader_.Leave();
    return whole && position_ && PlaceBookmark(bookmark, *position_, static_cast<int32_t>(rateOfOne_), rate_);
}

bool LBookmarkChunks::ReadField(const LsdfChunk& chunk, LBookmark& bookmark) {
    uint32_t kind = 0;
    switch (chunk.id) {
        case kBookmarkName:
            return ReadText(bookmark.name);
        case kBookmarkComment:
            return ReadText(bookmark.comment);
        case kBookmarkPosition:
            position_ = reader_.I64();
            return position_.has_value();
        case kBookmarkRate:
            return ReadWord(rateOfOne_);
        case kBookmarkIndex:
            return ReadWord(bookmark.index);
        case kBookmarkKind:
            if (!ReadWord(kind)) return false;
            bookmark.kind = static_cast<uint8_t>(kind);
            return true;
        case kBookmarkFlags:
            return ReadWord(bookmark.colourOrFlags);
        default:
            break;
    }
    LUnknownChunk unknown{chunk.id, chunk.type, 0, reader_.Bytes(0, chunk.size)};
    const bool whole = unknown.payload.size() == chunk.size;
    bookmark.unknownChunks.push_back(std::move(unknown));
    return whole;
}

bool LBookmarkChunks::ReadText(QString& text) {
    const auto value = reader_.Text();
    if (value) text = *value;
    return value.has_value();
}

// Some writers widened words to 64 bits.
bool LBookmarkChunks::ReadWord(uint32_t& word) {
    if (const auto value = reader_.U32()) {
        word = *value;
        return true;
    }
    const auto wide = reader_.I64();
    if (wide) word = static_cast<uint32_t>(*wide);
    return wide.has_value();
}

// --- The flat forms of earlier versions: a count of four bytes, before version 6 of one, and a record for
// each bookmark: name, comment, i64 position, i32 rate, u32 index, u8 kind, u32 flags. Texts are UTF-16, in
// fields of 260 units or ended by a zero.
//
// Nothing in the file says which form it has. A form is taken when its records fill the file to the last byte
// and each holds a possible place. With fields of fixed size the two counts exclude each other: a file of
// 4 + 1061 n bytes is never one of 1 + 1061 m. Texts of any length prove less: in a file that lost its end,
// what is left could pass for other bookmarks. There each must have a name and a rate, too.

struct LFlatForm {
    int countBytes;
    bool fixedTexts;
};
constexpr LFlatForm kFlatForms[] = {{4, true}, {1, true}, {4, false}, {1, false}};
constexpr int64_t kFlatTextUnits = kFixedTextLength + 1;
constexpr int64_t kFlatValueBytes = 8 + 4 + 4 + 1 + 4;

class LFlatBookmarks {
  public:
    LFlatBookmarks(const QByteArray& data, LFlatForm form, int32_t rate)
        : data_(data), form_(form), rate_(rate) {}
    bool Read(LBookmarks& bookmarks);

  private:
    bool ReadOne(LBookmark& bookmark);
    bool ReadText(QString& text);
    template <typename T>
    T Take() {
        const T value = LoadLe<T>(data_.constData() + at_);
        at_ += static_cast<int64_t>(sizeof(T));
        return value;
    }
    int64_t Left() const { return data_.size() - at_; }

    const QByteArray& data_;
    LFlatForm form_;
    int32_t rate_;
    int64_t at_ = 0;
};

bool LFlatBookmarks::Read(LBookmarks& bookmarks) {
    if (Left() < form_.countBytes) return false;
    const uint32_t count = form_.countBytes == 4 ? Take<uint32_t>() : Take<uint8_t>();
    const int64_t least = kFlatValueBytes + (form_.fixedTexts ? 4 * kFlatTextUnits : 4);
    if (Left() / least < int64_t{count}) return false;
    for (uint32_t i = 0; i < count; ++i) {
        LBookmark bookmark;
        if (!ReadOne(bookmark)) return false;
        bookmarks.push_back(std::move(bookmark));
    }
    return Left() == 0;
}

bool LFlatBookmarks::ReadOne(LBookmark& bookmark) {
    if (!ReadText(bookmark.name) || !ReadText(bookmark.comment) || Left() < kFlatValueBytes) return false;
    const auto position = Take<int64_t>();
    const auto rate = Take<int32_t>();
    bookmark.index = Take<uint32_t>();
    bookmark.kind = Take<uint8_t>();
    bookmark.colourOrFlags = Take<uint32_t>();
    if (!form_.fixedTexts && (rate == 0 || bookmark.name.isEmpty())) return false;
    return PlaceBookmark(bookmark, position, rate, rate_);
}

bool LFlatBookmarks::ReadText(QString& text) {
    const int64_t most = form_.fixedTexts ? kFlatTextUnits : Left() / 2;
    if (Left() / 2 < most) return false;
    int64_t units = 0;
    while (units < most && LoadLe<char16_t>(data_.constData() + at_ + 2 * units) != 0) ++units;
    if (!form_.fixedTexts && units == most) return false;
    QString whole(std::min<int64_t>(units, kFlatTextUnits), Qt::Uninitialized);
    memcpy(whole.data(), data_.constData() + at_, static_cast<size_t>(whole.size()) * 2);
    text = CutToFixedText(whole);
    at_ += 2 * (form_.fixedTexts ? kFlatTextUnits : units + 1);
    return true;
}

// --- Writing

void PutBookmark(LLsdfWriter& writer, const LBookmark& bookmark) {
    writer.Open(kBookmarkChunk);
    writer.PutText(kBookmarkName, bookmark.name);
    writer.PutText(kBookmarkComment, bookmark.comment);
    writer.PutI64(kBookmarkPosition, bookmark.position);
    writer.PutU32(kBookmarkRate, static_cast<uint32_t>(bookmark.sampleRate));
    writer.PutU32(kBookmarkIndex, bookmark.index);
    writer.PutU32(kBookmarkKind, bookmark.kind);
    writer.PutU32(kBookmarkFlags, bookmark.colourOrFlags);
    for (const LUnknownChunk& unknown : bookmark.unknownChunks) {
        writer.Open(unknown.id, static_cast<LsdfType>(unknown.type));
        writer.Write(unknown.payload.constData(), unknown.payload.size());
        writer.CloseChunk();
    }
    writer.CloseChunk();
}

bool WriteBookmarkChunks(const QString& path, const LBookmarks& bookmarks) {
    LLsdfWriter writer(path, kBookmarkFileKind, kBookmarkFileVersion);
    writer.Open(kBookmarkListChunk);
    for (const LBookmark& one : bookmarks) PutBookmark(writer, one);
    writer.Close();
    return !writer.Failed();
}

bool SyncFile(const QByteArray& name) {
    const int fd = open(name.constData(), O_RDONLY | O_CLOEXEC);
    const bool synced = fd >= 0 && fsync(fd) == 0;
    if (fd >= 0) close(fd);
    return synced;
}

// What cannot be read may still be worth something to somebody: it is kept beside, under the first free name.
bool PutAside(const QString& path) {
    const QByteArray from = QFile::encodeName(path);
    for (int attempt = 1; attempt < 1000; ++attempt) {
        const QByteArray to = from + ".bad" + (attempt > 1 ? QByteArray::number(attempt) : QByteArray());
        struct stat facts;
        if (lstat(to.constData(), &facts) != 0) return rename(from.constData(), to.constData()) == 0;
    }
    return false;
}

}  // namespace

QString BookmarkFileOf(const QString& soundPath) { return soundPath + QStringLiteral(".odxm"); }

LBookmarkRead ReadBookmarks(const QByteArray& data, int32_t rate, LBookmarks& bookmarks) {
    bookmarks.clear();
    bool read = false;
    if (data.startsWith("lsdf")) {
        read = LBookmarkChunks(data, rate).Read(bookmarks);
    } else {
        for (const LFlatForm& form : kFlatForms) {
            bookmarks.clear();
            if ((read = LFlatBookmarks(data, form, rate).Read(bookmarks))) break;
        }
    }
    if (!read) {
        bookmarks.clear();
        return LBookmarkRead::kDamaged;
    }
    RepairIndexes(bookmarks);
    return LBookmarkRead::kRead;
}

LBookmarkRead ReadBookmarkFile(const QString& path, int32_t rate, LBookmarks& bookmarks) {
    bookmarks.clear();
    LFileBytes file(path);
    if (!file.IsOpen()) {
        const bool none = file.Errno() == ENOENT || file.Errno() == ENOTDIR || file.Errno() == ENAMETOOLONG;
        return none ? LBookmarkRead::kNone : LBookmarkRead::kDamaged;
    }
    const int64_t size = file.Size();
    if (size < 0 || size > kLargestBookmarkFile) return LBookmarkRead::kDamaged;
    QByteArray data(size, Qt::Uninitialized);
    if (!file.ReadExactlyAt(0, data.data(), size)) return LBookmarkRead::kDamaged;
    return ReadBookmarks(data, rate, bookmarks);
}

bool WriteBookmarkFile(const QString& path, const LBookmarks& bookmarks) {
    const QFileInfo named(path);
    const QString target = named.isSymLink() && named.exists() ? named.canonicalFilePath() : path;
    const QByteArray name = QFile::encodeName(target);
    struct stat old;
    const bool exists = lstat(name.constData(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode) && !S_ISLNK(old.st_mode)) return false;
    LBookmarks present;
    const bool damaged = exists && ReadBookmarkFile(target, 1, present) == LBookmarkRead::kDamaged;
    if (bookmarks.empty()) {
        if (damaged) return PutAside(target);
        return unlink(QFile::encodeName(path).constData()) == 0 || errno == ENOENT || errno == ENAMETOOLONG;
    }
    const QString folder = QFileInfo(target).absolutePath();
    const QByteArray part = QFile::encodeName(folder) + "/.odxm-" + QByteArray::number(getpid()) + "-part";
    bool done = WriteBookmarkChunks(QFile::decodeName(part), bookmarks) && SyncFile(part);
    if (done && exists && S_ISREG(old.st_mode)) done = chmod(part.constData(), old.st_mode & 0777) == 0;
    if (done && damaged) done = PutAside(target);
    done = done && rename(part.constData(), name.constData()) == 0;
    if (!done) unlink(part.constData());
    return done;
}

}  // namespace ondarix
