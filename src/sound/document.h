// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>

#include "sound/sound.h"

namespace ondarix {

// A stretch of frames, `end` exclusive; empty when both are equal, which is a cursor.
struct LSelection {
    int64_t start = 0;
    int64_t end = 0;
    bool IsEmpty() const { return end <= start; }
    int64_t Length() const { return end - start; }
};

// What an open file is while it is open: its sound and what belongs to it. Shared by atomic count; touched
// from the main thread only. Derived kinds of container data hang on `attachment`.
class LSoundDocument {
  public:
    LSound sound;
    LSelection selection;
    QString path;       // empty: never saved
    LSourceFacts file;  // of the file at `path` when it was last read or written
    QString title;      // file name, or "Untitled_1"
    bool modified = false;
    bool readOnly = false;
    bool loadFailed = false;
    // Data of the container that saving gives back (foreign chunks of a WAV); known to src/formats only.
    std::shared_ptr<void> attachment;
    std::atomic<uint32_t> refCount{0};
};

class LSoundDocumentRef {
  public:
    LSoundDocumentRef() = default;
    explicit LSoundDocumentRef(LSoundDocument* document) : document_(document) { Add(); }
    LSoundDocumentRef(const LSoundDocumentRef& other) : document_(other.document_) { Add(); }
    LSoundDocumentRef(LSoundDocumentRef&& other) noexcept : document_(other.document_) {
        other.document_ = nullptr;
    }
    LSoundDocumentRef& operator=(LSoundDocumentRef other) noexcept {
        std::swap(document_, other.document_);
        return *this;
    }
    ~LSoundDocumentRef() { Release(); }
    LSoundDocument* operator->() const { return document_; }
    LSoundDocument* Get() const { return document_; }
    explicit operator bool() const { return document_ != nullptr; }

  private:
    void Add() {
        if (document_) document_->refCount.fetch_add(1, std::memory_order_relaxed);
    }
    void Release() {
        if (document_ && document_->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete document_;
        document_ = nullptr;
    }
    LSoundDocument* document_ = nullptr;
};

}  // namespace ondarix
