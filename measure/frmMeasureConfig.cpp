#include "frmMeasureConfig.h"

#include "CommonModule.h"
#include "Language.h"
#include "Convert.h"
#include "CrossLines.h"
#include "DialogHost.h"
#include "ResultDrawing.h"
#include "ScaleOverlay.h"
#include "StillDisplay.h"
#include "VariableDefinition.h"
#include "frmMain.h"

namespace tavix {

namespace {

constexpr const char* kFontSizes[] = {"8", "9", "10", "11", "12", "14", "16", "18", "20"};

struct Placed {
    double left, top, width, height;
};

// Caption labels: string, default caption, place in its frame (index 0-4 Frame1, 5-7 Frame2,
// 8-11 Frame3).
struct CaptionDesign {
    int32_t string;
    const char* text;
    Placed at;
};
constexpr CaptionDesign kCaptions[12] = {
    {13002, "計測線（通常）", {180, 330, 1935, 255}},  {13003, "計測値（通常）", {180, 690, 1935, 255}},
    {13004, "計測線（選択）", {180, 1050, 1935, 255}}, {13005, "計測値（選択）", {180, 1410, 1935, 255}},
    {13006, "仮表示", {180, 1770, 1935, 255}},         {13011, "十字線の本数", {180, 330, 1455, 255}},
    {13012, "十字線の色", {180, 690, 1935, 255}},      {13023, "スケールの色", {180, 1050, 1935, 255}},
    {13021, "小数点以下桁数", {180, 330, 1575, 255}},  {13022, "文字サイズ", {180, 750, 1575, 255}},
    {13024, "角度計測方法", {180, 1170, 2655, 255}},   {13027, "2点間計測方法", {180, 1890, 2655, 255}},
};

// Swatches: their frame (1 or 2) and place; the rows line up with the captions.
constexpr struct {
    int frame;
    Placed at;
} kSwatches[7] = {
    {1, {2280, 300, 675, 285}},  {1, {2280, 660, 675, 285}}, {1, {2280, 1020, 675, 285}}, {1, {2280, 1380, 675, 285}},
    {1, {2280, 1740, 675, 285}}, {2, {2280, 660, 675, 285}}, {2, {2280, 1020, 675, 285}},
};

// The variables the swatches edit, in swatch order.
std::array<uint32_t*, 7> SwatchColors(VariableDefinition& v) {
    return {&v.MeasureLineColor[1], &v.MeasureValueColor[1], &v.MeasureLineColor[2], &v.MeasureValueColor[2],
            &v.MeasureLineColor[3], &v.CrossLineColor,       &v.ScaleColor};
}

int16_t IntOf(const QString& text) { return static_cast<int16_t>(vb::Val(text)); }

}  // namespace

frmMeasureConfig::frmMeasureConfig() : vb::Dialog(QStringLiteral("frmMeasureConfig")) {
    SetCaption(QStringLiteral("計測機能設定"));
    SetDialogSize(6480, 3975);
    const auto put = [this](auto* control, const Placed& at) {
        return Place(control, at.left, at.top, at.width, at.height);
    };

    Frame1 = put(new vb::Frame(*this, this, QStringLiteral("Frame1")), {120, 120, 3135, 2175});
    Frame1->SetCaption(QStringLiteral("計測線・計測値の色"));
    Frame2 = put(new vb::Frame(*this, this, QStringLiteral("Frame2")), {120, 2400, 3135, 1455});
    Frame2->SetCaption(QStringLiteral("十字線・スケール"));
    Frame3 = put(new vb::Frame(*this, this, QStringLiteral("Frame3")), {3375, 120, 2985, 2655});
    Frame3->SetCaption(QStringLiteral("その他"));
    // Borderless: they only keep the two pairs of options in separate groups.
    for (int i = 0; i < 2; ++i)
        Frame4[i] = put(new vb::Frame(*this, Frame3, QStringLiteral("Frame4"), i, false),
                        {180, i == 0 ? 1440.0 : 2160.0, 2655, 375});

    for (int i = 0; i < 12; ++i) {
        vb::Frame* frame = i < 5 ? Frame1 : i < 8 ? Frame2 : Frame3;
        lblCaption[i] = put(new vb::Label(*this, frame, QStringLiteral("lblCaption"), i), kCaptions[i].at);
        lblCaption[i]->SetCaption(QString::fromUtf8(kCaptions[i].text));
    }
    for (int i = 0; i < 7; ++i) {
        vb::Frame* frame = kSwatches[i].frame == 1 ? Frame1 : Frame2;
        lblColor[i] = put(new vb::Label(*this, frame, QStringLiteral("lblColor"), i), kSwatches[i].at);
        lblColor[i]->SetBorderStyle(1);
        lblColor[i]->SetBackColor(0xFFFFFF);
        lblColor[i]->OnClick = [this, i] { lblColor_Click(i); };
    }

    for (int i = 0; i < 2; ++i) {
        optCrossLineNum[i] = put(new vb::OptionButton(*this, Frame2, QStringLiteral("optCrossLineNum"), i),
                                 {1800.0 + 600 * i, 300, 555, 285});
        optCrossLineNum[i]->SetCaption(QString::number(i + 1));
    }
    cboDec = put(new vb::ComboBox(*this, Frame3, QStringLiteral("cboDec")), {1800, 270, 1035, 315});
    cboFontSize = put(new vb::ComboBox(*this, Frame3, QStringLiteral("cboFontSize")), {1800, 690, 1035, 315});
    const char* angle[2] = {"3点", "4点"};
    const char* twoPoint[2] = {"2点", "3点"};
    for (int i = 0; i < 2; ++i) {
        const Placed at{120.0 + 1260 * i, 60, 1095, 255};
        optAngleCommand[i] = put(new vb::OptionButton(*this, Frame4[0], QStringLiteral("optAngleCommand"), i), at);
        optAngleCommand[i]->SetCaption(QString::fromUtf8(angle[i]));
        opt2PointCommand[i] = put(new vb::OptionButton(*this, Frame4[1], QStringLiteral("opt2PointCommand"), i), at);
        opt2PointCommand[i]->SetCaption(QString::fromUtf8(twoPoint[i]));
    }
    cdlColor = new vb::CommonDialog(*this, this, QStringLiteral("cdlColor"));

    cmdOK = put(new vb::CommandButton(*this, this, QStringLiteral("cmdOK")), {3375, 3420, 1395, 435});
    cmdOK->SetCaption(QStringLiteral("&OK"));
    cmdCancel = put(new vb::CommandButton(*this, this, QStringLiteral("cmdCancel")), {4965, 3420, 1395, 435});
    cmdCancel->SetCaption(FormText("キャンセル"));

    // Swatches are labels and take no focus; the rest go top to bottom, left column first.
    const vb::Control* order[] = {
        optCrossLineNum[0],  optCrossLineNum[1],  cboDec, cboFontSize, optAngleCommand[0], optAngleCommand[1],
        opt2PointCommand[0], opt2PointCommand[1], cmdOK,  cmdCancel};
    for (size_t i = 1; i < std::size(order); ++i) setTabOrder(order[i - 1]->Widget(), order[i]->Widget());

    SetDefaultButton(cmdOK, [this] { cmdOK_Click(); });
    SetCancelButton(cmdCancel, [this] { cmdCancel_Click(); });
}

void frmMeasureConfig::Form_Load() {
    VariableDefinition& v = Var();
    SetCaption(GST(13000));
    Frame1->SetCaption(GST(13001));
    Frame2->SetCaption(GST(13010));
    Frame3->SetCaption(GST(13020));
    for (int i = 0; i < 12; ++i) lblCaption[i]->SetCaption(GST(kCaptions[i].string));
    for (int i = 0; i < 2; ++i) {
        optAngleCommand[i]->SetCaption(GST(13025 + i));
        opt2PointCommand[i]->SetCaption(GST(13028 + i));
    }
    cmdOK->SetCaption(QStringLiteral("&OK"));
    cmdCancel->SetCaption(FormText("キャンセル"));

    const std::array<uint32_t*, 7> colors = SwatchColors(v);
    for (int i = 0; i < 7; ++i) lblColor[i]->SetBackColor(*colors[i]);

    optCrossLineNum[v.CrossLineNum - 1]->SetValue(true);
    cboDec->Clear();
    for (int i = 0; i <= 8; ++i) cboDec->AddItem(QString::number(i));
    cboDec->SetListIndex(v.NumberOfDecimals);
    optAngleCommand[v.AngleCommandMode]->SetValue(true);
    opt2PointCommand[v.TwoPointCommandMode]->SetValue(true);

    cboFontSize->Clear();
    for (const char* size : kFontSizes) cboFontSize->AddItem(QString::fromLatin1(size));
    // A stored size not in the list leaves the first item.
    cboFontSize->SetListIndex(0);
    const QString wanted = QString::number(v.MeasureFontSize);
    for (int i = 0; i < cboFontSize->ListCount(); ++i) {
        if (cboFontSize->List(i) == wanted) {
            cboFontSize->SetListIndex(i);
            break;
        }
    }
}

void frmMeasureConfig::lblColor_Click(int Index) {
    cdlColor->Color = lblColor[Index]->BackColor();
    cdlColor->ShowColor();
    lblColor[Index]->SetBackColor(cdlColor->Color);
}

void frmMeasureConfig::cmdOK_Click() {
    VariableDefinition& v = Var();
    const std::array<uint32_t*, 7> colors = SwatchColors(v);
    for (int i = 0; i < 7; ++i) *colors[i] = lblColor[i]->BackColor();
    v.MeasureFontSize = IntOf(cboFontSize->Text());
    v.CrossLineNum = optCrossLineNum[0]->Value() ? 1 : 2;
    v.NumberOfDecimals = IntOf(cboDec->Text());
    v.AngleCommandMode = optAngleCommand[0]->Value() ? 0 : 1;
    v.TwoPointCommandMode = opt2PointCommand[0]->Value() ? 0 : 1;
    Unload();
}

void frmMeasureConfig::cmdCancel_Click() { Unload(); }

void cmdMeasureConfig_Click(frmMain& f) {
    VariableDefinition& v = Var();
    const int16_t crossLineNum = v.CrossLineNum;
    {
        frmMeasureConfig dlg;
        dlg.Form_Load();
        vb::Host().ShowModal(dlg, &f);
    }

    // After Cancel as well: everything is set to what the settings now say.
    f.cmdMeasure[0]->SetCaption(GST(v.TwoPointCommandMode != 0 ? 10112 : 10101));
    f.cmdMeasure[0]->SetPicture(f.img2PointIcon[v.TwoPointCommandMode]->GetPicture());
    f.cmdMeasure[5]->SetCaption(GST(v.AngleCommandMode != 0 ? 10110 : 10106));
    f.cmdMeasure[5]->SetPicture(f.imgAngleIcon[v.AngleCommandMode]->GetPicture());

    ApplyCrossLineColor(f);
    if (v.CrossLineNum != crossLineNum) {
        // Standing lines of the other number would be wrong: unchecking removes them.
        f.chkCross->SetValue(0);
        const vb::Picture& icon = f.imgCrossIcon[v.CrossLineNum - 1]->GetPicture();
        f.chkCross->SetPicture(icon);
        f.chkCross->SetDisabledPicture(icon);
    }

    f.linMeasure[0]->SetBorderColor(v.MeasureLineColor[3]);
    f.shaMeasure[0]->SetBorderColor(v.MeasureLineColor[3]);

    f.ResultFormat = MakeResultFormat(v.NumberOfDecimals);
    // The stored value is formatted anew, never rounded; a count's text is not a value.
    for (int i = 1; i <= f.ResultCount; ++i) {
        const ResultRecord& r = v.ResultTable[i];
        if (r.Kind != CommandMode::Count) f.grdResult->SetTextMatrix(i, 2, vb::Format(r.Value, f.ResultFormat));
    }

    f.picStillView->SetFontSize(v.MeasureFontSize);

    if (f.ViewMode == ViewMode::Still) {
        DispImage(f, false);
        DrawMeasureResults(f);
    } else if (f.chkScale->Value() == 1) {
        DrawScale(f);
    }
}

}  // namespace tavix
