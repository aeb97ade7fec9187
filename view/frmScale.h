#pragma once
// The dialog in which the scale bar gets its lengths, its form and its place.
#include <array>

#include "Controls.h"
#include "Dialog.h"

namespace tavix {

class frmScale : public vb::Dialog {
public:
    frmScale();

    std::array<vb::Label*, 2> Label1{};
    std::array<vb::TextBox*, 2> txtScaleLen{};
    std::array<vb::Label*, 2> lblUnit{};
    vb::Frame* Frame1;
    std::array<vb::OptionButton*, 2> optAxis{};
    vb::Label* Label2;
    vb::ComboBox* cboPosition;
    vb::CommandButton* cmdOK;
    vb::CommandButton* cmdCancel;

    // Captions and the current settings; the caller runs it before showing the dialog.
    void Form_Load();
    // Checks both lengths, then stores lengths, form and place.
    void cmdOK_Click();
    void cmdCancel_Click();
    // The Y length is open only for the form with a vertical bar.
    void optAxis_Click(int Index);
};

}  // namespace tavix
