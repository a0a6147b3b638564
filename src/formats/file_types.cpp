// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/file_types.h"

namespace ondarix {

namespace {

constexpr LFileTypeRow kSaveRows[] = {
    {"Wave (*.wav)", "*.wav"},
    {"MPEG Layer-1 (*.mp1)", "*.mp1"},
    {"MPEG Layer-2 (*.mp2)", "*.mp2"},
    {"MPEG Layer-3 (*.mp3)", "*.mp3"},
    {"Windows Media Audio (*.wma)", "*.wma"},
    {"Ogg Vorbis (*.ogg)", "*.ogg"},
    {"Opus (*.opus)", "*.opus"},
    {"Apple AIFF(*.aif, *.aiff, *.aifc)", "*.aif;*.aiff;*.aifc"},
    {"iPhone Ringtone(*.m4r)", "*.m4r"},
    {"Sun AU (*.au)", "*.au"},
    {"FLAC (*.flac)", "*.flac"},
    {"AAC (*.aac)", "*.aac"},
    {"MPEG-4a Audio (*.m4a)", "*.m4a"},
    {"MPEG-4b Audio (*.m4b)", "*.m4b"},
    {"GSM (*.gsm)", "*.gsm"},
    {"Dialogic Vox (*.vox)", "*.vox"},
    {"Raw Audio (*.raw)", "*.raw"},
    {"RSS Podcast Audio (*.rss)", "*.rss"},
    {"AMR Narrowband Audio (*.amr)", "*.amr"},
    {"Musepack Audio (*.mpc)", "*.mpc"},
    {"Monkey's Audio Codec (*.ape)", "*.ape"},
    {"Speex (*.spx)", "*.spx"},
    {"Notewell (*.dct)", "*.dct"},
    {"Ondarix Sound Editor Project (.odxp)", "*.odxp"},
    {"MP4 Video (.mp4)", "*.mp4"},
};

constexpr LFileTypeRow kOpenRows[] = {
    {"Audio Files",
     "*.odxp;*.wav;*.mp3;*.oga;*.ogg;*.wma;*.aif;*.aiff;*.aifc;*.au;*.ra;*.ram;*.rm;*.rmj;*.flac;"
     "*.aac;*.gsm;*.3ga;*.vox;*.raw;*.dct;*.dvs;*.m4a;*.mp4;*.m4b;*.m4r;*.mp2;*.mpc;*.mpga;*.msv;"
     "*.dvf;*.rec;*.shn;*.amr;*.ape;*.spx;*.opus;*.cda;*.wv;*.mid;*.midi;*.voc;*.moh;*.weba;*.ds2;"
     "*.dss;*.act;*.rcd;*.caf;*.smf;*.w64;*.rf64"},
    {"Ondarix Sound Editor Project Files (.odxp)", "*.odxp"},
    {"Strataline Project Files (.stlp)", "*.stlp"},
    {"Audacity Project Files (*.aup)", "*.aup"},
    {"CD Audio Tracks (*.cda)", "*.cda"},
    {"Video Files", "*.avi;*.mpg;*.mpeg;*.mp4;*.wmv;*.asf;*.mov;*.3gp;*.mod;*.flv;*.mkv;*.swf;*.dv"},
    {"Wave Files (*.wav, *.w64, *.rf64)", "*.wav;*.w64;*.rf64"},
    {"MPEG Layer-3 Files (*.mp3, *.mp2, *.mpga)", "*.mp3;*.mp2;*.mpga"},
    {"Ogg Vorbis Files (*.oga, *.ogg, *.weba)", "*.oga;*.ogg;*.weba"},
    {"Windows Media Audio Files (*.wma)", "*.wma"},
    {"Apple AIFF Files (*.aif, *.aiff, *.aifc)", "*.aif;*.aiff;*.aifc"},
    {"Sun AU Files (*.au)", "*.au"},
    {"Real Audio Files (*.ra, *.ram, *.rm, *.rmj)", "*.ra;*.ram;*.rm;*.rmj"},
    {"FLAC Files (*.flac)", "*.flac"},
    {"AAC Files (*.aac, *.m4a, *.m4b)", "*.aac;*.m4a;*.m4b"},
    {"iPhone Ringtone Files (*.m4r)", "*.m4r"},
    {"ALAC Files (*.caf)", "*.caf"},
    {"GSM Files (*.gsm)", "*.gsm"},
    {"3GA Files (*.3ga)", "*.3ga"},
    {"Voc Files (*.voc)", "*.voc"},
    {"Dialogic Vox Files (*.vox)", "*.vox"},
    {"Qualcomm PureVoice Files (*.qcp)", "*.qcp"},
    {"Raw Audio Files (*.raw)", "*.raw"},
    {"MIDI Files (*.mid, *.midi, *.smf)", "*.mid;*.midi;*.smf"},
    {"DS2 Files (*.ds2)", "*.ds2"},
    {"DSS Files (*.dss)", "*.dss"},
    {"Sony Memory Stick Voice Files (*.msv)", "*.msv"},
    {"Sony Digital Voice Files (*.dvf)", "*.dvf"},
    {"Dictation Files (*.dct)", "*.dct"},
    {"Record Files (*.act, *.rcd, *.rec)", "*.act;*.rcd;*.rec"},
    {"Shorten Files (*.shn)", "*.shn"},
    {"AMR Narrowband Audio Files (*.amr)", "*.amr"},
    {"PC Dart Files (*.dart)", "*.dart"},
    {"IMS Files (*.moh)", "*.moh"},
    {"Musepack Files (*.mpc)", "*.mpc"},
    {"Monkey's Audio Codec (*.ape)", "*.ape"},
    {"Speex Audio Files (*.spx)", "*.spx"},
    {"Opus Files (*.opus)", "*.opus"},
    {"WavPack Audio Files (*.wv)", "*.wv"},
    {"Windows Media Video Files (*.wmv, *.asf)", "*.wmv;*.asf"},
    {"MPEG Video Files (*.mpg, *.mpeg)", "*.mpg;*.mpeg"},
    {"Audio Video Interleave Files (*.avi)", "*.avi"},
    {"Playlist Files", "*.m3u;*.pls;*.xml"},
    {"Cache Files (*.aud)", "*.aud"},
    {"All Files", "*"},
};

constexpr const char* kShellExtensions =
    "3ga,3gp,669,aac,ac3,act,aif,aifc,aiff,amr,ape,asf,au,aup,avi,caf,cda,dart,dct,ds2,dss,dts,dvf,"
    "flac,flv,gsm,it,m2a,m3u,m4b,m4r,m4a,mid,mka,mkv,mod,moh,mp1,mp2,mp3,mpa,mpc,mpga,msv,oga,ogg,"
    "opus,pls,qcp,ra,rar,rcd,rec,red,rss,s3m,shn,spx,vob,voc,vox,wav,wma,wpl,wv,xm";
constexpr const char* kDefaultShellExtensions = "aac,aif,aiff,au,caf,flac,m4a,mp3,oga,ogg,voc,vox,wav,wma";

bool IsProjectPattern(const QString& pattern) {
    return pattern == QLatin1String("*.odxp") || pattern == QLatin1String("*.stlp") ||
           pattern == QLatin1String("*.aup");
}

// The first row's pattern without the project's own extension.
const QByteArray& SoundPatterns() {
    static const QByteArray patterns = [] {
        QStringList list = QString::fromLatin1(kOpenRows[0].pattern).split(u';');
        list.removeIf(IsProjectPattern);
        return list.join(u';').toLatin1();
    }();
    return patterns;
}

}  // namespace

std::span<const LFileTypeRow> SaveFileTypes() { return kSaveRows; }

std::span<const LFileTypeRow> OpenFileTypes() { return kOpenRows; }

QList<LFileTypeRow> OpenSoundFileTypes() {
    QList<LFileTypeRow> rows = {{kOpenRows[0].label, SoundPatterns().constData()}};
    for (const LFileTypeRow& row : OpenFileTypes().subspan(1)) {
        if (!IsProjectPattern(QString::fromLatin1(row.pattern))) rows.append(row);
    }
    return rows;
}

QStringList ShellExtensions() { return QString::fromLatin1(kShellExtensions).split(u','); }

QStringList DefaultShellExtensions() { return QString::fromLatin1(kDefaultShellExtensions).split(u','); }

QString QtFilter(const LFileTypeRow& row) {
    QString label = QString::fromLatin1(row.label);
    if (const qsizetype bracket = label.indexOf(u'('); bracket >= 0) label.truncate(bracket);
    const QString patterns = QString::fromLatin1(row.pattern).replace(u';', u' ');
    return QStringLiteral("%1 (%2)").arg(label.trimmed(), patterns);
}

}  // namespace ondarix
