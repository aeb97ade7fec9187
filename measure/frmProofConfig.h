#pragma once
// The dialog in which a calibration measured on the still gets its name, known length and unit.
#include <array>

#include "Controls.h"
#include "Dialog.h"

namespace tavix {

class frmProofConfig : public vb::Dialog {
public:
    frmProofConfig();

    vb::TextBox* txtName;
    // Tag carries the measured distance in, as text.
    vb::TextBox* txtValue;
    vb::ComboBox* cboUnit;
    vb::CommandButton* cmdOK;
    vb::CommandButton* cmdCancel;
    std::array<vb::Label*, 3> Label1{};
    vb::Label* lblMeasured;  // the reference's length in pixels of the picture

    // Captions and the unit list; the caller runs it before touching the controls.
    void Form_Load();
    // Checks the entry, stores it in the current slot and rewrites the proof file.
    void cmdOK_Click();
    void cmdCancel_Click();

private:
    void Refuse(int textNo, vb::Control* focus);
};

}  // namespace tavix
