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

TEST(CommandArea, TheStripFollowsTheViewAndPassesOverLinesAndTimers) {
    const auto stripOff = [](frmMain& f) {
        tavix::DisableCommandArea(f, *f.picViewCommandArea, true);
        f.chkMeasureSave->SetEnabled(true);
    };
    const auto enableStrip = [](frmMain& f) { tavix::EnableCommandArea(f, *f.picViewCommandArea); };
    // clang-format off
    const AreaCase cases[] = {
        {"the strip in the still view: no adjust button", 1, stripOff, enableStrip,
         {{CTRL(cmdPicLoad), true}, {CTRL(cmdPinProp), false}, {CTRL(chkMeasureSave), true}}},
        {"the strip in the live view: no saving of results", 0, stripOff, enableStrip,
         {{CTRL(cmdPinProp), true}, {CTRL(chkMeasureSave), false}}},
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
