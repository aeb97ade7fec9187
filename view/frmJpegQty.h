#pragma once
// The small dialog in which the quality of saved JPEG files is set.
#include <array>

#include "Controls.h"
#include "Dialog.h"

namespace tavix {

class frmMain;

class frmJpegQty : public vb::Dialog {
public:
    frmJpegQty();

    vb::Frame* Frame1;
    vb::Slider* sldJpegQty;
    std::array<vb::Label*, 3> Label1{};
    vb::CommandButton* cmdOK;
    vb::CommandButton* cmdCancel;

    // Captions and the slider from JpegQty; the caller runs it before showing the dialog.
    void Form_Load();
    // Takes the quality and writes it to the settings file at once.
    void cmdOK_Click();
    void cmdCancel_Click();
};

// Opens frmJpegQty and shows the quality it leaves.
void lblJpegQty_Click(frmMain& f);

}  // namespace tavix
