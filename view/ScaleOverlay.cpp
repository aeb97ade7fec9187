#include "ScaleOverlay.h"

#include <cmath>

#include "App.h"
#include "Convert.h"
#include "DialogHost.h"
#include "StillDisplay.h"
#include "VariableDefinition.h"
#include "frmMain.h"
#include "frmScale.h"
#include "ViewGeometry.h"

namespace tavix {

namespace {

using vb::Screen;

// Distances of the bar from the edges of what can be seen. The live view keeps a little
// more room at the right.
constexpr double kLiveRightMargin = 465;  // twips
constexpr double kLiveMargin = 450;       // twips
constexpr double kStillMargin = 30;       // pixels
// Half the length of a tick on the still, in pixels.
constexpr double kStillTick = 8;
// Gap between the bar and its text: twips live, pixels on the still.
constexpr double kLiveTextGap = 80;
constexpr double kStillTextGap = 5;

struct Anchor {
    double X = 0;
    double Y = 0;
};

// The visible part of the picture, in the units of the view.
struct Visible {
    double Left = 0;
    double Top = 0;
    double Width = 0;
    double Height = 0;
};

// Where the bars meet: the right end of the horizontal bar, the lower end of the vertical.
// The left positions measure their margin from the left end, so a long bar never leaves the view.
Anchor AnchorAt(int16_t position, const Visible& v, double lenX, double lenY, double rightMargin, double margin) {
    const double right = v.Left + v.Width - rightMargin;
    const double left = v.Left + margin + lenX;
    const double bottom = v.Top + v.Height - margin;
    const double top = v.Top + margin + lenY;
    switch (position) {
    case 0: return {right, bottom};
    case 1: return {left, bottom};
    case 2: return {right, top};
    case 3: return {left, top};
    // 4, the centre; the ini reader lets no other value through.
    default: return {v.Left + v.Width / 2, v.Top + v.Height / 2};
    }
}

QString ScaleText() {
    const VariableDefinition& v = Var();
    return vb::Format(v.ScaleX) + v.ProofTable[v.CurrentProofNo].Unit;
}

void HideLiveOverlay(frmMain& f) {
    for (vb::PictureBox* line : f.picScaleLine) line->SetVisible(false);
    f.picScaleSize->SetVisible(false);
}

void DrawLive(frmMain& f, double lenX, double lenY) {
    const VariableDefinition& v = Var();
    const vb::PictureBox& area = *f.picViewArea;
    const vb::PictureBox& camera = *f.picCameraView;
    // A picture larger than the view is cut at its edges; the bar keeps to what is shown.
    Visible view{0, 0, area.ScaleWidth(), area.ScaleHeight()};
    if (camera.Width() < area.ScaleWidth()) {
        view.Width = camera.Width();
        view.Left = std::nearbyint(camera.Left());
    }
    if (camera.Height() < area.ScaleHeight()) {
        view.Height = camera.Height();
        view.Top = std::nearbyint(camera.Top());
    }
    const Anchor a = AnchorAt(v.ScalePosition, view, lenX, lenY, kLiveRightMargin, kLiveMargin);

    vb::PictureBox& leftTick = *f.picScaleLine[0];
    vb::PictureBox& bar = *f.picScaleLine[1];
    vb::PictureBox& vertical = *f.picScaleLine[2];
    vb::PictureBox& topTick = *f.picScaleLine[3];
    leftTick.SetLeft(a.X - lenX);
    leftTick.SetTop(a.Y - leftTick.Height() / 2);
    bar.SetLeft(a.X - lenX);
    bar.SetTop(a.Y);
    bar.SetWidth(lenX);
    if (v.ScaleType != 0) {
        vertical.SetLeft(a.X);
        vertical.SetTop(a.Y - lenY);
        vertical.SetHeight(lenY);
        topTick.SetLeft(a.X - topTick.Width() / 2);
        topTick.SetTop(a.Y - lenY);
    } else {
        // Without a vertical bar the same box is the tick at the right end.
        vertical.SetLeft(a.X);
        vertical.SetTop(a.Y - leftTick.Height() / 2);
        vertical.SetHeight(leftTick.Height());
    }

    vb::PictureBox& size = *f.picScaleSize;
    const QString text = ScaleText();
    size.SetFontSize(v.MeasureFontSize);
    size.SetForeColor(v.MeasureValueColor[1]);
    // The box measures text in its own scale; its place is in the view area's.
    size.SetWidth(area.FromPixelW(size.ToPixelW(size.TextWidth(text))));
    size.SetHeight(area.FromPixelH(size.ToPixelH(size.TextHeight(text))));
    size.SetLeft(a.X - bar.Width() / 2 - size.Width() / 2);
    size.SetTop(a.Y + kLiveTextGap);
    size.Cls();
    size.Print(text);

    leftTick.SetVisible(true);
    bar.SetVisible(true);
    vertical.SetVisible(true);
    if (v.ScaleType == 1) topTick.SetVisible(true);
    size.SetVisible(true);
}

void DrawStill(frmMain& f, double lenX, double lenY) {
    const VariableDefinition& v = Var();
    vb::PictureBox& still = *f.picStillView;
    // The bar keeps to the view's corner wherever the pan has moved the picture.
    const QRectF shown = geometry::VisibleStill(f);
    const Visible view{shown.left(), shown.top(), shown.width(), shown.height()};
    const Anchor a = AnchorAt(v.ScalePosition, view, lenX, lenY, kStillMargin, kStillMargin);

    const uint32_t color = v.ScaleColor;
    still.Line(a.X - lenX, a.Y - kStillTick, a.X - lenX, a.Y + kStillTick, color);
    still.Line(a.X - lenX, a.Y, a.X, a.Y, color);
    if (v.ScaleType != 0) {
        still.Line(a.X, a.Y, a.X, a.Y - lenY, color);
        still.Line(a.X - kStillTick, a.Y - lenY, a.X + kStillTick, a.Y - lenY, color);
    } else {
        still.Line(a.X, a.Y - kStillTick, a.X, a.Y + kStillTick, color);
    }

    const QString text = ScaleText();
    still.SetForeColor(v.MeasureValueColor[1]);
    still.CurrentX = a.X - lenX / 2 - still.TextWidth(text) / 2;
    still.CurrentY = a.Y + kStillTextGap;
    still.Print(text);
}

}  // namespace

void DrawScale(frmMain& f) {
    // Both views start from nothing, so a live overlay never stands over a still and a
    // vertical bar never outlives a change to the horizontal one.
    HideLiveOverlay(f);

    const VariableDefinition& v = Var();
    // The calibration's value is above 0 whenever one is in use.
    const double pixel = v.ProofTable[v.CurrentProofNo].Value;
    double lenX = v.ScaleX / pixel * v.ZoomFactor;
    double lenY = v.ScaleType == 0 ? 0 : v.ScaleY / pixel * v.ZoomFactor;
    if (f.ViewMode == ViewMode::Live) {
        DrawLive(f, geometry::TwipsX(lenX), geometry::TwipsY(lenY));
    } else {
        DrawStill(f, lenX, lenY);
    }
}

void chkScale_Click(frmMain& f) {
    if (f.chkScale->Value() != 1) {
        if (f.ViewMode != ViewMode::Live) {
            // The bar is part of the still's paint: a repaint without it takes it away.
            DispImage(f, false);
            f.Hooks.DrawMeasureResults(f);
        } else {
            HideLiveOverlay(f);
        }
        return;
    }

    frmScale dlg;
    dlg.Form_Load();
    // A dialog that ended some other way counts as cancelled.
    Var().DialogResult = false;
    vb::Host().ShowModal(dlg, &f);
    if (Var().DialogResult) {
        DrawScale(f);
    } else {
        // Fires this handler again, which takes away whatever stands.
        f.chkScale->SetValue(0);
    }
}

}  // namespace tavix
