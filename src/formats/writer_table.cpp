// SPDX-License-Identifier: GPL-3.0-or-later
#include <QFile>
#include <QSaveFile>

#include "formats/registry.h"
#include "formats/wav_sink.h"
#include "gen/paths.h"
#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {

namespace {

constexpr const char* kWavSection = "WavSettings";
constexpr const char* kWavRecordFile = "/WavFormat.dat";
constexpr qint64 kMaxWavRecord = 18 + 65535;

LSoundSinkRef CreateWav(const LSinkRequest& request) {
    LFormatRecord record = request.record;
    record.sampleRate = static_cast<uint32_t>(request.format.sampleRate);
    record.channels = request.format.channels;
    LWavSinkOptions options;
    if (request.foreignChunks) options.foreign = *request.foreignChunks;
    options.shaper = request.shaping;
    return MakeSink<LWavSink>(request.filename, record, std::move(options));
}

// extensions, what, settings, create, channels, has settings, needs a component, keeps markers
constexpr LWriterRow kWriters[] = {
    {".wav", "WAV sink", kWavSection, CreateWav, 255, true, false, true},
    {".mp3", "MP3 encoder", "MP3Encoder", nullptr, 2, true, true, true},
    {".au", "AU sink", "AuEncoder", nullptr, 255, true, false, false},
    {".aif .aiff .aifc", "AIFF sink", "AIFFEncode", nullptr, 255, true, false, true},
    {".gsm", "GSM sink", "", nullptr, 1, true, false, false},
    {".vox", "Dialogic sink", "VoxAudio", nullptr, 1, true, false, false},
    {".raw", "raw sink", "RawAudio", nullptr, 255, true, false, false},
    {".ogg", "Vorbis encoder", "OggEncoder", nullptr, 8, true, true, true},
    {".opus", "Opus encoder", "OPUSEncoder", nullptr, 8, true, true, true},
    {".flac", "FLAC sink", "FlacEncoder", nullptr, 8, true, false, true},
    {".mpc .mpp", "Musepack encoder", "MPCEncoder", nullptr, 2, true, true, false},
    {".aac", "AAC encoder", "AACEncoder", nullptr, 2, true, true, false},
    {".m4a .m4r .m4b", "MPEG-4 encoder", "M4AEncoder", nullptr, 2, true, true, true},
    {".caf", "Apple CAF encoder", "M4AEncoder", nullptr, 2, false, false, false},
    {".spx", "Speex encoder", "SPXEncoder", nullptr, 2, true, true, false},
    {".ape", "Monkey's Audio encoder", "MACEncoder", nullptr, 2, true, true, false},
    {".mp1", "MPEG layer I encoder", "MP1Encoder", nullptr, 2, true, false, false},
    {".mp2", "MPEG layer II encoder", "MP2Encoder", nullptr, 2, true, false, false},
    {".rss", "podcast writer", "MP3Encoder", nullptr, 2, true, true, false},
    {".amr", "AMR encoder", "AMREncoder", nullptr, 1, true, true, false},
    {".wma", "Windows Media writer", "WMAEncoder", nullptr, 2, true, false, true},
    {".dct", "dictation sink", "", nullptr, 1, true, false, false},
};

// Lists of files have settings and no samples.
constexpr const char* kPlaylistsWithSettings[] = {".m3u", ".pls", ".wpl"};

}  // namespace

std::span<const LWriterRow> WriterTable() { return kWriters; }

const LWriterRow* FindWriter(const QString& extension) {
    for (const LWriterRow& row : kWriters) {
        if (QString::fromLatin1(row.extensions).split(u' ').contains(extension)) return &row;
    }
    return nullptr;
}

LSoundSinkRef OpenSoundSink(const LSinkRequest& request) {
    const QString extension =
        request.extension.isEmpty() ? LowerExtension(request.filename) : request.extension;
    const LWriterRow* row = FindWriter(extension);
    return row && row->create && request.format.IsValid() ? row->create(request) : LSoundSinkRef();
}

bool FormatHasSettings(const QString& extension) {
    for (const char* list : kPlaylistsWithSettings) {
        if (extension == QLatin1String(list)) return true;
    }
    const LWriterRow* row = FindWriter(extension);
    return row && row->hasSettings && extension != QLatin1String(".mpp");
}

bool FormatCanSaveChannels(const QString& extension, int channels) {
    return channels >= 1 && channels <= MaximumChannelsOf(extension);
}

int MaximumChannelsOf(const QString& extension) {
    const LWriterRow* row = FindWriter(extension);
    return row ? row->maxChannels : 0;
}

bool FormatKeepsMarkers(const QString& extension) {
    const LWriterRow* row = FindWriter(extension);
    return row && row->keepsMarkers;
}

bool FormatCanBeWritten(const QString& extension) {
    const LWriterRow* row = FindWriter(extension);
    return row && row->create;
}

LFormatRecord WavRecordFor(LSoundFormat document) {
    QFile file(DataFolder() + QLatin1String(kWavRecordFile));
    LFormatRecord record;
    if (file.open(QIODevice::ReadOnly)) record = LFormatRecord::FromBytes(file.read(kMaxWavRecord));
    const bool ownRate = !GetSettingBool(kWavSection, QStringLiteral("SampleRateAuto"), true);
    const bool ownChannels = !GetSettingBool(kWavSection, QStringLiteral("ChansAuto"), true);
    const uint32_t rate = ownRate ? record.sampleRate : static_cast<uint32_t>(document.sampleRate);
    const uint16_t channels = ownChannels ? record.channels : document.channels;
    LFormatRecord made = LFormatRecord::Plain(record.tag, record.bits, rate, channels);
    made.extra = record.extra;
    return made;
}

bool StoreWavRecord(const LFormatRecord& record) {
    QSaveFile file(DataFolder() + QLatin1String(kWavRecordFile));
    return file.open(QIODevice::WriteOnly) && file.write(record.ToBytes()) >= 0 && file.commit();
}

}  // namespace ondarix
