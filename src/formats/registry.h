// SPDX-License-Identifier: GPL-3.0-or-later
// Which reader opens a file and which writer makes one, chosen by the lower-cased extension alone.
#pragma once
#include <QString>
#include <span>

#include "formats/format_record.h"
#include "gen/progress.h"
#include "sound/sink.h"
#include "sound/source.h"

namespace ondarix {

struct LForeignChunks;

struct LOpenOptions {
    bool flag = false;
    QString rawSection;  // settings section for headerless formats, empty for the format's own
};

// Never null: test `error`. Walks the reader table in order; a row without a reader yet answers with a
// failed source (kSourceUnsupported) and the walk goes on as the table says.
LSoundSourceRef OpenSoundSource(const QString& filename, LProgress& progress,
                                const LOpenOptions& options = {});

// What a writer is given. `sourceForMatching` may be null.
struct LSinkRequest {
    QString filename;   // any name: the extension below decides
    QString extension;  // lower-cased with dot, empty: that of filename
    LSoundFormat format;
    LFormatRecord record;
    const LSoundSource* sourceForMatching = nullptr;
    const LForeignChunks* foreignChunks = nullptr;  // kept where the container can, may be null
    bool shaping = true;                            // of integer samples of 8 and 16 bits
};
LSoundSinkRef OpenSoundSink(const LSinkRequest& request);

// One row of the reader walk. `extensions` are lower-case with dots, blank-separated; "" takes everything.
struct LReaderRow {
    int order;
    const char* extensions;
    const char* what;  // for listings: "WAV reader"
    LSoundSourceRef (*open)(const QString& filename, LProgress& progress,
                            const LOpenOptions& options);  // null: later
    int onFailure;                                         // order at which the walk goes on, 0: it ends
};
std::span<const LReaderRow> ReaderTable();
// The first row of the order or a later one that takes the extension; null when the walk has ended.
const LReaderRow* NextReader(const QString& extension, int fromOrder);

struct LWriterRow {
    const char* extensions;
    const char* what;
    const char* settingsSection;                           // "" none
    LSoundSinkRef (*create)(const LSinkRequest& request);  // null: later
    int maxChannels;
    bool hasSettings;
    bool needsComponent;
    bool keepsMarkers;
};
std::span<const LWriterRow> WriterTable();
const LWriterRow* FindWriter(const QString& extension);  // null: unknown

bool FormatHasSettings(const QString& extension);
bool FormatCanSaveChannels(const QString& extension, int channels);
int MaximumChannelsOf(const QString& extension);
bool FormatKeepsMarkers(const QString& extension);
bool FormatCanBeWritten(const QString& extension);  // a writer is there now

// The format record of ".wav" as stored, made to follow the document's rate and channels where the
// settings "SampleRateAuto" and "ChansAuto" (default true) of "WavSettings" say so.
LFormatRecord WavRecordFor(LSoundFormat document);
bool StoreWavRecord(const LFormatRecord& record);

}  // namespace ondarix
