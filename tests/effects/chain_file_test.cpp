// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/chain_file.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <QDir>
#include <QSet>
#include <csignal>

#include "effects/ecf_bytes.h"
#include "effects/effect_fixture.h"

namespace ondarix::test {
namespace {

// Effects whose fields are not one chunk for each parameter from 8192 up.
const QSet<int> kOwnStoredForms = {5, 9, 10, 11, 12, 16, 17, 23};

class ChainFileTest : public ::testing::Test {
  protected:
    QString Path() const { return folder_.filePath("chain.ecf"); }
    QByteArray Write(const LEffectChain& chain) const {
        EXPECT_EQ(WriteEffectChainFile(Path(), chain), LChainWrite::kWritten);
        return FileBytesOf(Path());
    }
    static LEffectChain Read(const QByteArray& bytes) {
        LEffectChain chain;
        EXPECT_TRUE(ReadBytes(bytes, chain));
        return chain;
    }
    static bool ReadBytes(const QByteArray& bytes, LEffectChain& chain) {
        const std::span data(reinterpret_cast<const uint8_t*>(bytes.constData()),
                             static_cast<size_t>(bytes.size()));
        return ReadEffectChain(std::make_shared<LMemoryBytes>(data), chain);
    }
    static std::vector<int32_t> TypesOf(const LEffectChain& chain) {
        std::vector<int32_t> types;
        for (const LEffect* effect : chain.Effects()) types.push_back(effect->GetType());
        return types;
    }

    QTemporaryDir folder_;
};

int StoredType(LParamType type) {
    if (type == LParamType::kDouble) return 4;
    return type == LParamType::kDb || type == LParamType::kBool || type == LParamType::kChoice ? 1 : 2;
}

double StoredValue(LParamType type, const EcfChunk& chunk) {
    if (type == LParamType::kDouble) return static_cast<double>(chunk.F32());
    if (type == LParamType::kDb) return static_cast<int8_t>(chunk.payload[0]);
    return chunk.type == 1 ? static_cast<uint8_t>(chunk.payload[0]) : static_cast<int32_t>(chunk.U32());
}

QByteArray StoredChunk(const LEffectParam& param, int index, double value) {
    const int tag = 8192 + index;
    if (param.type == LParamType::kDouble) return EcfF32(tag, static_cast<float>(value));
    if (StoredType(param.type) == 1) return EcfByte(tag, static_cast<int>(value));
    return EcfU32(tag, static_cast<uint32_t>(static_cast<int64_t>(value)));
}

TEST_F(ChainFileTest, EveryEffectIsStoredAsTheFormatSays) {
    std::mt19937 random(4);
    for (const LEffectRow* row : RowsOfThisVersion()) {
        if (row->type == 0) continue;
        for (int times = 0; times < 10; ++times) {
            std::unique_ptr<LEffect> effect = row->make();
            SetAnyValues(*effect, random);
            effect->bypass = static_cast<uint8_t>(times % 2);
            effect->storedWord = random();
            LEffectChain chain;
            ASSERT_TRUE(chain.Add(effect->Clone()));
            const auto root = ParseEcf(Write(chain));
            ASSERT_TRUE(root) << row->id;
            ASSERT_EQ(root->size(), 2U);
            const EcfChunk &type = root->at(0), &group = root->at(1);
            EXPECT_EQ(type.id, 8192);
            EXPECT_EQ(type.type, 2);
            EXPECT_EQ(type.U32(), static_cast<uint32_t>(row->type));
            EXPECT_EQ(group.id, 4096);
            EXPECT_EQ(group.type, 0);
            ASSERT_FALSE(group.children.empty());
            const EcfChunk& common = group.children[0];
            EXPECT_EQ(common.payload, EcfCommon(effect->bypass, effect->storedWord).mid(12));
            EXPECT_EQ(common.id, 4096);
            if (kOwnStoredForms.contains(row->type)) continue;
            ASSERT_EQ(group.children.size(), 1U + static_cast<size_t>(effect->GetParameterCount()));
            for (int i = 0; i < effect->GetParameterCount(); ++i) {
                const LEffectParam param = InfoOf(*effect, i);
                const EcfChunk& field = group.children[static_cast<size_t>(i) + 1];
                EXPECT_EQ(field.id, 8192 + i);
                ASSERT_EQ(field.type, StoredType(param.type));
                ASSERT_EQ(field.payload.size(), field.type == 1 ? 1 : 4);
                const double expected = param.type == LParamType::kDouble
                                            ? static_cast<double>(static_cast<float>(param.value))
                                            : param.value;
                EXPECT_EQ(StoredValue(param.type, field), expected)
                    << row->id << ", " << param.id.toStdString();
            }
        }
    }
}

TEST_F(ChainFileTest, FilesOfAnotherWriterAreRead) {
    std::mt19937 random(6);
    for (const LEffectRow* row : RowsOfThisVersion()) {
        if (row->type == 0 || kOwnStoredForms.contains(row->type)) continue;
        for (int times = 0; times < 10; ++times) {
            const std::unique_ptr<LEffect> effect = row->make();
            SetAnyValues(*effect, random);
            QByteArray fields;
            for (int i = effect->GetParameterCount() - 1; i >= 0; --i)  // in any order
                fields += StoredChunk(InfoOf(*effect, i), i, InfoOf(*effect, i).value);
            // Chunks that nobody knows, everywhere.
            const QByteArray unknown = EcfU32(5, 1) + EcfGroup(77, EcfByte(8192, 1)) + EcfPut(8192, 77, "?");
            const LEffectChain chain = Read(EcfFile(
                unknown + EcfU32(8192, static_cast<uint32_t>(row->type)) + unknown +
                EcfGroup(4096, unknown + EcfGroup(4096, unknown + EcfU32(12288, 99)) + unknown + fields)));
            ASSERT_EQ(TypesOf(chain), std::vector<int32_t>{row->type});
            EXPECT_EQ(chain.At(0)->bypass, 0);
            EXPECT_EQ(chain.At(0)->storedWord, 99U);
            for (int i = 0; i < effect->GetParameterCount(); ++i) {
                const LEffectParam param = InfoOf(*effect, i);
                const double got = InfoOf(*chain.At(0), i).value;
                if (param.type == LParamType::kDouble) {
                    EXPECT_EQ(static_cast<float>(got), static_cast<float>(param.value)) << row->id;
                } else {
                    EXPECT_EQ(got, param.value) << row->id << ", " << param.id.toStdString();
                }
            }
        }
    }
}

TEST_F(ChainFileTest, ComesBackAsItWasWritten) {
    std::mt19937 random(8);
    const Samples samples = RoughNoise(4000, 2);
    for (int times = 0; times < 20; ++times) {
        LEffectChain chain;
        for (const LEffectRow* row : RowsOfThisVersion()) {
            if (row->type == 0 || random() % 2 == 0) continue;
            std::unique_ptr<LEffect> effect = row->make();
            // Values that a 32-bit float holds as the same decimal.
            for (int i = 0; i < effect->GetParameterCount(); ++i) {
                const LEffectParam param = InfoOf(*effect, i);
                effect->SetParameter(i, std::round(AnyValue(param, random) * 100) / 100);
            }
            ASSERT_TRUE(chain.Add(std::move(effect)));
        }
        if (chain.Count() == 0) continue;
        const QByteArray written = Write(chain);
        EXPECT_TRUE(written.endsWith("lsdf"));
        LEffectChain read;
        ASSERT_EQ(ReadEffectChainFile(Path(), read), LChainRead::kRead);
        ASSERT_EQ(TypesOf(read), TypesOf(chain));
        for (int i = 0; i < chain.Count(); ++i) EXPECT_EQ(ValuesOf(*read.At(i)), ValuesOf(*chain.At(i)));
        EXPECT_TRUE(SameBits(Filtered(read, samples, {44100, 2}), Filtered(chain, samples, {44100, 2})));
        EXPECT_EQ(Write(read), written);
    }
}

TEST_F(ChainFileTest, AnEffectThatIsOffComesBackBypassed) {
    LEffectChain chain;
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(chain.Add(MakeEffect(1)));
    chain.SetEnabled(1, false);
    chain.At(2)->bypass = 7;
    const LEffectChain read = Read(Write(chain));
    ASSERT_EQ(read.Count(), 3);
    EXPECT_TRUE(read.IsOn(0));
    EXPECT_FALSE(read.IsOn(1));
    EXPECT_EQ(read.At(1)->bypass, 1);
    EXPECT_EQ(read.At(2)->bypass, 7);
    EXPECT_EQ(chain.At(1)->bypass, 0) << "saving changes nothing in the window";
}

// --- Types that this version does not know.

TEST_F(ChainFileTest, WhatIsUnknownIsSavedByteForByte) {
    const QByteArray deep = EcfGroup(8192, EcfGroup(4097, EcfF32(4098, -0.0f) + EcfGroup(1, QByteArray())) +
                                               EcfPut(9, 7, QByteArray(5000, 'v')));
    const QByteArray bodies[] = {
        QByteArray(),
        EcfCommon(),
        EcfCommon(9, 12345) + deep,
        EcfGroup(4096, EcfByte(8192, 0) + EcfU32(12288, 1) + EcfPut(5, 6, "later")) + deep + deep,
        EcfF32(8192, 0.1f) + deep,                        // no common part
        EcfU32(8192, 1) + EcfCommon(1, 2) + EcfCommon(),  // not in its place, and a second one
        EcfGroup(4096, "no chunks at all, but bytes") + EcfPut(65535, 65535, "x"),
    };
    for (const int32_t type : {5000, -1, 32767, 34, 18, std::numeric_limits<int32_t>::min()}) {
        for (const QByteArray& body : bodies) {
            const QByteArray file =
                EcfFile(EcfEffect(type, body) + EcfEffect(1, EcfCommon() + EcfU32(8192, 50)));
            const LEffectChain chain = Read(file);
            ASSERT_EQ(TypesOf(chain), (std::vector<int32_t>{type, 1}));
            EXPECT_EQ(chain.At(0)->GetName(), "Unknown");
            const QByteArray expected = body.contains(EcfLe(4096, 2) + EcfLe(0, 2)) ? file : QByteArray();
            if (!expected.isEmpty()) {
                EXPECT_EQ(Write(chain), expected);
                EXPECT_EQ(Write(LEffectChain(chain)), expected);
            }
            // Without a common part one is put in front.
            const QByteArray again = Write(Read(Write(chain)));
            EXPECT_EQ(again, Write(chain));
            EXPECT_TRUE(again.contains(body));
        }
    }
}

TEST_F(ChainFileTest, AnUnknownEffectCanBeSwitchedOff) {
    const QByteArray fields = EcfPut(8192, 7, "state") + EcfGroup(8193, EcfByte(1, 1));
    LEffectChain chain = Read(EcfFile(EcfEffect(5000, EcfCommon(0, 55) + fields)));
    chain.SetEnabled(0, false);
    EXPECT_EQ(Write(chain), EcfFile(EcfEffect(5000, EcfCommon(1, 55) + fields)));
    LEffectChain off = Read(FileBytesOf(Path()));
    EXPECT_FALSE(off.IsOn(0));
    off.SetEnabled(0, true);
    EXPECT_EQ(Write(off), EcfFile(EcfEffect(5000, EcfCommon(0, 55) + fields)));
}

// --- Files that are not in order.

TEST_F(ChainFileTest, AHeaderThatDoesNotFitLeavesTheChainAsItWas) {
    LEffectChain chain;
    ASSERT_TRUE(chain.Add(MakeEffect(1)));
    chain.At(0)->SetParameter(0, 77);
    const QByteArray body = EcfEffect(1, EcfCommon());
    QByteArray wrongMagic = EcfFile(body), wrongContainer = EcfFile(body), wrongRoot = EcfFile(body);
    wrongMagic[0] = 'L';
    wrongContainer[4] = 2;
    wrongRoot[14] = 7;
    for (const QByteArray& bytes : {QByteArray(), QByteArray("lsdf"), EcfFile(body, 26), EcfFile(body, 11, 2),
                                    EcfFile(body, 11, 0), wrongMagic, wrongContainer, wrongRoot})
        EXPECT_FALSE(ReadBytes(bytes, chain));
    EXPECT_EQ(TypesOf(chain), std::vector<int32_t>{1});
    EXPECT_EQ(ValuesOf(*chain.At(0))[0], 77);
    EXPECT_TRUE(ReadBytes(EcfFile({}), chain));
    EXPECT_EQ(chain.Count(), 0) << "an empty chain is one";
}

TEST_F(ChainFileTest, OfACutFileWhatIsThereIsRead) {
    QByteArray body;
    for (const uint32_t percent : {50U, 60U, 70U}) body += EcfEffect(1, EcfCommon() + EcfU32(8192, percent));
    const QByteArray whole = EcfFile(body);
    int most = 0;
    for (qsizetype length = 28; length <= whole.size(); ++length) {
        LEffectChain chain;
        ASSERT_TRUE(ReadBytes(whole.left(length), chain)) << length;
        EXPECT_GE(chain.Count(), most) << length;
        most = chain.Count();
        for (int i = 0; i + 1 < chain.Count(); ++i) EXPECT_EQ(ValuesOf(*chain.At(i))[0], 50 + 10 * i);
    }
    EXPECT_EQ(most, 3);
}

TEST_F(ChainFileTest, WhatHasNoPlaceInAChainIsThrownAway) {
    const QByteArray plain = EcfCommon() + EcfU32(8192, 50);
    EXPECT_EQ(TypesOf(Read(EcfFile(EcfEffect(9, plain) + EcfEffect(1, plain) + EcfEffect(9, {})))),
              std::vector<int32_t>{1});
    EXPECT_EQ(TypesOf(Read(EcfFile(EcfGroup(4096, plain) + EcfEffect(0, plain) + EcfEffect(1, plain)))),
              std::vector<int32_t>{1});
    EXPECT_EQ(TypesOf(Read(EcfFile(EcfEffect(1, plain) + EcfGroup(4096, plain) + EcfEffect(5000, plain)))),
              (std::vector<int32_t>{1, 1, 5000}))
        << "a number goes for all groups up to the next number";
    QByteArray many;
    for (int i = 0; i < 1500; ++i) many += EcfEffect(i % 2 ? 1 : 5000, plain);
    const LEffectChain chain = Read(EcfFile(many));
    EXPECT_EQ(chain.Count(), LEffectChain::kMostEffects);
}

TEST_F(ChainFileTest, ValuesOutsideOfTheirRangesAreTakenToTheNearest) {
    const auto gain = [](const QByteArray& field) {
        return ValuesOf(*Read(EcfFile(EcfEffect(1, EcfCommon() + field))).At(0))[0];
    };
    EXPECT_EQ(gain(EcfU32(8192, 0)), 1);
    EXPECT_EQ(gain(EcfU32(8192, 401)), 400);
    EXPECT_EQ(gain(EcfU32(8192, 0xFFFFFFFF)), 1);
    EXPECT_EQ(gain(EcfU32(8192, 0x7FFFFFFF)), 400);
    EXPECT_EQ(gain(EcfF32(8192, 50)), 100) << "another type than the field's is none";
    EXPECT_EQ(gain(EcfPut(8192, 2, "abc")), 100);
}

std::vector<int32_t> EveryType() {
    std::vector<int32_t> types = {32767};
    for (int32_t type = 0; type <= 40; ++type) types.push_back(type);
    return types;
}

QByteArray RandomBody(std::mt19937& random, int depth) {
    QByteArray body;
    for (size_t count = random() % 6; count > 0; --count) {
        const int id = random() % 4 == 0 ? static_cast<int>(random() % 65536)
                                         : static_cast<int>((random() % 2 ? 4096 : 8192) + random() % 8);
        QByteArray bytes;
        for (size_t length = random() % 12; length > 0; --length) bytes += static_cast<char>(random());
        switch (random() % 6) {
            case 0:
                body += depth > 0 ? EcfGroup(id, RandomBody(random, depth - 1)) : EcfGroup(id, bytes);
                break;
            case 1:
                body += EcfByte(id, static_cast<int>(random() % 256));
                break;
            case 2:
                body += EcfU32(id, static_cast<uint32_t>(random()));
                break;
            case 3: {
                const float values[] = {std::nanf(""), INFINITY, -INFINITY, 1e38f, -1e38f, 0.5f, 1e-45f};
                body += EcfF32(id, values[random() % std::size(values)]);
                break;
            }
            case 4:
                body += EcfPut(id, static_cast<int>(random() % 65536), bytes);
                break;
            default:
                body += bytes;  // no chunk at all
        }
    }
    return body;
}

TEST_F(ChainFileTest, EveryTypeNumberSurvivesAnyBody) {
    std::mt19937 random(40);
    const LSoundFormat format{44100, 2};
    const Samples samples = RoughNoise(500, 2);
    for (int times = 0; times < 25; ++times) {
        QByteArray body;
        std::vector<int32_t> expected;
        for (const int32_t type : EveryType()) {
            body += EcfEffect(type, (times % 2 ? EcfCommon() : QByteArray()) + RandomBody(random, 4));
            if (type != 0 && type != 9) expected.push_back(type);
        }
        LEffectChain chain = Read(EcfFile(body));
        ASSERT_EQ(TypesOf(chain), expected);
        chain.SetFormat(format);
        Prepare(chain, samples, format);
        for (const float one : Filtered(chain, samples, format)) ASSERT_TRUE(std::isfinite(one));
        const QByteArray first = Write(chain);
        EXPECT_EQ(Write(Read(first)), first) << "what was read and written once stays as it is";
    }
}

// --- The file system.

TEST_F(ChainFileTest, TellsWhyAFileCannotBeReadOrWritten) {
    LEffectChain chain;
    EXPECT_EQ(WriteEffectChainFile(Path(), chain), LChainWrite::kEmpty);
    EXPECT_FALSE(QFile::exists(Path()));
    ASSERT_TRUE(chain.Add(MakeEffect(1)));
    EXPECT_EQ(WriteEffectChainFile(folder_.filePath("none/chain.ecf"), chain), LChainWrite::kFailed);
    EXPECT_EQ(WriteEffectChainFile(folder_.path(), chain), LChainWrite::kFailed) << "a folder";
    EXPECT_EQ(WriteEffectChainFile("/dev/full", chain), LChainWrite::kFailed);
    EXPECT_EQ(WriteEffectChainFile(QString(), chain), LChainWrite::kFailed);
    EXPECT_EQ(ReadEffectChainFile(folder_.filePath("none.ecf"), chain), LChainRead::kCannotOpen);
    EXPECT_EQ(ReadEffectChainFile(folder_.path(), chain), LChainRead::kCannotOpen);
    EXPECT_EQ(ReadEffectChainFile("/dev/zero", chain), LChainRead::kCannotOpen);
    EXPECT_EQ(chain.Count(), 1);
    ASSERT_TRUE(chain.Add(FindEffect(QString("reverse"))->make()));
    EXPECT_EQ(WriteEffectChainFile(Path(), chain), LChainWrite::kUnstorable);
    EXPECT_FALSE(QFile::exists(Path()));
    EXPECT_EQ(QDir(folder_.path()).entryList(QDir::Files | QDir::Hidden), QStringList()) << "left behind";

    const auto said = [](const LChainMessage& message) { return message.title + "|" + message.text; };
    EXPECT_EQ(said(ChainMessage(LChainRead::kNoChain)), "Read Error|Can not open file to load the effects.");
    EXPECT_EQ(said(ChainMessage(LChainWrite::kFailed)), "Write Error|Can not open file to save the effects.");
    EXPECT_EQ(ChainMessage(LChainWrite::kEmpty).text,
              "No effects added, please add some effects and then try again.");
    EXPECT_EQ(said(ChainMessage(LChainWrite::kWritten)), "|");
}

// As on a disk that is full after `bytes` of a file.
class LFileLimit {
  public:
    explicit LFileLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~LFileLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

  private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST_F(ChainFileTest, AFullDiskLeavesTheOldFileAndNothingElse) {
    LEffectChain chain;
    ASSERT_TRUE(chain.Add(MakeEffect(1)));
    const QByteArray old = Write(chain);
    ASSERT_TRUE(chain.Add(MakeEffect(1)));
    const qsizetype whole =
        EcfFile(EcfEffect(1, EcfCommon() + EcfU32(8192, 100)) + EcfEffect(1, EcfCommon() + EcfU32(8192, 100)))
            .size();
    for (qsizetype room = 0; room < whole; room += 7) {
        const LFileLimit limit(static_cast<rlim_t>(room));
        ASSERT_EQ(WriteEffectChainFile(Path(), chain), LChainWrite::kFailed) << room;
    }
    EXPECT_EQ(FileBytesOf(Path()), old);
    EXPECT_EQ(QDir(folder_.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"chain.ecf"});
    const LFileLimit limit(static_cast<rlim_t>(whole));
    EXPECT_EQ(WriteEffectChainFile(Path(), chain), LChainWrite::kWritten);
}

TEST_F(ChainFileTest, TakesThePlaceOfTheOldFile) {
    LEffectChain chain;
    ASSERT_TRUE(chain.Add(MakeEffect(1)));
    const QByteArray written = Write(chain);
    ASSERT_EQ(chmod(QFile::encodeName(Path()).constData(), 0640), 0);
    QFile old(Path());
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    const QString link = folder_.filePath("link.ecf");
    ASSERT_TRUE(QFile::link(Path(), link));
    ASSERT_TRUE(chain.Add(MakeEffect(1)));
    EXPECT_EQ(WriteEffectChainFile(link, chain), LChainWrite::kWritten);
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(old.readAll(), written) << "who reads the old file goes on reading it";
    EXPECT_EQ(Read(FileBytesOf(Path())).Count(), 2);
    struct stat facts;
    ASSERT_EQ(stat(QFile::encodeName(Path()).constData(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0640U);
    EXPECT_EQ(QDir(folder_.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
}

}  // namespace
}  // namespace ondarix::test
