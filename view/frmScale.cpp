#include "frmScale.h"

#include "CommonModule.h"
#include "Language.h"
#include "Convert.h"
#include "DialogHost.h"
#include "VariableDefinition.h"

namespace tavix {

namespace {

constexpr int kLengthChars = 6;

}  // namespace

frmScale::frmScale() : vb::Dialog(QStringLiteral("frmScale")) {
    SetCaption(QStringLiteral("スケール"));
    SetDialogSize(3675, 2910);

    const QString label1 = QStringLiteral("Label1"), len = QStringLiteral("txtScaleLen"),
                  unit = QStringLiteral("lblUnit");
    Label1[0] = Place(new vb::Label(*this, this, label1, 0), 180, 240, 135, 225, "X");
    txtScaleLen[0] = Place(new vb::TextBox(*this, this, len, 0), 420, 180, 795, 330);
    lblUnit[0] = Place(new vb::Label(*this, this, unit, 0), 1260, 240, 555, 225, "μ");
    Label1[1] = Place(new vb::Label(*this, this, label1, 1), 1920, 240, 135, 225, "Y");
    txtScaleLen[1] = Place(new vb::TextBox(*this, this, len, 1), 2160, 180, 795, 330);
    lblUnit[1] = Place(new vb::Label(*this, this, unit, 1), 3000, 240, 555, 225, "μ");
    for (vb::TextBox* box : txtScaleLen) box->SetMaxLength(kLengthChars);

    Frame1 = Place(new vb::Frame(*this, this, QStringLiteral("Frame1")), 180, 780, 3315, 675, "スタイル");
    optAxis[0] =
        Place(new vb::OptionButton(*this, Frame1, QStringLiteral("optAxis"), 0), 180, 300, 1515, 255, "X軸のみ");
    optAxis[1] =
        Place(new vb::OptionButton(*this, Frame1, QStringLiteral("optAxis"), 1), 1740, 300, 1515, 255, "X軸＋Y軸");
    Label2 = Place(new vb::Label(*this, this, QStringLiteral("Label2")), 240, 1740, 450, 225, "位置");
    cboPosition = Place(new vb::ComboBox(*this, this, QStringLiteral("cboPosition")), 1320, 1680, 2175, 315);
    cmdOK = Place(new vb::CommandButton(*this, this, QStringLiteral("cmdOK")), 180, 2340, 1575, 435, "&OK");
    cmdCancel =
        Place(new vb::CommandButton(*this, this, QStringLiteral("cmdCancel")), 1980, 2340, 1515, 435, "キャンセル");

    // Labels and the frame take no focus; the X length comes first.
    setTabOrder(txtScaleLen[0]->Widget(), txtScaleLen[1]->Widget());
    setTabOrder(txtScaleLen[1]->Widget(), optAxis[0]->Widget());
    setTabOrder(optAxis[0]->Widget(), optAxis[1]->Widget());
    setTabOrder(optAxis[1]->Widget(), cboPosition->Widget());
    setTabOrder(cboPosition->Widget(), cmdOK->Widget());
    setTabOrder(cmdOK->Widget(), cmdCancel->Widget());

    for (int i = 0; i < 2; ++i) optAxis[i]->OnClick = [this, i] { optAxis_Click(i); };
    SetDefaultButton(cmdOK, [this] { cmdOK_Click(); });
    SetCancelButton(cmdCancel, [this] { cmdCancel_Click(); });
}

void frmScale::Form_Load() {
    const VariableDefinition& v = Var();
    SetCaption(GST(15000));
    Frame1->SetCaption(GST(15001));
    optAxis[0]->SetCaption(GST(15002));
    optAxis[1]->SetCaption(GST(15003));
    Label2->SetCaption(GST(15004));
    cmdOK->SetCaption(QStringLiteral("&OK"));
    cmdCancel->SetCaption(FormText("キャンセル"));

    txtScaleLen[0]->SetText(vb::CStr(v.ScaleX));
    txtScaleLen[1]->SetText(vb::CStr(v.ScaleY));
    for (vb::Label* label : lblUnit) label->SetCaption(v.ProofTable[v.CurrentProofNo].Unit);
    optAxis[v.ScaleType]->SetValue(true);

    cboPosition->Clear();
    for (int32_t id = 15005; id <= 15009; ++id) cboPosition->AddItem(GST(id));
    cboPosition->SetListIndex(v.ScalePosition);
}

void frmScale::optAxis_Click(int Index) {
    const bool open = Index == 1;
    Label1[1]->SetEnabled(open);
    txtScaleLen[1]->SetEnabled(open);
    lblUnit[1]->SetEnabled(open);
}

void frmScale::cmdOK_Click() {
    // Both lengths are checked whatever the form: a stored Y of 0 is refused even while its
    // field is closed, so the bar never gets a length of nothing later on.
    double lengths[2] = {0, 0};
    for (int i = 0; i < 2; ++i) {
        // A number too large for a double leaves the length at 0: refused like no number.
        vb::Trap([&] { lengths[i] = vb::Val(txtScaleLen[i]->Text()); });
        if (lengths[i] <= 0) {
            vb::Host().MsgBox(GST(25000, Label1[i]->Caption()), vb::vbOKOnly | vb::vbExclamation, GST(15100), this);
            return;
        }
    }
    VariableDefinition& v = Var();
    v.ScaleX = lengths[0];
    v.ScaleY = lengths[1];
    v.ScaleType = optAxis[0]->Value() ? 0 : 1;
    v.ScalePosition = static_cast<int16_t>(cboPosition->ListIndex());
    v.DialogResult = true;
    Unload();
}

void frmScale::cmdCancel_Click() {
    Var().DialogResult = false;
    Unload();
}

}  // namespace tavix
