// Reading the settings at start-up and writing them back.
#include <QDir>
#include <gtest/gtest.h>

#include "App.h"
#include "CommonModule.h"
#include "IniConfig.h"
#include "Sandbox.h"
#include "VariableDefinition.h"

using tavix::Var;
using testing_support::Sandbox;

namespace {

struct Ini {
    Sandbox box;
    Ini() { tavix::ResetVariableDefinition(); }
};

TEST(IniRead, AcceptsOrStopsWithItsLogLine) {
    const struct {
        const char* what;
        const char* key;                // key to change; nullptr: delete the whole file
        const char* value;              // new value; nullptr: remove the key's line
        const char* failsAt = nullptr;  // "SECTION,KEY" of the log line; nullptr: reads
        int error = 0;                  // error number in the log line; 0: a missing or out-of-range value
    } cases[] = {
        {"shipped file reads", "JPEGQTY", "90"},
        {"missing file: APPNAME passed over", nullptr, nullptr, "CAMERA,CAMERAFILTERNAME"},
        {"JPEGQTY above range", "JPEGQTY", "101", "FILE,JPEGQTY"},
        {"JPEGQTY overflows the byte", "JPEGQTY", "300", "FILE,JPEGQTY", 6},
        {"colour that is no number", "SCALECOLOR", "red", "MEASURE,SCALECOLOR", 13},
        {"empty key counts as missing, named with its blank", "TEMPBITMAPFILE", "", "CAMERA,TEMPBITMAPFILE "},
        {"missing key", "2POINTCOMMANDMODE", nullptr, "MEASURE,2POINTCOMMANDMODE"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Ini t;
        if (!c.key)
            t.box.Remove(QStringLiteral("Tavix.Ini"));
        else if (!c.value)
            t.box.RemoveIni(QString::fromLatin1(c.key));
        else
            t.box.SetIni(QString::fromLatin1(c.key), QString::fromUtf8(c.value));
        EXPECT_EQ(tavix::GetIniFileData(), !c.failsAt);
        QStringList log;
        if (c.failsAt) {
            const QString where = QStringLiteral("[Section]=%1,[Key]=%2")
                                      .arg(QString::fromLatin1(c.failsAt).section(QLatin1Char(','), 0, 0),
                                           QString::fromLatin1(c.failsAt).section(QLatin1Char(','), 1));
            log << (c.error ? QStringLiteral("GetIniFileData  Error.(%1)").arg(c.error) + where
                            : QStringLiteral("GetIniFileData GetPrivateProfileString Error ") + where);
        }
        EXPECT_EQ(t.box.LogTexts(), log);
    }
}

TEST(IniValues, ConvertedAsTheirType) {
    const struct {
        const char* key;
        const char* text;
        std::function<bool()> holds;
    } cases[] = {
        {"SCALEX", "1.5mm", [] { return Var().ScaleX == 1.5; }},
        {"SCALEY", "abc", [] { return Var().ScaleY == 0.0; }},
        {"SCALEX", " 2.5e1 ", [] { return Var().ScaleX == 25.0; }},
        {"CROSSLINECOLOR", "&HFF", [] { return Var().CrossLineColor == 255u; }},
        {"MEASURELINECOLOR2", "-1", [] { return Var().MeasureLineColor[2] == 0xFFFFFFFFu; }},
        {"JPEGQTY", "49.5", [] { return Var().JpegQty == 50; }},  // half to even
        {"DEFAULTSCALE", " 7 ", [] { return Var().DefaultScale == 7; }},
        {"GRPFILENAME", "  cam one.grf  ", [] { return Var().GrfFileName == QLatin1String("cam one.grf"); }},
    };
    for (const auto& c : cases) {
        Ini t;
        t.box.SetIni(QString::fromLatin1(c.key), QString::fromUtf8(c.text));
        EXPECT_TRUE(tavix::GetIniFileData()) << c.key << "=" << c.text;
        EXPECT_TRUE(c.holds()) << c.key << "=" << c.text;
    }
}

TEST(IniWrite, ReplacesOneValueOrLogsTheFailure) {
    Sandbox box;
    QByteArray expected = box.Read(QStringLiteral("Tavix.Ini"));
    // A key of blanks only has no line it could be written to.
    EXPECT_FALSE(tavix::WriteIniFileData(QStringLiteral("FILE"), QStringLiteral("  "), QStringLiteral("5")));
    EXPECT_EQ(box.Read(QStringLiteral("Tavix.Ini")), expected);
    EXPECT_TRUE(tavix::WriteIniFileData(QStringLiteral("FILE"), QStringLiteral("JPEGQTY"), QStringLiteral("55")));
    const int at = expected.indexOf("JPEGQTY=");
    ASSERT_GE(at, 0);
    expected.replace(at, expected.indexOf('\r', at) - at, "JPEGQTY=55");
    EXPECT_EQ(box.Read(QStringLiteral("Tavix.Ini")), expected);
    // A folder in the place of the file: nothing can be written there.
    box.Remove(QStringLiteral("Tavix.Ini"));
    ASSERT_TRUE(QDir(box.Path()).mkdir(QStringLiteral("Tavix.Ini")));
    EXPECT_FALSE(tavix::WriteIniFileData(QStringLiteral("FILE"), QStringLiteral("JPEGQTY"), QStringLiteral("56")));
    EXPECT_EQ(box.LogTexts(),
              (QStringList{QStringLiteral("WriteIniFileData  Error.(5)[Section]=FILE,[Key]=  ,[Value]=5"),
                           QStringLiteral("WriteIniFileData WritePrivateProfileString Error "
                                          "[Section]=FILE,[Key]=JPEGQTY,[Value]=56")}));
}

}  // namespace
