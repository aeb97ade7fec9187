#include "StillDisplay.h"

#include "CommonModule.h"
#include "Convert.h"
#include "DialogHost.h"
#include "ScaleOverlay.h"
#include "ViewPan.h"
#include "frmMain.h"
#include "ViewGeometry.h"

namespace tavix {

void DispImage(frmMain& f, bool blnCaptureFlg) {
    if (blnCaptureFlg) f.Hooks.CaptureFrame(f);
    vb::PictureBox& still = *f.picStillView;
    const vb::PictureBox& temp = *f.picTempView;
    const double zoom = Var().ZoomFactor;
    still.SetWidth(static_cast<float>(temp.Width() * zoom));
    still.SetHeight(static_cast<float>(temp.Height() * zoom));
    still.SetScaleLeft(0);
    still.SetScaleTop(0);
    PlaceStill(f);
    still.Cls();

    // From here a failure of the paint is ours to handle.
    const int err =
        vb::Trap([&] { still.PaintPicture(temp.GetImage(), 0, 0, still.ScaleWidth(), still.ScaleHeight()); });
    if (err == 0) {
        still.SetScaleLeft(-1 * still.ScaleWidth() / 2);
        still.SetScaleTop(-1 * still.ScaleHeight() / 2);
        if (f.chkScale->Value() == 1) DrawScale(f);
        return;
    }

    const int box = vb::vbOKOnly | vb::vbCritical;
    if (zoom > 1.0) {
        vb::Host().MsgBox(GST(20171), box, GST(11170), &f);
    } else {
        vb::Host().MsgBox(GST(20170), box, GST(11170), &f);
        // Not even at its own size: give the picture up.
        f.picTempView->SetWidth(f.picViewArea->Width());
        f.picTempView->SetHeight(f.picViewArea->Height());
        f.picTempView->SetPicture(QImage());
    }
    SelectZoomOne(f);
    DispImage(f, false);
}

void SelectZoomOne(frmMain& f) {
    for (int i = 0; i < f.cboScale->ListCount(); ++i) {
        if (f.cboScale->List(i) == QLatin1String("x 1.0")) {
            f.cboScale->SetListIndex(i);
            return;
        }
    }
}

void RescaleResults(frmMain& f, double ratio) {
    VariableDefinition& v = Var();
    // Points are in displayed pixels from the centre, so the zoom only scales them.
    for (int i = 1; i <= f.ResultCount; ++i) {
        std::vector<Point2D>& points = v.ResultTable[i].Points;
        for (size_t k = 1; k < points.size(); ++k) {
            points[k].X *= ratio;
            points[k].Y *= ratio;
        }
    }
}

void cboScale_Click(frmMain& f) {
    VariableDefinition& v = Var();
    const double old = geometry::Zoom();
    v.ZoomFactor = vb::Val(f.cboScale->Text().right(3));
    if (old == v.ZoomFactor) return;
    RescaleResults(f, v.ZoomFactor / old);
    if (f.ViewMode != ViewMode::Live) {
        DispImage(f, false);
        f.Hooks.DrawMeasureResults(f);
    } else {
        f.Hooks.FitCameraView(f);
    }
}

}  // namespace tavix
