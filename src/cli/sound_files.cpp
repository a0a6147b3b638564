// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/sound_files.h"

#include <QFileInfo>
#include <algorithm>

#include "formats/registry.h"
#include "formats/save.h"
#include "formats/wav_source.h"
#include "gen/text.h"
#include "sound/cache.h"

namespace ondarix {
namespace {

constexpr uint16_t kTagPcm = 1, kTagFloat = 3, kTagALaw = 6, kTagMuLaw = 7;

constexpr LCoding kCodings[] = {
    {"8", kTagPcm, 8, "PCM 8-bit"},           {"16", kTagPcm, 16, "PCM 16-bit"},
    {"24", kTagPcm, 24, "PCM 24-bit"},        {"32", kTagPcm, 32, "PCM 32-bit"},
    {"float", kTagFloat, 32, "float 32-bit"}, {"alaw", kTagALaw, 8, "A-law"},
    {"mulaw", kTagMuLaw, 8, "mu-law"},
};

// What keeps the samples of a file as they are, or nearly so; 16-bit PCM for decoders without a width.
const LCoding& CodingOfInput(const QString& input, const LSound& sound) {
    LFileBytes file(input);
    const LWavHeader header =
        file.IsOpen() && LowerExtension(input) == ".wav" ? ReadWavHeader(file) : LWavHeader{};
    uint16_t tag = kTagPcm;
    uint32_t bits = sound.segments ? CacheSourceBits(sound.segments->cacheRef.cacheId) : 0;
    if (header.error == kSourceGood) {
        tag = header.tag;
        // 64-bit floats become what the program computes with, PCM of odd widths takes the next larger one.
        bits = tag == kTagFloat ? 32 : std::min((header.bits + 7u) / 8 * 8, 32u);
    }
    const LCoding* coding = FindCoding(tag, static_cast<uint16_t>(bits));
    return coding ? *coding : *FindCoding("16");
}

const char* SourceErrorText(uint8_t error) {
    switch (error) {
        case kSourceCannotOpen:
            return "cannot be opened";
        case kSourceUnsupported:
            return "has a coding that is not supported";
        case kSourceRefused:
            return "has a coding that is refused";
        default:
            return "is no sound file that can be read";
    }
}

}  // namespace

const LCoding* FindCoding(const QString& name) {
    const auto found = std::find_if(std::begin(kCodings), std::end(kCodings),
                                    [&](const LCoding& coding) { return name == coding.name; });
    return found == std::end(kCodings) ? nullptr : found;
}

const LCoding* FindCoding(uint16_t tag, uint16_t bits) {
    const auto found = std::find_if(std::begin(kCodings), std::end(kCodings), [&](const LCoding& coding) {
        return coding.tag == tag && coding.bits == bits;
    });
    return found == std::end(kCodings) ? nullptr : found;
}

LSoundSourceRef OpenFile(const QString& path, LContext& context, QString& fault) {
    const QFileInfo info(path);
    if (!info.exists()) {
        fault = QString("File Not Found: \"%1\".").arg(path);
        return {};
    }
    if (!info.isFile()) {
        fault = QString("\"%1\" is not a regular file").arg(path);
        return {};
    }
    LSoundSourceRef source = OpenSoundSource(path, context.progress);
    if (!source.IsUsable()) fault = QString("\"%1\" %2").arg(path, SourceErrorText(source->error));
    return source;
}

ExitStatus LoadFile(const QString& path, LContext& context, LLoadedSound& loaded) {
    const JobResult result = LoadSound(path, 0, loaded, context.progress, context.host);
    return context.Ended(result, QString("\"%1\" cannot be opened").arg(path));
}

namespace {

// The private folder of working files for the time of one command.
class LWorkingFolder {
  public:
    LWorkingFolder() : open_(OpenPrivateCache()) {}
    ~LWorkingFolder() {
        if (open_) CloseCache();
    }
    LWorkingFolder(const LWorkingFolder&) = delete;
    LWorkingFolder& operator=(const LWorkingFolder&) = delete;
    bool IsOpen() const { return open_; }

  private:
    bool open_;
};

ExitStatus CheckOutput(const LArguments& arguments, LContext& context, bool mayBeNone, LOutputFile& output) {
    LConsole& console = context.console;
    output.path = arguments.operands[1];
    output.noClobber = arguments.Has(kNoClobberOption.name);
    output.noShaping = arguments.Has(kNoShapingOption.name);
    const QString extension = LowerExtension(output.path);
    if (arguments.Has(kBitsOption.name)) {
        const QString name = arguments.Value(kBitsOption.name);
        output.coding = FindCoding(name);
        if (!output.coding) {
            return console.Fail(
                QString("--bits: \"%1\" is none of 8, 16, 24, 32, float, alaw, mulaw").arg(name),
                ExitStatus::kUsage);
        }
        if (extension != ".wav" && !(mayBeNone && output.IsNone()))
            return console.Fail("--bits is for .wav files only", ExitStatus::kUsage);
    }
    if (mayBeNone && output.IsNone()) return ExitStatus::kSuccess;
    if (extension.isEmpty()) {
        return console.Fail(
            QString("\"%1\" has no extension that tells the kind of file to write").arg(output.path));
    }
    if (!FormatCanBeWritten(extension)) {
        return console.Fail(QString("%1 files cannot be written (see: ondarix-cli formats)").arg(extension));
    }
    const QFileInfo info(output.path);
    if (info.isDir()) return console.Fail(QString("\"%1\" is a folder").arg(output.path));
    if (output.noClobber && (info.exists() || info.isSymLink())) {
        return console.Fail(QString("\"%1\" exists").arg(output.path));
    }
    if (!QFileInfo(info.path()).isDir()) {
        return console.Fail(QString("there is no folder \"%1\"").arg(info.path()));
    }
    return ExitStatus::kSuccess;
}

// Loads the sound that is to be saved, and settles the coding where none was asked for.
ExitStatus LoadInput(const QString& path, LContext& context, LLoadedSound& loaded, LOutputFile& output) {
    const ExitStatus status = LoadFile(path, context, loaded);
    if (status != ExitStatus::kSuccess) return status;
    context.console.Result()["input"] = path;
    if (!output.coding) output.coding = &CodingOfInput(path, loaded.sound);
    return status;
}

ExitStatus SaveFile(LLoadedSound& loaded, const LOutputFile& output, LContext& context) {
    if (output.noClobber && QFileInfo::exists(output.path)) {
        return context.console.Fail(QString("\"%1\" exists").arg(output.path));
    }
    const LCoding& coding = *output.coding;
    const LSound& sound = loaded.sound;
    LSaveRequest request;
    request.sound = &sound;
    request.path = output.path;
    request.record = LFormatRecord::Plain(coding.tag, coding.bits, static_cast<uint32_t>(sound.sampleRate),
                                          sound.channels);
    request.foreignChunks = loaded.foreignChunks;
    request.shaping = !output.noShaping;
    request.bookmarks = &loaded.bookmarks;
    const LSaveOutcome outcome = SaveSound(request, context.progress, context.host);
    const JobResult result = outcome.result == SaveResult::kSuccess     ? JobResult::kSuccess
                             : outcome.result == SaveResult::kCancelled ? JobResult::kCancelled
                                                                        : JobResult::kFailed;
    const ExitStatus status = context.Ended(result, QString("\"%1\" cannot be written").arg(output.path));
    if (status != ExitStatus::kSuccess) return status;
    QJsonObject& json = context.console.Result();
    json["output"] = output.path;
    json["sampleRate"] = sound.sampleRate;
    json["channels"] = sound.channels;
    json["frames"] = JsonInt(sound.Length());
    json["bytes"] = JsonInt(QFileInfo(output.path).size());
    if (LowerExtension(output.path) == ".wav") json["coding"] = coding.text;
    return status;
}

}  // namespace

ExitStatus RewriteSound(const LArguments& arguments, LContext& context, const LSoundChange& change,
                        bool mayBeNone) {
    LOutputFile output;
    ExitStatus status = CheckOutput(arguments, context, mayBeNone, output);
    if (status != ExitStatus::kSuccess) return status;
    const LWorkingFolder folder;
    if (!folder.IsOpen()) return context.console.Fail("no folder for working files can be made");
    LLoadedSound loaded;
    status = LoadInput(arguments.operands[0], context, loaded, output);
    if (status == ExitStatus::kSuccess) status = change(loaded, output);
    if (status != ExitStatus::kSuccess) return status;
    return output.IsNone() ? context.Ended(JobResult::kSuccess, {}) : SaveFile(loaded, output, context);
}

}  // namespace ondarix
