#include "frmProofConfig.h"

#include <cmath>

#include "CommonModule.h"
#include "Language.h"
#include "DialogHost.h"
#include "Proof.h"
#include "VariableDefinition.h"

namespace tavix {

namespace {

QString TrimBlanks(const QString& text) {
    qsizetype a = 0, b = text.size();
    while (a < b && text[a] == u' ') ++a;
    while (b > a && text[b - 1] == u' ') --b;
    return text.mid(a, b - a);
}

// A measured distance of 0 gives no finite quotient, nor does an overflow: both raise.
double NewValue(double known, const QString& tag, double zoom) {
    const double value = known / vb::Val(tag) * zoom;
    if (!std::isfinite(value)) vb::Raise(vb::ErrOverflow);
    return value;
}

}  // namespace

frmProofConfig::frmProofConfig() : vb::Dialog(QStringLiteral("frmProofConfig")) {
    SetCaption(QStringLiteral("校正値設定"));
    SetDialogSize(4680, 1860);

    const char* captions[3] = {"設定名称", "基準長", "単位"};
    for (int i = 0; i < 3; ++i) {
        Label1[i] = Place(new vb::Label(*this, this, QStringLiteral("Label1"), i), 120, 180 + 450 * i, 1095, 255);
        Label1[i]->SetCaption(QString::fromUtf8(captions[i]));
    }
    lblMeasured = Place(new vb::Label(*this, this, QStringLiteral("lblMeasured")), 120, 1500, 4440, 255);
    // Labels take no focus; the five fields go in this tab order.
    txtName = Place(new vb::TextBox(*this, this, QStringLiteral("txtName")), 1320, 120, 1815, 345);
    txtName->SetMaxLength(8);
    txtName->SetText(FormText("設定１"));
    txtValue = Place(new vb::TextBox(*this, this, QStringLiteral("txtValue")), 1320, 570, 1215, 345);
    txtValue->SetMaxLength(8);
    txtValue->SetText(QStringLiteral("1"));
    cboUnit = Place(new vb::ComboBox(*this, this, QStringLiteral("cboUnit")), 1320, 1020, 975, 315);
    cmdOK = Place(new vb::CommandButton(*this, this, QStringLiteral("cmdOK")), 3420, 120, 1095, 375);
    cmdOK->SetCaption(QStringLiteral("&OK"));
    cmdCancel = Place(new vb::CommandButton(*this, this, QStringLiteral("cmdCancel")), 3420, 600, 1095, 375);
    cmdCancel->SetCaption(FormText("キャンセル"));
    setTabOrder(txtName->Widget(), txtValue->Widget());
    setTabOrder(txtValue->Widget(), cboUnit->Widget());
    setTabOrder(cboUnit->Widget(), cmdOK->Widget());
    setTabOrder(cmdOK->Widget(), cmdCancel->Widget());

    SetDefaultButton(cmdOK, [this] { cmdOK_Click(); });
    SetCancelButton(cmdCancel, [this] { cmdCancel_Click(); });
}

void frmProofConfig::Form_Load() {
    SetCaption(GST(14000));
    for (int i = 0; i < 3; ++i) Label1[i]->SetCaption(GST(14001 + i));
    cmdOK->SetCaption(QStringLiteral("&OK"));
    cmdCancel->SetCaption(FormText("キャンセル"));
    cboUnit->Clear();
    for (const char* unit : {"μ", "mm", "cm"}) cboUnit->AddItem(QString::fromUtf8(unit));
    cboUnit->SetListIndex(0);
}

void frmProofConfig::Refuse(int textNo, vb::Control* focus) {
    vb::Host().MsgBox(GST(textNo), vb::vbOKOnly | vb::vbExclamation, GST(14100), this);
    focus->SetFocus();
}

void frmProofConfig::cmdOK_Click() {
    VariableDefinition& v = Var();
    if (TrimBlanks(txtName->Text()).isEmpty()) return Refuse(24000, txtName);
    if (TrimBlanks(txtValue->Text()).isEmpty()) return Refuse(24001, txtValue);
    double known = 0;
    // A reading too large for a double cannot give a calibration either.
    if (vb::Trap([&] { known = vb::Val(txtValue->Text()); }) != 0) return Refuse(24004, txtValue);
    if (known <= 0) return Refuse(24002, txtValue);
    if (cboUnit->Text().isEmpty()) return Refuse(24003, cboUnit);
    double value = 0;
    if (vb::Trap([&] { value = NewValue(known, txtValue->Tag, v.ZoomFactor); }) != 0) return Refuse(24004, txtValue);

    ProofRecord& slot = v.ProofTable[v.CurrentProofNo];
    const ProofRecord former = slot;
    slot = ProofRecord{txtName->Text(), value, cboUnit->Text()};
    if (const int err = WriteProofData(); err != 0) {
        // Memory keeps agreeing with the file, and the user can retry or cancel.
        slot = former;
        WriteLog(QStringLiteral("frmProofConfig:cmdOK_Click Error.(%1)").arg(err));
        vb::Host().MsgBox(GST(24005), vb::vbOKOnly | vb::vbExclamation, GST(14100), this);
        return;
    }
    v.DialogResult = true;
    Unload();
}

void frmProofConfig::cmdCancel_Click() {
    Var().DialogResult = false;
    Unload();
}

}  // namespace tavix
