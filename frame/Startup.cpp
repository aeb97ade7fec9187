#include "Startup.h"

#include <QFileInfo>
#include <QSet>
#include <optional>

#include "App.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "Convert.h"
#include "DialogHost.h"
#include "IniConfig.h"
#include "SafeFile.h"
#include "Guidance.h"
#include "Language.h"
#include "frmMain.h"

namespace tavix {

namespace {

const char* const kDefaultTitles[4] = {
    "デジカメ画像表示／計測プログラム",
    "デジカメ画像表示プログラム",
    "画像表示プログラム",
    "画像表示／計測プログラム",
};

// A start-up step that failed: what goes to the log and into the box before the end.
struct StartupFailure {
    QString LogLine;
    QString Text;
    QString Title;
};

void EndWith(frmMain& f, const StartupFailure& failure) {
    WriteLog(failure.LogLine);
    vb::Host().MsgBox(failure.Text, vb::vbOKOnly | vb::vbCritical, failure.Title, &f);
    vb::Host().End(1);
}

void SetUpMeasurePanel(frmMain& f) {
    VariableDefinition& v = Var();
    if (v.Still1xSave == 1) {
        f.chkMeasureSave->SetVisible(false);
        f.fraJpegQty->SetTop(400);
    }
    f.cmdMeasure[0]->SetPicture(f.img2PointIcon.at(v.TwoPointCommandMode)->GetPicture());
    f.cmdMeasure[5]->SetPicture(f.imgAngleIcon.at(v.AngleCommandMode)->GetPicture());

    vb::FlexGrid& grid = *f.grdResult;
    for (int col = 0; col < 4; ++col) grid.SetFixedAlignment(col, 4);
    grid.SetTextMatrix(0, 0, QStringLiteral("No"));
    grid.SetTextMatrix(0, 1, GST(11105));
    grid.SetTextMatrix(0, 2, GST(11106));
    grid.SetTextMatrix(0, 3, QString());
    const double widths[4] = {375, 1005, 1020, 340};
    const int alignments[4] = {4, 1, 7, 1};
    for (int col = 0; col < 4; ++col) grid.SetColWidth(col, widths[col]);
    grid.SetRows(100);
    for (int col = 0; col < 4; ++col) grid.SetColAlignment(col, alignments[col]);

    f.ResultCount = 0;
    f.picStillView->SetForeColor(v.MeasureValueColor[1]);
    f.picStillView->SetFontSize(v.MeasureFontSize);
    f.ResultFormat = MakeResultFormat(v.NumberOfDecimals);

    f.cboProof->Clear();
    for (const ProofRecord& proof : v.ProofTable) f.cboProof->AddItem(proof.Name);
    f.cboProof->SetListIndex(v.CurrentProofNo);

    DisableCommandArea(f, *f.picMeasureCommandArea, false);

    for (int i = 0; i < 2; ++i) {
        f.picCrossLineV[i]->SetBackColor(v.CrossLineColor);
        f.picCrossLineV[i]->SetTop(0);
        f.picCrossLineV[i]->SetHeight(f.picViewArea->ScaleHeight());
        f.picCrossLineV[i]->SetVisible(false);
        f.picCrossLineH[i]->SetBackColor(v.CrossLineColor);
        f.picCrossLineH[i]->SetLeft(0);
        f.picCrossLineH[i]->SetWidth(f.picViewArea->ScaleWidth());
        f.picCrossLineH[i]->SetVisible(false);
    }

    const vb::Picture& cross = f.imgCrossIcon[v.CrossLineNum == 1 ? 0 : 1]->GetPicture();
    f.chkCross->SetPicture(cross);
    f.chkCross->SetDisabledPicture(cross);
    f.linMeasure[0]->SetBorderColor(v.MeasureLineColor[3]);
    f.shaMeasure[0]->SetBorderColor(v.MeasureLineColor[3]);

    if (v.ProgramType == 3) {
        f.chkCross->SetEnabled(false);
        f.chkScale->SetEnabled(false);
    }
}

// The still variants have no camera buttons: the strip closes the gap they leave.
void CloseCameraGap(frmMain& f) {
    for (vb::Control* control : f.Controls) {
        vb::Trap([&] {
            if (control->Container() != f.picViewCommandArea) return;
            if (control->Name() == QLatin1String("txtComment"))
                control->SetLeft(control->Left() - 1800);
            else if (control->Name() != QLatin1String("cmdExit"))
                control->SetLeft(control->Left() - 900);
        });
    }
}

// A replace cut short by a crash leaves its temporary file beside the file it was replacing.
void RemoveStrayTemporaries(const VariableDefinition& v) {
    QSet<QString> folders{vb::App::Path()};
    for (const QString& name : {v.ProofFileName, QLatin1Char('\\') + v.GrfFileName, v.TempBitmapFile})
        folders.insert(QFileInfo(vb::AppPathJoin(name)).absolutePath());
    for (const QString& folder : folders) vb::RemoveStrayTemporaries(folder);
}

}  // namespace

bool IsCameraVariant(int16_t programType) { return programType == 0 || programType == 1; }
bool IsMeasureVariant(int16_t programType) { return programType == 0 || programType == 3; }

bool Form_Load(frmMain& f, int16_t programType) {
    VariableDefinition& v = Var();
    v.ProgramType = programType;
    v.ProgramTitle = QString::fromUtf8(kDefaultTitles[programType]);
    const bool camera = IsCameraVariant(programType);
    const bool measure = IsMeasureVariant(programType);

    std::optional<StartupFailure> failure;
    auto fail = [&](StartupFailure why) {
        failure = std::move(why);
        return false;
    };

    const int err = vb::Trap([&] {
        WriteLog(v.ProgramTitle + QStringLiteral(" Start."));

        for (vb::Control* c : {static_cast<vb::Control*>(f.txtComment[0]), static_cast<vb::Control*>(f.txtComment[1]),
                               static_cast<vb::Control*>(f.grdResult)})
            c->SetFontName(QStringLiteral("ＭＳ ゴシック"));

        if (camera) {
            f.ViewMode = ViewMode::Live;
            f.picCameraView->SetVisible(true);
        } else {
            f.ViewMode = ViewMode::Still;
            f.picStillView->SetVisible(true);
        }

        if (!GetIniFileData()) return fail({QStringLiteral("Ini File Read Error."), FatalText, {}});
        UseLanguage(v.Language);
        RemoveStrayTemporaries(v);
        if (!ReadStringTableData()) return fail({QStringLiteral("StringTable File Read Error."), FatalText, {}});

        vb::App::SetTitle(v.ProgramTitle);
        f.SetCaption(v.ProgramTitle);
        SetCaptions(f);

        if (measure && !f.Hooks.ReadProofData())
            return fail({QStringLiteral("Proof File Read Error."), FatalText, GST(11100)});
        if (!ReadGuidanceData()) return fail({QStringLiteral("Guidance File Read Error."), FatalText, GST(11100)});

        f.lblJpegQty->SetCaption(QString::number(v.JpegQty));
        f.picViewArea->SetBackColor(0);

        if (camera) {
            using GraphResult = SubsystemHooks::GraphResult;
            const GraphResult graph = f.Hooks.OpenCameraGraph(f);
            if (graph == GraphResult::NoCameraFilter) {
                // A camera the user may not open is not listed at all: say why.
                const QString refused = f.Hooks.RefusedCamera();
                QString text = GST(20104) + QLatin1Char('\n') + GST(20105);
                if (!refused.isEmpty()) {
                    WriteLog(QStringLiteral("Camera Permission Denied.(%1)").arg(refused));
                    text += QLatin1Char('\n') + GST(20199, refused);
                }
                return fail({QStringLiteral("Camera Filter Error."), text, GST(11103)});
            }
            if (graph == GraphResult::NoOutputPin)
                return fail({QStringLiteral("Camera OutputPIN Error."), GST(20106) + QLatin1Char('\n') + GST(20107),
                             GST(11104)});
        } else {
            f.cmdPlayStop->SetVisible(false);
            f.cmdPinProp->SetVisible(false);
            CloseCameraGap(f);
            if (programType == 3) f.cmdPicSave->SetEnabled(false);
        }

        if (measure) {
            SetUpMeasurePanel(f);
        } else {
            f.picMeasureCommandArea->SetVisible(false);
            f.chkMeasureSave->SetVisible(false);
            f.fraJpegQty->SetTop(400);
            f.picViewArea->SetAlign(3);
        }

        f.cboScale->Clear();
        for (int i = 5; i <= 20; ++i)
            f.cboScale->AddItem(QStringLiteral("x ") + vb::Format(i * 0.1, QStringLiteral("0.0")));
        f.cboScale->SetListIndex(v.DefaultScale);

        if (camera) {
            f.cmdPlayStop->SetCaption(GST(11051));
            f.Hooks.FitCameraView(f);
        }
        return true;
    });

    if (err != 0)
        failure = StartupFailure{QStringLiteral("frmMain:Form_Load Error.(%1)").arg(err), FatalText, vb::App::Title()};
    if (!failure) return true;
    EndWith(f, *failure);
    return false;
}

void SetCaptions(frmMain& f) {
    const VariableDefinition& v = Var();
    const std::pair<vb::Control*, int32_t> captions[] = {
        {f.cmdPicLoad, 10000},
        {f.cmdPicSave, 10001},
        {f.cmdPinProp, 10002},
        {f.cmdExit, 10003},
        {f.fraSaveOption, 10010},
        {f.lblJpegQtyCap, 10011},
        {f.chkMeasureSave, 10012},
        {f.lblScale, 10020},
        {f.lblCommandCap[0], 10100},
        {f.cmdMeasure[0], v.TwoPointCommandMode != 0 ? 10112 : 10101},
        {f.cmdMeasure[1], 10102},
        {f.cmdMeasure[2], 10103},
        {f.cmdMeasure[3], 10104},
        {f.cmdMeasure[4], 10105},
        {f.cmdMeasure[5], v.AngleCommandMode != 0 ? 10110 : 10106},
        {f.cmdMeasure[6], 10107},
        {f.chkCross, 10108},
        {f.chkScale, 10111},
        {f.cmdMeasureConfig, 10109},
        {f.lblCommandCap[1], 10200},
        {f.cmdProofConfig, 10201},
        {f.lblCommandCap[2], 10300},
        {f.cmdResultSave, 10301},
        {f.cmdResultRemove, 10302},
        {f.cmdResultClear, 10303},
    };
    for (const auto& [control, number] : captions) control->SetCaption(GST(number));
}

void cmdExit_Click(frmMain& f) {
    if (f.ResultDirty && !AskYesNo(&f, 20010, 19000)) return;
    f.Unload();
}

void Form_QueryUnload(frmMain& f, bool& cancel, int unloadMode) {
    if (unloadMode != vb::vbFormControlMenu || !f.ResultDirty) return;
    if (!AskYesNo(&f, 20110, 19000)) cancel = true;
}

void Form_Unload(frmMain& f, bool& /*cancel*/) {
    const VariableDefinition& v = Var();
    auto number = [](double value) { return vb::CStr(value); };
    // Colours are stored as the signed 32-bit numbers they are read as.
    auto colour = [](uint32_t value) { return QString::number(static_cast<int32_t>(value)); };
    const QString measure = QStringLiteral("MEASURE");
    WriteIniFileData(QStringLiteral("FILE"), QStringLiteral("JPEGQTY"), number(v.JpegQty));
    WriteIniFileData(QStringLiteral("CAMERA"), QStringLiteral("DEFAULTSCALE"), number(f.cboScale->ListIndex()));
    for (int i = 1; i <= 3; ++i)
        WriteIniFileData(measure, QStringLiteral("MEASURELINECOLOR%1").arg(i), colour(v.MeasureLineColor[i]));
    for (int i = 1; i <= 2; ++i)
        WriteIniFileData(measure, QStringLiteral("MEASUREVALUECOLOR%1").arg(i), colour(v.MeasureValueColor[i]));
    WriteIniFileData(measure, QStringLiteral("CROSSLINENUM"), number(v.CrossLineNum));
    WriteIniFileData(measure, QStringLiteral("CROSSLINECOLOR"), colour(v.CrossLineColor));
    WriteIniFileData(measure, QStringLiteral("SCALECOLOR"), colour(v.ScaleColor));
    WriteIniFileData(measure, QStringLiteral("SCALEX"), number(v.ScaleX));
    WriteIniFileData(measure, QStringLiteral("SCALEY"), number(v.ScaleY));
    WriteIniFileData(measure, QStringLiteral("SCALETYPE"), number(v.ScaleType));
    WriteIniFileData(measure, QStringLiteral("SCALEPOSITION"), number(v.ScalePosition));
    WriteIniFileData(measure, QStringLiteral("CURRENTPROOFNO"), number(v.CurrentProofNo));
    WriteIniFileData(measure, QStringLiteral("NUMBEROFDECIMALS"), number(v.NumberOfDecimals));
    WriteIniFileData(measure, QStringLiteral("MEASUREFONTSIZE"), number(v.MeasureFontSize));
    WriteIniFileData(measure, QStringLiteral("ANGLECOMMANDMODE"), number(v.AngleCommandMode));
    WriteIniFileData(measure, QStringLiteral("2POINTCOMMANDMODE"), number(v.TwoPointCommandMode));
    WriteLastFolder();
    WriteLog(v.ProgramTitle + QStringLiteral(" End"));
}

}  // namespace tavix
