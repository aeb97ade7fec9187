// Cross lines placed by real pointer events that reach the still through the lines.
#include "CrossLines.h"
#include "ViewPan.h"
#include "ViewWindow.h"

namespace view_test {
namespace {

constexpr int kNone = -1;

struct CrossWin : Win {
    explicit CrossWin(int16_t type, int16_t pairs = 1, QSize picture = {600, 400}) : Win(type) {
        Var().CrossLineNum = pairs;
        if (type) Open(QuarterPicture(picture.width(), picture.height()));
        Var().CrossLineColor = kMagenta & 0xFFFFFF;
        tavix::ApplyCrossLineColor(f);
    }
    QPoint Crossing(int k) const { return {f.picCrossLineV[k]->Widget()->x(), f.picCrossLineH[k]->Widget()->y()}; }
    bool Magenta(const QImage& shown, QPoint at) const { return (shown.pixel(at) & 0xFFFFFF) == (kMagenta & 0xFFFFFF); }
    // The pairs standing, as "01".
    std::string Shown() const {
        std::string s;
        for (int k = 0; k < 2; ++k) {
            EXPECT_EQ(f.picCrossLineV[k]->Visible(), f.picCrossLineH[k]->Visible()) << "pair " << k;
            if (f.picCrossLineV[k]->Visible()) s += std::to_string(k);
        }
        return s;
    }
    int Guidance() const {
        if (!f.txtComment[0]->Locked()) return kNone;
        for (int n : {10, 11, 12})
            if (f.txtComment[0]->Text() == Var().GuidanceTable[n][0]) return n;
        return 0;
    }
};

// 'C'/'U' check/uncheck the box, 'L'/'R' left/right click at (x, y), 'K' left with no move first,
// 'M' a move only.
struct Step {
    char action;
    int x, y, mode, viewMode, guidance;
    const char* shown;
    int box;
};

TEST(CrossLines, PlacingFromTheStillAndFromTheLiveViewInTheirColour) {
    const struct {
        const char* what;
        int16_t type, pairs;
        std::vector<Step> steps;
    } cases[] = {
        // clang-format off
        {"still, one pair: the still stays", 3, 1,
         {{'C', 0, 0, 10, 1, 10, "0", 1}, {'L', 40, -30, 0, 1, kNone, "0", 1}, {'U', 0, 0, 0, 1, kNone, "", 0}}},
        {"still, two pairs, right click in 11 takes back the second", 3, 2,
         {{'C', 0, 0, 10, 1, 11, "0", 1}, {'L', -50, 20, 11, 1, 12, "01", 1}, {'R', 5, 5, 10, 1, 11, "0", 1},
          {'K', -60, 25, 11, 1, 12, "01", 1}, {'K', 70, -40, 0, 1, kNone, "01", 1}, {'U', 0, 0, 0, 1, kNone, "", 0},
          {'C', 0, 0, 10, 1, 11, "0", 1}}},
        {"live, one pair: live again with the lines standing", 0, 1,
         {{'C', 0, 0, 10, 1, 10, "0", 1}, {'M', 35, -25, 10, 1, 10, "0", 1}, {'L', 30, 20, 0, 0, kNone, "0", 1},
          {'U', 0, 0, 0, 0, kNone, "", 0}}},
        {"live, right click in 10: live again, nothing standing", 0, 1,
         {{'C', 0, 0, 10, 1, 10, "0", 1}, {'R', 30, 20, 0, 0, kNone, "", 0}}},
        {"live, unchecked while placing the second pair", 0, 2,
         {{'C', 0, 0, 10, 1, 11, "0", 1}, {'L', 15, 15, 11, 1, 12, "01", 1}, {'U', 0, 0, 0, 0, kNone, "", 0}}},
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
            EXPECT_EQ(std::tuple(int(f.CommandMode), int(f.ViewMode), w.Guidance(), w.Shown(), f.chkCross->Value(),
                                 f.chkCross->Enabled() + 2 * f.cmdPicLoad->Enabled(), f.picStillView->Visible()),
                      std::tuple(s.mode, s.viewMode, s.guidance, std::string(s.shown), s.box, placing ? 0 : 3,
                                 s.viewMode == 1));
            EXPECT_TRUE(s.action != 'M' || w.Crossing(s.mode - 10) == w.InView({s.x, s.y})) << "following the pointer";
            // Each pair shows in its colour over the still or the live picture.
            const QImage shown = w.View()->grab().toImage();
            for (const char k : std::string(s.shown)) EXPECT_TRUE(w.Magenta(shown, w.Crossing(k - '0') + QPoint(8, 0)));
            // A pair no longer following the pointer stands where it was clicked.
            for (int k = 0; left && k < 2; ++k) {
                const bool stands = std::string(s.shown).find(char('0' + k)) != std::string::npos && s.mode != 10 + k;
                EXPECT_TRUE(!stands || w.Crossing(k) == placed[k]) << "pair " << k;
            }
        }
    }
}

}  // namespace
}  // namespace view_test
