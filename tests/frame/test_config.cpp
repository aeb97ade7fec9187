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

struct IniCase {
    const char* what;
    const char* key;    // key to change; nullptr: delete the whole file
    const char* value;  // new value; nullptr: remove the key's line
    bool ok;
    const char* logLine;  // expected last log line, nullptr when none
};

class IniRead : public ::testing::TestWithParam<IniCase> {};

TEST_P(IniRead, AcceptsOrStopsWithItsLogLine) {
    const IniCase& c = GetParam();
    Sandbox box;
    tavix::ResetVariableDefinition();
    if (!c.key)
        box.Remove(QStringLiteral("Tavix.Ini"));
    else if (!c.value)
        box.RemoveIni(QString::fromLatin1(c.key));
    else
        box.SetIni(QString::fromLatin1(c.key), QString::fromUtf8(c.value));
    EXPECT_EQ(tavix::GetIniFileData(), c.ok) << c.what;
    const QStringList log = box.LogTexts();
    if (c.logLine) {
        ASSERT_EQ(log.size(), 1) << c.what;
        EXPECT_EQ(log.last().toStdString(), c.logLine) << c.what;
    } else {
        EXPECT_TRUE(log.isEmpty()) << c.what << ": " << log.join(QLatin1Char('|')).toStdString();
    }
}

const char* const kReadFail = "GetIniFileData GetPrivateProfileString Error ";

INSTANTIATE_TEST_SUITE_P(
    Keys, IniRead,
    ::testing::Values(IniCase{"shipped file reads", "JPEGQTY", "90", true, nullptr},
                      IniCase{"missing file: APPNAME passed over, the camera filter is the first failure", nullptr,
                              nullptr, false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=CAMERA,[Key]=CAMERAFILTERNAME"},
                      IniCase{"JPEGQTY below range", "JPEGQTY", "9", false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=FILE,[Key]=JPEGQTY"},
                      IniCase{"JPEGQTY above range", "JPEGQTY", "101", false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=FILE,[Key]=JPEGQTY"},
                      IniCase{"JPEGQTY overflows the byte", "JPEGQTY", "300", false,
                              "GetIniFileData  Error.(6)[Section]=FILE,[Key]=JPEGQTY"},
                      IniCase{"negative JPEGQTY overflows", "JPEGQTY", "-1", false,
                              "GetIniFileData  Error.(6)[Section]=FILE,[Key]=JPEGQTY"},
                      IniCase{"JPEGQTY no number", "JPEGQTY", "high", false,
                              "GetIniFileData  Error.(13)[Section]=FILE,[Key]=JPEGQTY"},
                      IniCase{"CROSSLINENUM 0", "CROSSLINENUM", "0", false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=MEASURE,[Key]=CROSSLINENUM"},
                      IniCase{"CURRENTPROOFNO 9 is the last slot", "CURRENTPROOFNO", "9", true, nullptr},
                      IniCase{"CURRENTPROOFNO 10", "CURRENTPROOFNO", "10", false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=MEASURE,[Key]=CURRENTPROOFNO"},
                      IniCase{"DEFAULTSCALE 16", "DEFAULTSCALE", "16", false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=CAMERA,[Key]=DEFAULTSCALE"},
                      IniCase{"MEASUREFONTSIZE 7", "MEASUREFONTSIZE", "7", false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=MEASURE,[Key]=MEASUREFONTSIZE"},
                      IniCase{"MEASUREFONTSIZE 20", "MEASUREFONTSIZE", "20", true, nullptr},
                      IniCase{"16-bit overflow", "NUMBEROFDECIMALS", "70000", false,
                              "GetIniFileData  Error.(6)[Section]=MEASURE,[Key]=NUMBEROFDECIMALS"},
                      IniCase{"colour that is no number", "SCALECOLOR", "red", false,
                              "GetIniFileData  Error.(13)[Section]=MEASURE,[Key]=SCALECOLOR"},
                      IniCase{"empty key counts as missing, named with its blank", "TEMPBITMAPFILE", "", false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=CAMERA,[Key]=TEMPBITMAPFILE "},
                      IniCase{"missing key", "2POINTCOMMANDMODE", nullptr, false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=MEASURE,[Key]=2POINTCOMMANDMODE"},
                      IniCase{"SCALEX with no number reads 0", "SCALEX", "abc", true, nullptr},
                      IniCase{"STILL1XSAVE 2", "STILL1XSAVE", "2", false,
                              "GetIniFileData GetPrivateProfileString Error [Section]=FILE,[Key]=STILL1XSAVE"}),
    [](const ::testing::TestParamInfo<IniCase>& info) { return "case" + std::to_string(info.index); });

struct ValueCase {
    const char* key;
    const char* text;
    std::function<bool()> holds;
};

TEST(IniValues, ConvertedAsTheirType) {
    const ValueCase cases[] = {
        {"SCALEX", "1.5mm", [] { return Var().ScaleX == 1.5; }},
        {"SCALEY", "abc", [] { return Var().ScaleY == 0.0; }},
        {"SCALEX", " 2.5e1 ", [] { return Var().ScaleX == 25.0; }},
        {"CROSSLINECOLOR", "&HFF", [] { return Var().CrossLineColor == 255u; }},
        {"MEASURELINECOLOR2", "-1", [] { return Var().MeasureLineColor[2] == 0xFFFFFFFFu; }},
        {"JPEGQTY", "49.5", [] { return Var().JpegQty == 50; }},  // half to even
        {"DEFAULTSCALE", " 7 ", [] { return Var().DefaultScale == 7; }},
        {"GRPFILENAME", "  cam one.grf  ", [] { return Var().GrfFileName == QLatin1String("cam one.grf"); }},
    };
    for (const ValueCase& c : cases) {
        Sandbox box;
        tavix::ResetVariableDefinition();
        box.SetIni(QString::fromLatin1(c.key), QString::fromUtf8(c.text));
        EXPECT_TRUE(tavix::GetIniFileData()) << c.key << "=" << c.text;
        EXPECT_TRUE(c.holds()) << c.key << "=" << c.text;
    }
}

TEST(IniValues, EmptyAppNameKeepsTheDefaultTitle) {
    Sandbox box;
    tavix::ResetVariableDefinition();
    const QByteArray ini = box.Read(QStringLiteral("Tavix.Ini"));
    box.Write(QStringLiteral("Tavix.Ini"), ini + "[COMMON]\r\nAPPNAME=\r\n");
    Var().ProgramTitle = QStringLiteral("default");
    EXPECT_TRUE(tavix::GetIniFileData());
    EXPECT_EQ(Var().ProgramTitle, QStringLiteral("default"));

    box.Write(QStringLiteral("Tavix.Ini"), "[COMMON]\r\nAPPNAME=My scope\r\n" + ini);
    EXPECT_TRUE(tavix::GetIniFileData());
    EXPECT_EQ(Var().ProgramTitle, QStringLiteral("My scope"));
}

TEST(IniValues, AFailingKeyStopsTheReading) {
    Sandbox box;
    tavix::ResetVariableDefinition();
    box.SetIni(QStringLiteral("DEFAULTSCALE"), QStringLiteral("16"));
    EXPECT_FALSE(tavix::GetIniFileData());
    EXPECT_EQ(Var().DefaultScale, 16);             // the bad value stays
    EXPECT_FALSE(Var().TempBitmapFile.isEmpty());  // read before it
    EXPECT_EQ(Var().JpegQty, 0);                   // behind it: never looked at
    EXPECT_TRUE(Var().StringTableFileName.isEmpty());
}

TEST(IniWrite, ReplacesOneValueAndLogsAFailure) {
    Sandbox box;
    const QByteArray before = box.Read(QStringLiteral("Tavix.Ini"));
    EXPECT_TRUE(tavix::WriteIniFileData(QStringLiteral("FILE"), QStringLiteral("JPEGQTY"), QStringLiteral("55")));
    const QByteArray after = box.Read(QStringLiteral("Tavix.Ini"));
    QByteArray expected = before;
    const int at = expected.indexOf("JPEGQTY=");
    ASSERT_GE(at, 0);
    expected.replace(at, expected.indexOf('\r', at) - at, "JPEGQTY=55");
    EXPECT_EQ(after, expected);
}

TEST(IniWrite, ATrappedErrorIsLoggedWithItsNumber) {
    Sandbox box;
    const QByteArray before = box.Read(QStringLiteral("Tavix.Ini"));
    // A key of blanks only has no line it could be written to.
    EXPECT_FALSE(tavix::WriteIniFileData(QStringLiteral("FILE"), QStringLiteral("  "), QStringLiteral("5")));
    EXPECT_EQ(box.LogTexts(), QStringList{QStringLiteral("WriteIniFileData  Error.(5)"
                                                         "[Section]=FILE,[Key]=  ,[Value]=5")});
    EXPECT_EQ(box.Read(QStringLiteral("Tavix.Ini")), before);
}

TEST(IniWrite, AFailedWriteIsLoggedWithItsValue) {
    Sandbox box;
    // A folder in the place of the file: nothing can be written there.
    box.Remove(QStringLiteral("Tavix.Ini"));
    ASSERT_TRUE(QDir(box.Path()).mkdir(QStringLiteral("Tavix.Ini")));
    EXPECT_FALSE(tavix::WriteIniFileData(QStringLiteral("FILE"), QStringLiteral("JPEGQTY"), QStringLiteral("56")));
    EXPECT_EQ(box.LogTexts(), QStringList{QStringLiteral("WriteIniFileData WritePrivateProfileString Error "
                                                         "[Section]=FILE,[Key]=JPEGQTY,[Value]=56")});
}

}  // namespace
