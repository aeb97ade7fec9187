#pragma once
// A main window started in a sandboxed installation, with a scripted dialog host, and
// pictures made by the tests.
#include <QImage>
#include <QString>
#include <functional>

#include "Sandbox.h"
#include "ScriptedDialogHost.h"
#include "frmMain.h"

namespace testing_support {

struct StartedMain {
    Sandbox box;
    ScriptedDialogHost host;
    tavix::frmMain f;
    // Starts the variant and shows the window; fails the test when start-up fails.
    explicit StartedMain(int16_t programType, const QString& deployment = QStringLiteral("ja"));
};

// A camera variant (ProgramType 1) started in a sandbox that can be prepared before
// start-up; `started` says whether start-up went through.
struct CameraMain {
    Sandbox box;
    ScriptedDialogHost host;
    tavix::frmMain f;
    bool started = false;
    explicit CameraMain(const std::function<void(Sandbox&, ScriptedDialogHost&)>& prepare = {});
    bool WaitFor(const std::function<bool()>& done, int ms = 5000);
    // Until the graph has a frame.
    bool WaitFrame();
    bool Logged(const QString& line) const { return box.LogTexts().contains(line); }
};

// Selects the zoom item of that text.
void Zoom(tavix::frmMain& f, const char* item);

// How many pixels of the image have the colour.
int Pixels(const QImage& image, QRgb colour);

// A picture of four coloured quarters (red top left, green top right, blue bottom left,
// white bottom right), so that zoom, centring and cut edges can be read back by pixel.
QImage QuarterPicture(int width, int height);
constexpr QRgb kQuarterColors[4] = {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFFFFFFFF};

// Result lines and texts in cyan, a colour in none of the test pictures nor where their quarters meet,
// so that ResultPixels tells whether the still shows results.
void ResultsInCyan();
int ResultPixels(const tavix::frmMain& f);

// Whether two colours differ by at most tolerance in every channel (JPEG is lossy).
bool Near(QRgb a, QRgb b, int tolerance = 24);

// Lets the event loop run until done() holds (frames arrive from other threads); false at
// the deadline.
bool WaitFor(const std::function<bool()>& done, int ms = 8000);

}  // namespace testing_support
