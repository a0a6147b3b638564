// SPDX-License-Identifier: GPL-3.0-or-later
// LSDF, the tagged chunk container under working-file facts, bookmarks, projects and effect chains.
//
//   0  4  magic "lsdf"            10  2  file format version
//   4  2  container version, 1    12 12  header of the root group (id 0, type 0)
//   6  4  file kind               24     children; the last four bytes are "lsdf" again
//
// A chunk header is 12 bytes: u16 id, u16 type, u64 payload size; all little-endian. A size is written when
// its chunk closes, so a file cut short has a size of 0 in the root and in some open chunk: there the data
// ends. In a file whose root was closed a group of size 0 is just empty.
#pragma once
#include <QByteArray>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "gen/bytes.h"

namespace ondarix {

enum class LsdfType : uint16_t {
    kGroup = 0,
    kBool = 1,
    kU32 = 2,
    kI64 = 3,
    kF32 = 4,
    kText = 6,  // UTF-8 with a NUL that the size counts
    kBytes = 7,
    kI32As64 = 9,  // sign-extended from 32 bits
};

enum class LsdfFileKind : uint32_t { kEffectChain = 11, kProject = 26, kAudInfo = 43 };
inline constexpr uint32_t kLsdfAnyKind = UINT32_MAX;  // for readers that take a file of any kind

struct LsdfChunk {
    uint16_t id = 0;
    uint16_t type = 0;
    int64_t payload = 0;  // offset of the payload's first byte
    int64_t size = 0;     // bytes, never beyond the enclosing group
};

// Walks a container. Nothing it says is believed before it is checked: sizes are clipped to the group
// around them, nesting is limited, and a walk always ends. One thread at a time.
class LLsdfReader {
  public:
    static constexpr int64_t kRootPayload = 24;
    static constexpr int kMaxDepth = 32;

    // `kind`: the file kind that is expected, or kLsdfAnyKind. Not valid: shorter than 28 bytes, wrong magic,
    // container version, kind or root header. A missing trailer is accepted (a file cut short).
    LLsdfReader(std::shared_ptr<LByteSource> source, uint32_t kind);
    bool IsValid() const { return valid_; }
    uint16_t FormatVersion() const { return version_; }

    // The next child of the group now entered; nullopt at its end. A child is skipped unless entered.
    std::optional<LsdfChunk> Next();
    // Enters the group that Next() gave last; false when it is no group or too deep.
    bool Enter();
    void Leave();

    // Values of the chunk that Next() gave last; nullopt when type or size do not fit.
    std::optional<bool> Bool();
    std::optional<uint8_t> Byte();  // kBool, with any value
    std::optional<uint32_t> U32();
    std::optional<int64_t> I64();  // kI64 and kI32As64
    std::optional<float> F32();
    // At most 259 UTF-16 units; of a text above 1560 bytes the first 1560 count.
    std::optional<QString> Text();
    // At most `limit` bytes of the payload from `from` on.
    QByteArray Bytes(int64_t from, int64_t limit);

  private:
    struct Level {
        int64_t next, end;
    };
    int64_t ReadBuffered(int64_t offset, void* dest, int64_t bytes);

    std::shared_ptr<LByteSource> source_;
    std::vector<Level> levels_;
    std::optional<LsdfChunk> current_;
    QByteArray ahead_;  // read-ahead of 8192 bytes; requests above 256 go straight to the source
    int64_t aheadOffset_ = 0;
    int64_t size_ = 0;
    uint16_t version_ = 0;
    bool valid_ = false;
    bool cutShort_ = false;  // the root was never closed
};

// Writes a container into a file. Errors are kept: test Failed() after Close().
class LLsdfWriter {
  public:
    // Creates or empties the file.
    LLsdfWriter(const QString& path, uint32_t kind, uint16_t formatVersion);
    // Opens a finished file for more children of the root, over its trailer. Failed() when it is none.
    static std::unique_ptr<LLsdfWriter> Append(const QString& path, uint32_t kind);
    ~LLsdfWriter();  // closes
    LLsdfWriter(const LLsdfWriter&) = delete;
    LLsdfWriter& operator=(const LLsdfWriter&) = delete;

    void Open(uint16_t id, LsdfType type = LsdfType::kGroup);  // a chunk whose payload follows
    void Write(const void* bytes, int64_t count);              // payload of an open chunk
    void CloseChunk();                                         // the innermost; nothing when none is open

    void PutBool(uint16_t id, bool value);
    void PutByte(uint16_t id, uint8_t value);  // kBool, with any value
    void PutU32(uint16_t id, uint32_t value);
    void PutI64(uint16_t id, int64_t value);
    void PutI32As64(uint16_t id, int32_t value);
    void PutF32(uint16_t id, float value);
    void PutText(uint16_t id, const QString& text);
    void PutBytes(uint16_t id, const QByteArray& bytes);

    // Closes what is open, the root and the trailer last.
    void Close();
    bool Failed() const { return failed_; }

  private:
    LLsdfWriter() = default;
    void CloseInnermost();  // the root too

    int fd_ = -1;
    int64_t position_ = 0;
    std::vector<int64_t> open_;  // payload starts, the root first
    bool failed_ = false;
};

}  // namespace ondarix
