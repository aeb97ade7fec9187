#pragma once
// The measurement settings: colours of results, cross lines and scale, the number of cross
// lines, decimals, font size and the way of the two-point and angle commands.
#include <QString>
#include <array>
#include <cstdint>

#include "Controls.h"
#include "Dialog.h"

namespace tavix {

class frmMain;

class frmMeasureConfig : public vb::Dialog {
public:
    frmMeasureConfig();

    vb::Frame* Frame1;
    vb::Frame* Frame2;
    vb::Frame* Frame3;
    std::array<vb::Frame*, 2> Frame4{};
    // Swatches: line 1, value 1, line 2, value 2, line 3, cross lines, scale.
    std::array<vb::Label*, 7> lblColor{};
    // The captions beside the settings, in the order of kCaptionStrings.
    std::array<vb::Label*, 12> lblCaption{};
    std::array<vb::OptionButton*, 2> optCrossLineNum{};
    std::array<vb::OptionButton*, 2> optAngleCommand{};
    std::array<vb::OptionButton*, 2> opt2PointCommand{};
    vb::ComboBox* cboDec;
    vb::ComboBox* cboFontSize;
    vb::CommonDialog* cdlColor;
    vb::CommandButton* cmdOK;
    vb::CommandButton* cmdCancel;

    // Captions and the controls from the settings; the caller runs it before showing.
    void Form_Load();
    // Stores every setting and unloads; nothing to check, every control holds a valid value.
    void cmdOK_Click();
    // Unloads, storing nothing, not even a colour already picked.
    void cmdCancel_Click();
    // Picks a colour for the swatch; Cancel in the colour dialog keeps the swatch.
    void lblColor_Click(int Index);
};

// Opens frmMeasureConfig, then brings the main window in line with the settings it leaves,
// after Cancel too.
void cmdMeasureConfig_Click(frmMain& f);

}  // namespace tavix
