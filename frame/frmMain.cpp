#include "frmMain.h"

#include <QIcon>

namespace tavix {

namespace {

const QString kAreaFont = QStringLiteral("ＭＳ Ｐゴシック");
const QString kViewFont = QStringLiteral("ＭＳ ゴシック");

QIcon Icon(const char* name) { return QIcon(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name))); }

template <class T>
T* Place(T* control, double left, double top, double width, double height) {
    control->Move(left, top, width, height);
    return control;
}

// Design values of a control in one of the command areas: its place and the area's font.
template <class T>
T* AreaControl(T* control, double left, double top, double width, double height, const QString& caption = {}) {
    Place(control, left, top, width, height);
    control->SetFontName(kAreaFont);
    control->SetFontSize(9);
    if (!caption.isEmpty()) control->SetCaption(caption);
    return control;
}

vb::CommandButton* IconButton(vb::Form& f, vb::ContainerBase* c, const QString& name, int index, double left,
                              double top, double width, double height, const QString& caption, const char* icon) {
    auto* b = AreaControl(new vb::CommandButton(f, c, name, index, true), left, top, width, height, caption);
    b->SetPicture(Icon(icon));
    return b;
}

vb::PictureBox* HiddenPicture(vb::Form& f, vb::ContainerBase* c, const QString& name, int index, double left,
                              double top, double width, double height, uint32_t color, bool autoRedraw) {
    auto* p = Place(new vb::PictureBox(f, c, name, index, true, false), left, top, width, height);
    p->SetBackColor(color);
    p->SetAutoRedraw(autoRedraw);
    p->SetVisible(false);
    return p;
}

vb::Image* IconHolder(vb::Form& f, vb::ContainerBase* c, const QString& name, int index, const char* icon) {
    auto* img = new vb::Image(f, c, name, index);
    img->SetVisible(false);
    img->SetPicture(Icon(icon));
    return img;
}

}  // namespace

frmMain::frmMain() : vb::Form(QStringLiteral("frmMain")) {
    SetCaption(QStringLiteral("デジカメ画像表示／計測プログラム"));
    SetIcon(Icon("app"));
    SetClientSize(14460, 9615);

    // Top strip.
    picViewCommandArea = Place(new vb::PictureBox(*this, this, QStringLiteral("picViewCommandArea"), -1, false, false),
                               0, 0, 14460, 1035);
    picViewCommandArea->SetAlign(1);
    auto* strip = picViewCommandArea;
    cmdPlayStop = IconButton(*this, strip, QStringLiteral("cmdPlayStop"), -1, 120, 120, 795, 795,
                             QStringLiteral("動画"), "camera0");
    cmdPicLoad =
        IconButton(*this, strip, QStringLiteral("cmdPicLoad"), -1, 1020, 120, 795, 795, QStringLiteral("開く"), "open");
    cmdPicSave =
        IconButton(*this, strip, QStringLiteral("cmdPicSave"), -1, 1920, 120, 795, 795, QStringLiteral("保存"), "save");
    fraSaveOption = AreaControl(new vb::Frame(*this, strip, QStringLiteral("fraSaveOption")), 2880, 60, 1875, 915,
                                QStringLiteral("保存オプション"));
    fraJpegQty =
        AreaControl(new vb::Frame(*this, fraSaveOption, QStringLiteral("fraJpegQty"), -1, false), 60, 225, 1695, 255);
    lblJpegQtyCap = AreaControl(new vb::Label(*this, fraJpegQty, QStringLiteral("lblJpegQtyCap")), 60, 30, 795, 180,
                                QStringLiteral("JPEG画質"));
    lblJpegQty = AreaControl(new vb::Label(*this, fraJpegQty, QStringLiteral("lblJpegQty")), 1140, 0, 495, 255,
                             QStringLiteral("100"));
    lblJpegQty->SetBorderStyle(1);
    lblJpegQty->SetAlignment(2);
    lblJpegQty->SetBackColor(vb::vbWindowBackground);
    chkMeasureSave = AreaControl(new vb::CheckBox(*this, fraSaveOption, QStringLiteral("chkMeasureSave")), 120, 510,
                                 1515, 315, QStringLiteral("計測結果保存"));
    fraScale = AreaControl(new vb::Frame(*this, strip, QStringLiteral("fraScale"), -1, false), 4860, 120, 1395, 795);
    lblScale = AreaControl(new vb::Label(*this, fraScale, QStringLiteral("lblScale")), 60, 60, 1140, 225,
                           QStringLiteral("画像サイズ"));
    cboScale = AreaControl(new vb::ComboBox(*this, fraScale, QStringLiteral("cboScale")), 360, 360, 975, 315);
    for (const char* item : {"x 0.5", "x 1.0", "x 1.5", "x 2.0"}) cboScale->AddItem(QLatin1String(item));
    cmdPinProp = IconButton(*this, strip, QStringLiteral("cmdPinProp"), -1, 6360, 120, 795, 795, QStringLiteral("調整"),
                            "adjust");
    for (int i = 0; i < 2; ++i) {
        txtComment[i] = AreaControl(new vb::TextBox(*this, strip, QStringLiteral("txtComment"), i), 7260,
                                    i == 0 ? 120 : 540, 6195, 375);
        txtComment[i]->SetMaxLength(100);
        txtComment[i]->SetFontSize(12);
    }
    cmdExit =
        IconButton(*this, strip, QStringLiteral("cmdExit"), -1, 13620, 120, 795, 795, QStringLiteral("終了"), "exit");

    // Measure panel.
    picMeasureCommandArea = Place(
        new vb::PictureBox(*this, this, QStringLiteral("picMeasureCommandArea"), -1, false, true), 0, 1035, 3195, 8580);
    picMeasureCommandArea->SetAlign(3);
    auto* panel = picMeasureCommandArea;
    const double capLeft[3] = {60, 60, 60}, capTop[3] = {120, 3480, 4320}, capWidth[3] = {480, 720, 720};
    const char* capText[3] = {"計測", "校正値", "計測値"};
    for (int i = 0; i < 3; ++i) {
        lblCommandCap[i] = AreaControl(new vb::Label(*this, panel, QStringLiteral("lblCommandCap"), i), capLeft[i],
                                       capTop[i], capWidth[i], 225, QString::fromUtf8(capText[i]));
        lblCommandCap[i]->SetFontSize(11.25);
        lblCommandCap[i]->SetFontBold(true);
    }
    Line1_0 = new vb::LineControl(*this, panel, QStringLiteral("Line1"), 0);
    Line1_0->SetPoints(60, 4260, 3060, 4260);
    Line1_0->SetBorderColor(vb::vb3DDKShadow);
    Line1_2 = new vb::LineControl(*this, panel, QStringLiteral("Line1"), 2);
    Line1_2->SetPoints(60, 3360, 3060, 3360);
    Line1_2->SetBorderColor(vb::vb3DDKShadow);
    cmdMeasureConfig = AreaControl(new vb::CommandButton(*this, panel, QStringLiteral("cmdMeasureConfig")), 2160, 120,
                                   855, 315, QStringLiteral("設定"));
    cmdMeasureConfig->Tag = QStringLiteral("NoDisable");
    struct MeasureDesign {
        double left, top;
        const char* caption;
        const char* icon;
    };
    const MeasureDesign measures[7] = {
        {120, 540, "２点間", "measure_2point0"},  {1140, 540, "円", "measure_circle"},
        {2160, 540, "２円", "measure_2circle"},   {120, 1440, "垂線", "measure_perp"},
        {1140, 1440, "面積", "measure_area"},     {2160, 1440, "角度", "measure_angle0"},
        {120, 2400, "カウント", "measure_count"},
    };
    for (int i = 0; i < 7; ++i)
        cmdMeasure[i] = IconButton(*this, panel, QStringLiteral("cmdMeasure"), i, measures[i].left, measures[i].top,
                                   855, 795, QString::fromUtf8(measures[i].caption), measures[i].icon);
    chkScale = AreaControl(new vb::CheckBox(*this, panel, QStringLiteral("chkScale"), -1, true), 1140, 2400, 855, 795,
                           QStringLiteral("スケール"));
    chkScale->SetPicture(Icon("scale"));
    chkScale->Tag = QStringLiteral("NoDisable");
    chkCross = AreaControl(new vb::CheckBox(*this, panel, QStringLiteral("chkCross"), -1, true), 2160, 2400, 855, 795,
                           QStringLiteral("十字線"));
    chkCross->SetPicture(Icon("cross1"));
    chkCross->Tag = QStringLiteral("NoDisable");
    cboProof = AreaControl(new vb::ComboBox(*this, panel, QStringLiteral("cboProof")), 180, 3780, 2055, 345);
    lblProofValue = AreaControl(new vb::Label(*this, panel, QStringLiteral("lblProofValue")), 840, 3495, 2220, 225);
    lblProofValue->SetAlignment(1);
    cmdProofConfig = AreaControl(new vb::CommandButton(*this, panel, QStringLiteral("cmdProofConfig")), 2280, 3795, 735,
                                 315, QStringLiteral("設定"));
    cmdResultSave = IconButton(*this, panel, QStringLiteral("cmdResultSave"), -1, 120, 4620, 855, 795,
                               QStringLiteral("保存"), "result_save");
    cmdResultRemove = IconButton(*this, panel, QStringLiteral("cmdResultRemove"), -1, 1140, 4620, 855, 795,
                                 QStringLiteral("削除"), "result_remove");
    cmdResultClear = IconButton(*this, panel, QStringLiteral("cmdResultClear"), -1, 2160, 4620, 855, 795,
                                QStringLiteral("クリア"), "result_clear");
    grdResult = AreaControl(new vb::FlexGrid(*this, panel, QStringLiteral("grdResult")), 60, 5520, 3075, 2955);
    grdResult->SetRows(100);
    grdResult->SetCols(4);
    grdResult->SetFixedRows(1);

    // View area.
    picViewArea =
        Place(new vb::PictureBox(*this, this, QStringLiteral("picViewArea"), -1, false, true), 3225, 1035, 11235, 8580);
    picViewArea->SetAlign(4);
    picViewArea->SetBackColor(0xC0C0C0);
    picViewArea->SetFontName(kViewFont);
    picViewArea->SetFontSize(9);
    auto* view = picViewArea;
    picCameraView = HiddenPicture(*this, view, QStringLiteral("picCameraView"), -1, 0, 0, 5355, 1935, 0, false);
    picStillView = HiddenPicture(*this, view, QStringLiteral("picStillView"), -1, 0, 0, 2415, 4155, 0, true);
    picStillView->SetCanvasBoundedByContainer(true);
    // A loaded element starts as a hidden copy of element 0, as it stands at that moment.
    auto* shape0 = Place(new vb::Shape(*this, picStillView, QStringLiteral("shaMeasure"), 0), 300 / 15.0, 2640 / 15.0,
                         1095 / 15.0, 1215 / 15.0);
    shape0->SetShapeKind(vb::Shape::Circle);
    shape0->SetBorderColor(0x00FFFF);
    shape0->SetVisible(false);
    shaMeasure.Add(shape0);
    shaMeasure.SetFactory([this](int index) {
        const vb::Shape& from = *shaMeasure[0];
        auto* s = Place(new vb::Shape(*this, picStillView, QStringLiteral("shaMeasure"), index), from.Left(),
                        from.Top(), from.Width(), from.Height());
        s->SetShapeKind(from.ShapeKind());
        s->SetBorderColor(from.BorderColor());
        s->SetBorderWidth(from.BorderWidth());
        s->SetVisible(false);
        return s;
    });
    auto* line0 = new vb::LineControl(*this, picStillView, QStringLiteral("linMeasure"), 0);
    line0->SetPoints(300 / 15.0, 2460 / 15.0, 1800 / 15.0, 2460 / 15.0);
    line0->SetBorderColor(0x00FFFF);
    line0->SetVisible(false);
    linMeasure.Add(line0);
    linMeasure.SetFactory([this](int index) {
        const vb::LineControl& from = *linMeasure[0];
        auto* l = new vb::LineControl(*this, picStillView, QStringLiteral("linMeasure"), index);
        l->SetPoints(from.X1(), from.Y1(), from.X2(), from.Y2());
        l->SetBorderColor(from.BorderColor());
        l->SetBorderWidth(from.BorderWidth());
        l->SetVisible(false);
        return l;
    });
    picTempView = HiddenPicture(*this, view, QStringLiteral("picTempView"), -1, 6720, 240, 2595, 2115, 0, true);
    picTempView->SetAutoSize(true);
    picStillSave = HiddenPicture(*this, view, QStringLiteral("picStillSave"), -1, 6720, 2460, 2595, 2115, 0, true);
    picJpegConv = HiddenPicture(*this, view, QStringLiteral("picJpegConv"), -1, 6720, 4680, 2595, 2115, 0, false);
    picJpegConv->SetAutoSize(true);
    // The ticks keep their design length; the bars get theirs at run time.
    const double scaleLineSize[4][2] = {{15, 255}, {15, 15}, {15, 15}, {255, 15}};
    for (int i = 0; i < 4; ++i) {
        picScaleLine[i] = HiddenPicture(*this, view, QStringLiteral("picScaleLine"), i, 0, 0, scaleLineSize[i][0],
                                        scaleLineSize[i][1], 0x0000FF, false);
        picScaleLine[i]->SetScaleMode(vb::PictureBox::Twips);
        picScaleLine[i]->SetEnabled(false);
    }
    picScaleSize = HiddenPicture(*this, view, QStringLiteral("picScaleSize"), -1, 0, 0, 15, 15, 0x808080, false);
    picScaleSize->SetScaleMode(vb::PictureBox::Twips);
    for (int i = 0; i < 2; ++i) {
        picCrossLineV[i] =
            HiddenPicture(*this, view, QStringLiteral("picCrossLineV"), i, 0, 0, 15, 15, 0x0000FF, false);
        picCrossLineV[i]->SetEnabled(false);
    }
    for (int i = 0; i < 2; ++i) {
        picCrossLineH[i] =
            HiddenPicture(*this, view, QStringLiteral("picCrossLineH"), i, 0, 0, 15, 15, 0x0000FF, false);
        picCrossLineH[i]->SetEnabled(false);
    }
    tmrRec = new vb::Timer(*this, view, QStringLiteral("tmrRec"));
    tmrRec->SetInterval(1000);
    tmrRec->SetEnabled(false);
    tmrLiveIcon = new vb::Timer(*this, view, QStringLiteral("tmrLiveIcon"));
    tmrLiveIcon->SetInterval(1000);
    tmrLiveIcon->Tag = QStringLiteral("NoDisable");
    tmrLiveIcon->SetEnabled(true);
    cdlFile = new vb::CommonDialog(*this, view, QStringLiteral("cdlFile"));
    const char* twoPoint[2] = {"measure_2point0", "measure_2point1"};
    const char* angle[2] = {"measure_angle0", "measure_angle1"};
    const char* cross[2] = {"cross1", "cross2"};
    const char* rec[2] = {"rec0", "rec1"};
    for (int i = 0; i < 2; ++i)
        img2PointIcon[i] = IconHolder(*this, view, QStringLiteral("img2PointIcon"), i, twoPoint[i]);
    for (int i = 0; i < 2; ++i) imgAngleIcon[i] = IconHolder(*this, view, QStringLiteral("imgAngleIcon"), i, angle[i]);
    for (int i = 0; i < 2; ++i) imgCrossIcon[i] = IconHolder(*this, view, QStringLiteral("imgCrossIcon"), i, cross[i]);
    for (int i = 0; i < 2; ++i) imgRecIcon[i] = IconHolder(*this, view, QStringLiteral("imgRecIcon"), i, rec[i]);
    const char* camera[3] = {"camera0", "camera1", "camera2"};
    for (int i = 0; i < 3; ++i)
        imgCameraIcon[i] = IconHolder(*this, view, QStringLiteral("imgCameraIcon"), i, camera[i]);
}

frmMain::~frmMain() = default;

}  // namespace tavix
