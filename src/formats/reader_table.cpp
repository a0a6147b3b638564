// SPDX-License-Identifier: GPL-3.0-or-later
// The readers in the order in which they are tried. The extension alone decides; the last row takes all.
#include <QFileInfo>

#include "formats/registry.h"
#include "formats/wav_source.h"
#include "gen/lsdf.h"
#include "gen/text.h"
#include "sound/readers.h"

namespace ondarix {

namespace {

LSoundSourceRef OpenWavRow(const QString& filename, LProgress&, const LOpenOptions&) {
    return OpenWav(filename);
}

// Recorders name files ".act" whether they hold a WAV or a coding of their own.
LSoundSourceRef OpenActRow(const QString& filename, LProgress&, const LOpenOptions&) {
    auto file = std::make_shared<LFileBytes>(filename);
    if (!file->IsOpen()) return FailedSource(kSourceCannotOpen);
    char magic[4];
    if (!file->ReadExactlyAt(0, magic, sizeof magic)) return FailedSource(kSourceBadHeader);
    if (std::memcmp(magic, "RIFF", 4) != 0) return FailedSource(kSourceUnsupported);
    return OpenWav(std::move(file));
}

// A working file; its format stands in the facts beside it.
LSoundSourceRef OpenCacheFileRow(const QString& filename, LProgress&, const LOpenOptions&) {
    constexpr uint16_t kRateChunk = 16, kChannelsChunk = 17;
    const QFileInfo info(filename);
    auto facts = std::make_shared<LFileBytes>(info.path() + u'/' + info.completeBaseName() + ".audinfo");
    if (!facts->IsOpen()) return FailedSource(kSourceBadHeader);
    LLsdfReader reader(std::move(facts), static_cast<uint32_t>(LsdfFileKind::kAudInfo));
    if (!reader.IsValid()) return FailedSource(kSourceBadHeader);
    LSoundFormat format;
    while (const auto chunk = reader.Next()) {
        const uint32_t value = reader.U32().value_or(0);
        if (chunk->id == kRateChunk && value >= 1 && value <= INT32_MAX)
            format.sampleRate = static_cast<int32_t>(value);
        if (chunk->id == kChannelsChunk && value >= 1 && value <= 255)
            format.channels = static_cast<uint8_t>(value);
    }
    if (!LFileBytes(filename).IsOpen()) return FailedSource(kSourceCannotOpen);
    return MakeSource<LCacheFileReader>(filename, format);
}

constexpr const char* kComponentExtensions =
    ".spx .oga .ogg .aac .m4a .m4b .m4r .mp4 .rec .rcd .mpc .sd2 .caf .shn .ape .opus .act";

constexpr LReaderRow kReaders[] = {
    {1, ".wav", "WAV reader", OpenWavRow, 5},
    {2, ".mp3", "MPEG audio reader", nullptr, 0},
    {3, ".aif .aiff .aifc", "AIFF reader", nullptr, 0},
    {4, ".au", "AU reader", nullptr, 0},
    {5, ".mp1", "media stream reader", nullptr, 6},
    {6, ".aup", "Audacity project reader", nullptr, 0},
    {7, ".gsm", "GSM reader", nullptr, 0},
    {8, ".flac", "FLAC reader", nullptr, 0},
    {9, ".vox", "Dialogic reader", nullptr, 0},
    {10, ".qcp", "PureVoice component", nullptr, 0},
    {11, ".voc", "Creative Voice reader", nullptr, 0},
    {12, ".raw .snd", "raw reader", nullptr, 0},
    {13, ".moh", "IMS reader", nullptr, 0},
    {14, ".mid .midi .smf", "MIDI renderer", nullptr, 0},
    {14, ".aud", "cache file reader", OpenCacheFileRow, 0},
    {14, ".weba", "media stream reader", nullptr, 15},
    {15, ".mp2", "media stream reader", nullptr, 16},
    {16, ".dct", "dictation reader", nullptr, 0},
    {17, ".dart", "PC Dart reader", nullptr, 0},
    {18, ".act", "WAV reader", OpenActRow, 19},
    {19, kComponentExtensions, "component decoder", nullptr, 27},
    {20, ".amr", "AMR component", nullptr, 0},
    {21, ".ds2", "DS2 dictation decoder", nullptr, 0},
    {22, ".dss", "DSS component", nullptr, 0},
    {23, ".dvs", "DVS component", nullptr, 0},
    {24, ".ra .ram .rm .rmj .ac3", "no reader of its own", nullptr, 27},
    {25, ".cda", "disc track reader", nullptr, 0},
    {26, ".wv", "WavPack component", nullptr, 0},
    {27, ".wma .wmv", "Windows Media reader", nullptr, 0},
    {28, ".stlp", "no reader: projects only", nullptr, 0},
    {29, "", "media module", nullptr, 0},
};

bool Takes(const LReaderRow& row, const QString& extension) {
    const QString list = QString::fromLatin1(row.extensions);
    return list.isEmpty() || (!extension.isEmpty() && list.split(u' ').contains(extension));
}

}  // namespace

std::span<const LReaderRow> ReaderTable() { return kReaders; }

const LReaderRow* NextReader(const QString& extension, int fromOrder) {
    for (const LReaderRow& row : kReaders) {
        if (row.order >= fromOrder && Takes(row, extension)) return &row;
    }
    return nullptr;
}

// The failure of a reader that knows the file tells more than the lack of one further down.
LSoundSourceRef OpenSoundSource(const QString& filename, LProgress& progress, const LOpenOptions& options) {
    const QString extension = LowerExtension(filename);
    LSoundSourceRef failed = FailedSource(kSourceUnsupported);
    bool told = false;
    for (const LReaderRow* row = NextReader(extension, 1); row; row = NextReader(extension, row->onFailure)) {
        if (row->open) {
            LSoundSourceRef source = row->open(filename, progress, options);
            if (source.IsUsable()) return source;
            if (!told) failed = source;
            told = true;
        }
        if (row->onFailure <= row->order) break;
    }
    return failed;
}

}  // namespace ondarix
