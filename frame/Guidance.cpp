#include "Guidance.h"

#include <optional>

#include "App.h"
#include "CommonModule.h"
#include "Controls.h"
#include "TextFile.h"
#include "frmMain.h"

namespace tavix {

bool ReadGuidanceData() {
    return TrapLogged(QStringLiteral("ReadGuidanceData"), [] {
        VariableDefinition& v = Var();
        for (auto& lines : v.GuidanceTable) lines = {};
        vb::DelimitedInput input = vb::DelimitedInput::FromFile(vb::AppPathJoin(v.GuidanceFileName));
        while (!input.Eof()) {
            const int16_t number = vb::CInt(input.ReadItem());
            QString first = input.ReadItem();
            QString second = input.ReadItem();
            if (number < 0 || number >= GuidanceTableSize) vb::Raise(vb::ErrSubscript);
            v.GuidanceTable[number] = {std::move(first), std::move(second)};
        }
    });
}

namespace {

void ShowGuidance(frmMain& f, int16_t number, const std::optional<QString>& second) {
    const auto& lines = Var().GuidanceTable.at(number);
    for (int i = 0; i < 2; ++i) {
        vb::TextBox* box = f.txtComment[i];
        if (!box->Locked()) f.SavedComment[i] = box->Text();
        box->SetText(lines[i]);
        box->SetBackColor(vb::vbButtonFace);
        box->SetLocked(true);
        // Readable while the strip around them is disabled.
        box->SetEnabled(true);
    }
    if (second) f.txtComment[1]->SetText(*second);
    // The whole text, should a line still be wider than its field in some font.
    for (vb::TextBox* box : f.txtComment) box->Widget()->setToolTip(box->Text());
}

}  // namespace

void DispGuidance(frmMain& f, int16_t intGuidanceNo) { ShowGuidance(f, intGuidanceNo, std::nullopt); }

void DispGuidance(frmMain& f, int16_t intGuidanceNo, const QString& vntGuidance2) {
    ShowGuidance(f, intGuidanceNo, vntGuidance2);
}

void HideGuidance(frmMain& f) {
    if (!f.txtComment[0]->Locked()) return;
    for (int i = 0; i < 2; ++i) {
        vb::TextBox* box = f.txtComment[i];
        box->SetText(f.SavedComment[i]);
        box->SetBackColor(vb::vbWindowBackground);
        box->SetLocked(false);
        box->Widget()->setToolTip({});
    }
}

}  // namespace tavix
