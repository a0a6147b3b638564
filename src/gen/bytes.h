// SPDX-License-Identifier: GPL-3.0-or-later
// Where parsers take their bytes from: the same code reads a file, a block of memory and a fuzzer's input.
#pragma once
#include <QByteArray>
#include <QString>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <type_traits>

namespace ondarix {

class LByteSource {
  public:
    virtual ~LByteSource() = default;
    // Bytes read from `offset`, fewer than asked at the end or on an error; never negative. Does not depend
    // on earlier calls, so two readers may share one source on one thread.
    virtual int64_t ReadAt(int64_t offset, void* dest, int64_t bytes) = 0;
    // Present size in bytes; may change while another program writes.
    virtual int64_t Size() = 0;

    bool ReadExactlyAt(int64_t offset, void* dest, int64_t bytes) {
        return ReadAt(offset, dest, bytes) == bytes;
    }
};

// A file opened for reading, others may write it meanwhile. Only regular files open: a folder, FIFO or
// device is refused without blocking.
class LFileBytes final : public LByteSource {
  public:
    explicit LFileBytes(const QString& path);
    ~LFileBytes() override;
    LFileBytes(const LFileBytes&) = delete;
    LFileBytes& operator=(const LFileBytes&) = delete;
    bool IsOpen() const { return fd_ >= 0; }
    int Errno() const { return errno_; }  // why it is not open; EISDIR, ENXIO... as the system says
    int64_t ReadAt(int64_t offset, void* dest, int64_t bytes) override;
    int64_t Size() override;
    int Descriptor() const { return fd_; }

  private:
    int fd_ = -1;
    int errno_ = 0;
};

// A block of memory that outlives the source.
class LMemoryBytes final : public LByteSource {
  public:
    explicit LMemoryBytes(std::span<const uint8_t> bytes) : bytes_(bytes) {}
    int64_t ReadAt(int64_t offset, void* dest, int64_t bytes) override;
    int64_t Size() override { return static_cast<int64_t>(bytes_.size()); }

  private:
    std::span<const uint8_t> bytes_;
};

// Little-endian values in byte buffers. The program is built for little-endian machines only.
template <typename T>
T LoadLe(const void* from) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}
template <typename T>
void StoreLe(void* to, T value) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(to, &value, sizeof value);
}

// Writes all bytes at the offset (pwrite until done); false on any error, errno tells which.
bool WriteExactlyAt(int fd, int64_t offset, const void* from, int64_t bytes);

}  // namespace ondarix
