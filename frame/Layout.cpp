#include "Layout.h"

#include "App.h"
#include "CommonModule.h"
#include "DialogHost.h"
#include "Startup.h"
#include "frmMain.h"

namespace tavix {

namespace {
constexpr double kLeastHeight = 8100;
constexpr double kLeastWidth = 14565;
constexpr double kExitFromRight = 900;
constexpr double kGridBottomGap = 5640;
}  // namespace

void Form_Resize(frmMain& f) {
    const int err = vb::Trap([&] {
        const int state = f.WindowState();
        if (state == 1) return;
        // Each correction fires the event again; that later run does the layout.
        if (state == 0 && f.Height() < kLeastHeight) {
            f.SetHeight(kLeastHeight);
            return;
        }
        if (state == 0 && f.Width() < kLeastWidth) {
            f.SetWidth(kLeastWidth);
            return;
        }
        const bool measure = IsMeasureVariant(Var().ProgramType);
        if (measure) {
            f.picViewArea->SetWidth(f.ScaleWidth() - f.picMeasureCommandArea->Width());
            for (int i = 0; i < 2; ++i) {
                f.picCrossLineV[i]->SetHeight(f.picViewArea->ScaleHeight());
                f.picCrossLineH[i]->SetWidth(f.picViewArea->ScaleWidth());
            }
        } else {
            f.picViewArea->SetWidth(f.ScaleWidth());
        }
        if (f.ViewMode != ViewMode::Live) {
            f.Hooks.DispImage(f);
            if (f.ResultCount > 0) f.Hooks.DrawMeasureResults(f);
        } else {
            f.Hooks.FitCameraView(f);
        }
        f.cmdExit->SetLeft(f.picViewCommandArea->Width() - kExitFromRight);
        if (measure) f.grdResult->SetHeight(f.picMeasureCommandArea->Height() - kGridBottomGap);
    });
    if (err == 0) return;
    WriteLog(QStringLiteral("frmMain:Form_Resize Error.(%1)").arg(err));
    vb::Host().MsgBox(FatalText, vb::vbOKOnly | vb::vbCritical, vb::App::Title(), &f);
    vb::Host().End(1);
}

}  // namespace tavix
