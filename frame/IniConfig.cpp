#include "IniConfig.h"

#include <QDir>
#include <functional>
#include <optional>

#include "App.h"
#include "CommonModule.h"
#include "Convert.h"
#include "DialogHost.h"
#include "Errors.h"
#include "Ini.h"
#include "Language.h"
#include "VariableDefinition.h"

namespace tavix {

namespace {

constexpr int kBufferSize = 255;
const QString kLastFolderKey = QStringLiteral("LASTFOLDER");

struct IniKey {
    const char* Section;
    QString Key;
    // Converts and stores the value; gives false when it is outside the accepted range.
    std::function<bool(const QString&)> Store;
    bool Optional = false;
};

bool InRange(int value, int lo, int hi) { return value >= lo && value <= hi; }

std::function<bool(const QString&)> Text(QString VariableDefinition::*field) {
    return [field](const QString& v) {
        Var().*field = v;
        return true;
    };
}

std::function<bool(const QString&)> Int16(int16_t VariableDefinition::*field, int lo, int hi) {
    return [=](const QString& v) {
        Var().*field = vb::CInt(v);
        return InRange(Var().*field, lo, hi);
    };
}

std::function<bool(const QString&)> Colour(uint32_t& target) {
    return [&target](const QString& v) {
        target = static_cast<uint32_t>(vb::CLng(v));
        return true;
    };
}

std::function<bool(const QString&)> Float(double VariableDefinition::*field) {
    return [field](const QString& v) {
        Var().*field = vb::Val(v);
        return true;
    };
}

// The keys in the order they are read. Some key names carry a trailing blank on purpose:
// that is how the program has always asked for them.
std::vector<IniKey> Keys() {
    VariableDefinition& v = Var();
    std::vector<IniKey> keys = {
        {"COMMON", "APPNAME", Text(&VariableDefinition::ProgramTitle), true},
        {"COMMON", "LANGUAGE",
         [](const QString& s) {
             Var().Language = s;
             return IsKnownLanguage(s);
         },
         true},
        {"CAMERA", "CAMERAFILTERNAME", Text(&VariableDefinition::CameraFilterName)},
        {"CAMERA", "GRPFILENAME", Text(&VariableDefinition::GrfFileName)},
        {"CAMERA", "TEMPBITMAPFILE ", Text(&VariableDefinition::TempBitmapFile)},
        {"CAMERA", "DEFAULTSCALE", Int16(&VariableDefinition::DefaultScale, 0, 15)},
        {"FILE", "JPEGQTY",
         [](const QString& s) {
             Var().JpegQty = vb::CByte(s);
             return InRange(Var().JpegQty, 10, 100);
         }},
        {"FILE", "STILL1XSAVE", Int16(&VariableDefinition::Still1xSave, 0, 1)},
        {"FILE", "GUIDANCEFILE", Text(&VariableDefinition::GuidanceFileName)},
        {"FILE", "STRINGTABLEFILE ", Text(&VariableDefinition::StringTableFileName)},
    };
    for (int i = 1; i <= 3; ++i)
        keys.push_back({"MEASURE", QStringLiteral("MEASURELINECOLOR%1").arg(i), Colour(v.MeasureLineColor[i])});
    for (int i = 1; i <= 2; ++i)
        keys.push_back({"MEASURE", QStringLiteral("MEASUREVALUECOLOR%1").arg(i), Colour(v.MeasureValueColor[i])});
    const std::vector<IniKey> rest = {
        {"MEASURE", "PROOFFILENAME ", Text(&VariableDefinition::ProofFileName)},
        {"MEASURE", "CURRENTPROOFNO", Int16(&VariableDefinition::CurrentProofNo, 0, 9)},
        {"MEASURE", "CROSSLINENUM", Int16(&VariableDefinition::CrossLineNum, 1, 2)},
        {"MEASURE", "CROSSLINECOLOR", Colour(v.CrossLineColor)},
        {"MEASURE", "SCALECOLOR", Colour(v.ScaleColor)},
        {"MEASURE", "SCALEX", Float(&VariableDefinition::ScaleX)},
        {"MEASURE", "SCALEY", Float(&VariableDefinition::ScaleY)},
        {"MEASURE", "SCALETYPE", Int16(&VariableDefinition::ScaleType, 0, 1)},
        {"MEASURE", "SCALEPOSITION", Int16(&VariableDefinition::ScalePosition, 0, 4)},
        {"MEASURE", "NUMBEROFDECIMALS", Int16(&VariableDefinition::NumberOfDecimals, 0, 8)},
        {"MEASURE", "MEASUREFONTSIZE", Int16(&VariableDefinition::MeasureFontSize, 8, 20)},
        {"MEASURE", "ANGLECOMMANDMODE", Int16(&VariableDefinition::AngleCommandMode, 0, 1)},
        {"MEASURE", "2POINTCOMMANDMODE", Int16(&VariableDefinition::TwoPointCommandMode, 0, 1)},
    };
    keys.insert(keys.end(), rest.begin(), rest.end());
    // Our own key: a folder that has gone since is forgotten.
    keys.push_back({"FILE", kLastFolderKey,
                    [](const QString& s) {
                        if (QDir(s).exists()) vb::SetLastFolder(s);
                        return true;
                    },
                    true});
    return keys;
}

}  // namespace

QString IniFilePath() { return vb::App::Path() + QStringLiteral("/Tavix.Ini"); }

bool GetIniFileData() {
    const QString file = IniFilePath();
    Var().Language = QStringLiteral("ja");  // installations from before the key are Japanese
    vb::SetLastFolder({});
    for (const IniKey& key : Keys()) {
        const QString section = QString::fromLatin1(key.Section);
        int copied = 0;
        bool accepted = false;
        const int err = vb::Trap([&] {
            QString value;
            copied = vb::GetPrivateProfileString(section, key.Key, QString(), value, kBufferSize, file);
            if (copied == 0) {
                accepted = key.Optional;
                return;
            }
            accepted = key.Store(value);
        });
        if (err == 0 && accepted) continue;
        const QString where = QStringLiteral("[Section]=%1,[Key]=%2").arg(section, key.Key);
        if (err == 0 || copied == 0)
            WriteLog(QStringLiteral("GetIniFileData GetPrivateProfileString Error ") + where);
        else
            WriteLog(QStringLiteral("GetIniFileData  Error.(%1)").arg(err) + where);
        return false;
    }
    return true;
}

bool WriteLastFolder() {
    const QString folder = vb::LastFolder();
    if (folder.isEmpty()) return true;
    return WriteIniFileData(QStringLiteral("FILE"), kLastFolderKey, folder);
}

bool WriteIniFileData(const QString& section, const QString& key, const QString& value) {
    bool written = false;
    const int err = vb::Trap([&] { written = vb::WritePrivateProfileString(section, key, value, IniFilePath()); });
    if (err == 0 && written) return true;
    const QString where = QStringLiteral("[Section]=%1,[Key]=%2,[Value]=%3").arg(section, key, value);
    if (err == 0)
        WriteLog(QStringLiteral("WriteIniFileData WritePrivateProfileString Error ") + where);
    else
        WriteLog(QStringLiteral("WriteIniFileData  Error.(%1)").arg(err) + where);
    return false;
}

}  // namespace tavix
