#pragma once
// The picture box: a container with its own scale, a persistent canvas (AutoRedraw) that the
// drawing methods paint into, a background Picture, windowless Line/Shape children drawn
// above the canvas, and mouse events in the scale.
#include <QImage>
#include <QPointer>
#include <QRect>
#include <functional>

#include "Controls.h"

namespace vb {

class PictureClient;

class PictureBox : public Control, public ContainerBase {
public:
    enum ScaleModeKind { User = 0, Twips = 1, Pixels = 3 };
    // pixelScale: ScaleMode 3 (pixels) from the design, else twips.
    PictureBox(Form& form, ContainerBase* container, const QString& name, int index = -1, bool pixelScale = false,
               bool border = true);
    ~PictureBox() override;

    QWidget* Widget() const override;
    // A disabled box also lets the pointer through to what lies under it.
    void SetEnabled(bool enabled) override;
    QWidget* ClientWidget() const override;

    // Docking on the form: 0 none, 1 top, 2 bottom, 3 left, 4 right.
    int Align() const { return align_; }
    void SetAlign(int align);

    // 0 none, 1 fixed single (2 pixels on each side, inside Width/Height).
    int BorderStyle() const { return borderStyle_; }
    void SetBorderStyle(int style);

    // The scale of the client area. Setting ScaleLeft/Top/Width/Height makes it a user scale,
    // which keeps its units per pixel and its top-left corner when the box is resized.
    int ScaleMode() const { return scaleMode_; }
    void SetScaleMode(int mode);
    double ScaleLeft() const;
    double ScaleTop() const;
    double ScaleWidth() const;
    double ScaleHeight() const;
    void SetScaleLeft(double v);
    void SetScaleTop(double v);
    void SetScaleWidth(double v);
    void SetScaleHeight(double v);
    // Client size in pixels.
    int ClientPixelWidth() const;
    int ClientPixelHeight() const;

    double ToPixelX(double x) const override;
    double ToPixelY(double y) const override;
    double ToPixelW(double w) const override;
    double ToPixelH(double h) const override;
    double FromPixelX(double px) const override;
    double FromPixelY(double py) const override;
    double FromPixelW(double pw) const override;
    double FromPixelH(double ph) const override;

    bool AutoRedraw() const { return autoRedraw_; }
    void SetAutoRedraw(bool on);
    bool AutoSize() const { return autoSize_; }
    void SetAutoSize(bool on);
    // The canvas covers only the part of the box that its container can show; drawing
    // outside it is clipped. Keeps a zoomed picture from costing memory nobody can see.
    bool CanvasBoundedByContainer() const { return bounded_; }
    void SetCanvasBoundedByContainer(bool on);

    // The background picture that Cls shows; AutoSize sizes the box to it.
    const QImage& GetPicture() const { return picture_; }
    void SetPicture(const QImage& picture);
    // What the box shows: the video frame at the client size, or else the canvas
    // (AutoRedraw), as an image of the canvas part only.
    QImage GetImage() const;
    // The part of the box (client pixels) the canvas covers.
    QRect CanvasRect() const { return canvasRect_; }

    // Drawing, all in the scale. Without AutoRedraw it goes to the canvas too, which is
    // what the box shows until the next Cls.
    void Cls();
    void Line(double x1, double y1, double x2, double y2, uint32_t color);
    void LineBox(double x1, double y1, double x2, double y2, uint32_t color, bool filled);
    void Circle(double x, double y, double radius, uint32_t color);
    // Draws text at CurrentX/CurrentY in ForeColor and Font, transparent, and moves CurrentY down a line.
    void Print(const QString& text);
    // Draws src (or its part sx,sy,sw,sh in source pixels) stretched into x,y,w,h of the scale.
    void PaintPicture(const QImage& src, double x, double y, double w, double h);
    void PaintPicture(const QImage& src, double x, double y, double w, double h, double sx, double sy, double sw,
                      double sh);
    // A video frame shown stretched over the whole client area, above the canvas and below
    // the windowless children. It is drawn straight to the screen on each paint, never
    // copied into the canvas; a null image takes it away.
    void ShowVideoFrame(const QImage& frame);
    const QImage& VideoFrame() const { return video_; }
    // Makes the next n PaintPicture calls fail with error 7, as when the memory for the
    // picture is not there; lets tests walk the callers' failure paths.
    static void FailNextPaints(int n);
    double TextWidth(const QString& text) const;
    double TextHeight(const QString& text) const;
    double CurrentX = 0;
    double CurrentY = 0;
    int DrawWidth = 1;

    // Mouse events: button 1 left, 2 right, 4 middle; shift state; X, Y in the scale.
    std::function<void(int button, int shift, float x, float y)> OnMouseDown;
    std::function<void(int button, int shift, float x, float y)> OnMouseMove;
    std::function<void(int button, int shift, float x, float y)> OnMouseUp;

    void ApplyGeometry() override;
    void SetBackColor(uint32_t color) override;
    void RepaintOverlay(const QRect& area) override;

    // For the client widget.
    void PaintClient(QPainter& painter, const QRect& dirty);
    void ClientResized();

private:
    void UpdateCanvasRect();
    void PlaceClient();
    void ToUserScale();
    void ScaleChanged();
    // Makes the canvas if there is none yet; false when nothing of the box can be drawn on.
    bool EnsureCanvas();
    void FillBackground(QImage& image, const QRect& area) const;
    QPoint ToCanvas(double x, double y) const;
    void Changed(const QRect& canvasArea);

    QPointer<QWidget> outer_;
    PictureClient* client_;
    int align_ = 0;
    int borderStyle_ = 1;
    int scaleMode_ = Twips;
    // Units per client pixel of the user scale.
    double scaleLeft_ = 0, scaleTop_ = 0, unitsPerPixelX_ = 15, unitsPerPixelY_ = 15;
    bool autoRedraw_ = false;
    bool autoSize_ = false;
    bool bounded_ = false;
    QImage picture_;
    QImage canvas_;
    QImage video_;
    static int failNextPaints_;
    QRect canvasRect_;
};

}  // namespace vb
