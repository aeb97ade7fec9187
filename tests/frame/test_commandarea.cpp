// Shutting whole command areas off and on by name.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "CommandArea.h"
#include "StartedMain.h"

using tavix::frmMain;

namespace {

struct Expect {
    std::function<vb::Control*(frmMain&)> control;
    const char* name;
    bool enabled;
};

struct AreaCase {
    const char* what;
    int16_t viewMode;
    // Runs before the call: the state the controls are in.
    std::function<void(frmMain&)> before;
    std::function<void(frmMain&)> call;
    std::vector<Expect> expect;
};

#define CTRL(member) [](frmMain& f) -> vb::Control* { return f.member; }, #member

TEST(CommandArea, EnableAndDisableByName) {
    auto allOn = [](frmMain& f) {
        tavix::EnableCommandArea(f, *f.picMeasureCommandArea);
        for (vb::Control* c : {static_cast<vb::Control*>(f.cmdPicLoad), static_cast<vb::Control*>(f.cmdPinProp),
                               static_cast<vb::Control*>(f.chkMeasureSave), static_cast<vb::Control*>(f.txtComment[0])})
            c->SetEnabled(true);
    };
    const auto stripOff = [](frmMain& f) {
        tavix::DisableCommandArea(f, *f.picViewCommandArea, true);
        f.chkMeasureSave->SetEnabled(true);
    };
    const auto enableStrip = [](frmMain& f) { tavix::EnableCommandArea(f, *f.picViewCommandArea); };
    // clang-format off
    const AreaCase cases[] = {
        {"a normal disable spares the NoDisable controls as they are", 1,
         [&](frmMain& f) { allOn(f); f.chkCross->SetEnabled(false); },
         [](frmMain& f) { tavix::DisableCommandArea(f, *f.picMeasureCommandArea, false); },
         {{CTRL(cmdMeasure[0]), false}, {CTRL(cmdMeasure[6]), false}, {CTRL(cboProof), false}, {CTRL(grdResult), false},
          {CTRL(lblCommandCap[1]), false}, {CTRL(chkScale), true}, {CTRL(cmdMeasureConfig), true},
          {CTRL(chkCross), false}, {CTRL(cmdPicLoad), true}}},
        {"a full disable takes the NoDisable controls too", 1, allOn,
         [](frmMain& f) { tavix::DisableCommandArea(f, *f.picMeasureCommandArea, true); },
         {{CTRL(chkScale), false}, {CTRL(chkCross), false}, {CTRL(cmdMeasureConfig), false},
          {CTRL(cmdResultClear), false}, {CTRL(txtComment[1]), true}}},
        {"enabling the panel has no exceptions and lifts a full disable", 1,
         [](frmMain& f) { tavix::DisableCommandArea(f, *f.picMeasureCommandArea, true); f.cmdPinProp->SetEnabled(true); },
         [](frmMain& f) { tavix::EnableCommandArea(f, *f.picMeasureCommandArea); },
         {{CTRL(chkScale), true}, {CTRL(chkCross), true}, {CTRL(cmdMeasure[3]), true}, {CTRL(cmdPinProp), true}}},
        {"the strip in the still view: no adjust button", 1, stripOff, enableStrip,
         {{CTRL(cmdPicLoad), true}, {CTRL(txtComment[0]), true}, {CTRL(cmdExit), true}, {CTRL(cmdPinProp), false},
          {CTRL(chkMeasureSave), true}}},
        {"the strip in the live view: no saving of results", 0, stripOff, enableStrip,
         {{CTRL(cmdPinProp), true}, {CTRL(chkMeasureSave), false}, {CTRL(fraScale), true}}},
        {"controls inside a frame follow it without being touched", 1, allOn,
         [](frmMain& f) { tavix::DisableCommandArea(f, *f.picViewCommandArea, false); },
         {{CTRL(fraSaveOption), false}, {CTRL(chkMeasureSave), true}, {CTRL(cboScale), true}, {CTRL(fraScale), false},
          {CTRL(txtComment[1]), false}}},
        {"another container reaches only its own controls", 1, allOn,
         [](frmMain& f) { tavix::DisableCommandArea(f, *f.fraScale, true); },
         {{CTRL(cboScale), false}, {CTRL(cmdPicLoad), true}, {CTRL(cmdMeasure[0]), true}}},
    };
    // clang-format on
    testing_support::StartedMain s(0);
    frmMain& f = s.f;
    for (const AreaCase& c : cases) {
        f.ViewMode = tavix::ViewMode(c.viewMode);
        c.before(f);
        c.call(f);
        for (const Expect& e : c.expect) EXPECT_EQ(e.control(f)->Enabled(), e.enabled) << c.what << ": " << e.name;
    }
    // The panel's lines have no Enabled and the blink timer lies in no area.
    tavix::DisableCommandArea(f, *f.picMeasureCommandArea, true);
    EXPECT_TRUE(f.Line1_0->Visible());
    EXPECT_TRUE(f.tmrLiveIcon->Enabled());
}

#undef CTRL

}  // namespace
