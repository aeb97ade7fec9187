#include "frmJpegQty.h"

#include <algorithm>

#include "CommonModule.h"
#include "Language.h"
#include "DialogHost.h"
#include "IniConfig.h"
#include "VariableDefinition.h"
#include "frmMain.h"

namespace tavix {

namespace {

constexpr int kLowest = 10;
constexpr int kHighest = 100;

}  // namespace

frmJpegQty::frmJpegQty() : vb::Dialog(QStringLiteral("frmJpegQty")) {
    SetCaption(QStringLiteral("JPEG画質設定"));
    SetDialogSize(4365, 1335);

    Frame1 = Place(new vb::Frame(*this, this, QStringLiteral("Frame1")), 120, 60, 2895, 1155);
    sldJpegQty = Place(new vb::Slider(*this, Frame1, QStringLiteral("sldJpegQty")), 120, 240, 2655, 495);
    sldJpegQty->SetRange(kLowest, kHighest);
    sldJpegQty->SetTickFrequency(10);
    sldJpegQty->SetLargeChange(10);
    const struct {
        const char* text;
        double left;
        int align;
    } marks[3] = {{"10", 120, 0}, {"50", 1155, 2}, {"100", 2175, 1}};
    for (int i = 0; i < 3; ++i) {
        Label1[i] = Place(new vb::Label(*this, Frame1, QStringLiteral("Label1"), i), marks[i].left, 780, 600, 255);
        Label1[i]->SetCaption(QString::fromLatin1(marks[i].text));
        Label1[i]->SetAlignment(marks[i].align);
    }
    cmdOK = Place(new vb::CommandButton(*this, this, QStringLiteral("cmdOK")), 3150, 120, 1095, 375);
    cmdOK->SetCaption(QStringLiteral("&OK"));
    cmdCancel = Place(new vb::CommandButton(*this, this, QStringLiteral("cmdCancel")), 3150, 600, 1095, 375);
    cmdCancel->SetCaption(FormText("キャンセル"));
    setTabOrder(sldJpegQty->Widget(), cmdOK->Widget());
    setTabOrder(cmdOK->Widget(), cmdCancel->Widget());

    SetDefaultButton(cmdOK, [this] { cmdOK_Click(); });
    SetCancelButton(cmdCancel, [this] { cmdCancel_Click(); });
}

void frmJpegQty::Form_Load() {
    SetCaption(GST(12000));
    cmdOK->SetCaption(QStringLiteral("&OK"));
    cmdCancel->SetCaption(FormText("キャンセル"));
    sldJpegQty->SetValue(std::clamp<int>(Var().JpegQty, kLowest, kHighest));
}

void frmJpegQty::cmdOK_Click() {
    VariableDefinition& v = Var();
    v.JpegQty = static_cast<uint8_t>(sldJpegQty->Value());
    // Kept at once, not only at shutdown; a failed write has logged itself.
    WriteIniFileData(QStringLiteral("FILE"), QStringLiteral("JPEGQTY"), QString::number(v.JpegQty));
    Unload();
}

void frmJpegQty::cmdCancel_Click() { Unload(); }

void lblJpegQty_Click(frmMain& f) {
    frmJpegQty dlg;
    dlg.Form_Load();
    vb::Host().ShowModal(dlg, &f);
    f.lblJpegQty->SetCaption(QString::number(Var().JpegQty));
}

}  // namespace tavix
