// Cross lines placed by real pointer events that reach the still through the lines.
#include "CrossLines.h"
#include "ViewWindow.h"

namespace view_test {
namespace {

constexpr int kNone = -1;

struct CrossWin : Win {
    CrossWin(int16_t type, int16_t pairs) : Win(type) {
        Var().CrossLineNum = pairs;
        if (type) Open(QuarterPicture(600, 400));
        Var().CrossLineColor = kMagenta & 0xFFFFFF;
        tavix::ApplyCrossLineColor(f);
    }
    QPoint Crossing(int k) const { return {f.picCrossLineV[k]->Widget()->x(), f.picCrossLineH[k]->Widget()->y()}; }
    // The pairs standing, as "01".
    std::string Shown() const {
        return std::string(f.picCrossLineV[0]->Visible() ? "0" : "") + (f.picCrossLineV[1]->Visible() ? "1" : "");
    }
};

// 'C'/'U' check/uncheck the box, 'L'/'R' left/right click at (x, y), 'K' left with no move first,
// 'M' a move only.
struct Step {
    char action;
    int x, y, mode, viewMode, guidance;
    std::string shown;
};

TEST(CrossLines, PlacingFromTheStillAndFromTheLiveViewInTheirColour) {
    const struct {
        const char* what;
        int16_t type, pairs;
        std::vector<Step> steps;
    } cases[] = {
        // clang-format off
        {"still, one pair: the still stays", 3, 1,
         {{'C', 0, 0, 10, 1, 10, "0"}, {'L', 40, -30, 0, 1, kNone, "0"}, {'U', 0, 0, 0, 1, kNone, ""}}},
        {"live, one pair: live again with the lines standing; a right click in 10 takes all back", 0, 1,
         {{'C', 0, 0, 10, 1, 10, "0"}, {'M', 35, -25, 10, 1, 10, "0"}, {'L', 30, 20, 0, 0, kNone, "0"},
          {'U', 0, 0, 0, 0, kNone, ""}, {'C', 0, 0, 10, 1, 10, "0"}, {'R', 30, 20, 0, 0, kNone, ""}}},
        {"live, two pairs: a right click in 11 takes back the second; unchecked while placing it", 0, 2,
         {{'C', 0, 0, 10, 1, 11, "0"}, {'L', -50, 20, 11, 1, 12, "01"}, {'R', 5, 5, 10, 1, 11, "0"},
          {'K', -60, 25, 11, 1, 12, "01"}, {'K', 70, -40, 0, 0, kNone, "01"}, {'U', 0, 0, 0, 0, kNone, ""},
          {'C', 0, 0, 10, 1, 11, "0"}, {'L', 15, 15, 11, 1, 12, "01"}, {'U', 0, 0, 0, 0, kNone, ""}}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        CrossWin w(c.type, c.pairs);
        tavix::frmMain& f = w.f;
        QPoint placed[2];
        for (const Step& s : c.steps) {
            SCOPED_TRACE(&s - c.steps.data());
            const int before = int(f.CommandMode);
            const bool left = s.action == 'L' || s.action == 'K', placing = s.mode == 10 || s.mode == 11;
            if (s.action == 'C' || s.action == 'U')
                f.chkCross->SetValue(s.action == 'C');
            else if (s.action == 'M')
                w.Mouse(QEvent::MouseMove, w.Mid({s.x, s.y}), Qt::NoButton, Qt::NoButton);
            else
                w.Click(w.Mid({s.x, s.y}), left ? Qt::LeftButton : Qt::RightButton, s.action != 'K');
            if (left) placed[before - 10] = placed[s.mode == 11 ? 1 : before - 10] = w.InView({s.x, s.y});
            const vb::TextBox& guidance = *f.txtComment[0];
            EXPECT_EQ(
                std::tuple(int(f.CommandMode), int(f.ViewMode), guidance.Locked() ? guidance.Text() : QString(),
                           w.Shown(), f.chkCross->Value(), f.chkCross->Enabled() + 2 * f.cmdPicLoad->Enabled(),
                           f.picStillView->Visible()),
                std::tuple(s.mode, s.viewMode, s.guidance == kNone ? QString() : Var().GuidanceTable[s.guidance][0],
                           s.shown, int(!s.shown.empty()), placing ? 0 : 3, s.viewMode == 1));
            EXPECT_TRUE(s.action != 'M' || w.Crossing(s.mode - 10) == w.InView({s.x, s.y})) << "following the pointer";
            // Each pair shows in its colour over the still or the live picture, and a pair no
            // longer following the pointer stands where it was clicked.
            const QImage image = w.View()->grab().toImage();
            for (const char k : s.shown) {
                EXPECT_EQ(image.pixel(w.Crossing(k - '0') + QPoint(8, 0)), kMagenta) << "pair " << k;
                EXPECT_TRUE(!left || s.mode == 10 + k - '0' || w.Crossing(k - '0') == placed[k - '0']) << "pair " << k;
            }
        }
    }
}

}  // namespace
}  // namespace view_test
