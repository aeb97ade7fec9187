#pragma once
// A main window started for a benchmark as the program starts it, in a temporary copy of
// deploy/ja, without the test support library. Any dialog but the file-open one stops the run.
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QMouseEvent>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "App.h"
#include "BenchUtil.h"
#include "CommandArea.h"
#include "DialogHost.h"
#include "Startup.h"
#include "StillDisplay.h"
#include "VariableDefinition.h"
#include "Wiring.h"
#include "frmMain.h"

using Cmd = tavix::CommandMode;

namespace bench {

// Gradients under noise, so the JPEG is not trivially small; a fixed seed keeps it the same.
inline bool MakeJpeg(const QString& path) {
    QImage img(4000, 3000, QImage::Format_RGB32);
    QRandomGenerator rng(20240611);
    for (int y = 0; y < img.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(img.scanLine(y));
        for (int x = 0; x < img.width(); ++x) {
            const quint32 n = rng.generate();
            line[x] = qRgb(x * 224 / 4000 + (n & 31), y * 224 / 3000 + ((n >> 8) & 31),
                           (x + y) * 224 / 7000 + ((n >> 16) & 31));
        }
    }
    return img.save(path, "JPEG", 90);
}

[[noreturn]] inline void Stop(const char* what, const QString& text = {}) {
    std::printf("unexpected %s %s\n", what, qPrintable(text));
    std::exit(1);
}

// Runs the event loop until done() holds or the time is up; whether it holds.
template <class F>
bool WaitFor(int timeoutMs, F&& done) {
    if (done()) return true;
    QEventLoop loop;
    QElapsedTimer t;
    t.start();
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done() || t.elapsed() > timeoutMs) loop.quit();
    });
    poll.start(1);
    loop.exec();
    return done();
}

// Runs the event loop for that long.
inline void Spin(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Records cycling through every kind, points spread over the view; a fixed seed keeps them.
inline std::vector<tavix::ResultRecord> MakeRecords(int n) {
    const tavix::CommandMode kinds[] = {Cmd::Count,         Cmd::Distance, Cmd::Circle,          Cmd::TwoCircles,
                                        Cmd::Perpendicular, Cmd::Area,     Cmd::ThreePointAngle, Cmd::ParallelDistance};
    const int points[] = {5, 2, 2, 2, 4, 6, 5, 6};
    QRandomGenerator rng(7);
    const auto in = [&rng](double lo, double hi) { return lo + rng.bounded(hi - lo); };
    std::vector<tavix::ResultRecord> records;
    for (int i = 0; i < n; ++i) {
        tavix::ResultRecord r;
        r.No = static_cast<int16_t>(i + 1);
        r.Kind = kinds[i % 8];
        r.Points.resize(points[i % 8] + 1);
        for (size_t k = 1; k < r.Points.size(); ++k) r.Points[k] = {in(-900, 900), in(-500, 500)};
        if (r.Kind == Cmd::Circle || r.Kind == Cmd::TwoCircles) r.Points[2] = {in(10, 200), 0};
        r.Value = rng.bounded(1000.0);
        records.push_back(r);
    }
    return records;
}

// A smooth two-way gradient, so that repaints have real pixels to move.
inline QImage GradientPicture(int w, int h) {
    QImage pic(w, h, QImage::Format_RGB32);
    for (int y = 0; y < h; ++y) {
        auto* row = reinterpret_cast<QRgb*>(pic.scanLine(y));
        for (int x = 0; x < w; ++x) row[x] = qRgb(x * 200 / w, y * 200 / h, 90);
    }
    return pic;
}

// A pointer move over the widget, delivered as the platform delivers it.
inline void SendMouseMove(QWidget* widget, QPointF at) {
    QMouseEvent e(QEvent::MouseMove, at, widget->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &e);
}

// The pointer benchmarks' path over a 1920x1080 view: one point a call, never the same twice running.
struct PointerPath {
    int i = 0;
    QPointF operator()() {
        ++i;
        return QPointF(200 + i % 1500, 100 + (i * 7) % 900);
    }
};

// Median microseconds of one move along path over widget: the handler alone, then with the
// screen update it causes; between, if given, runs between the two (to watch the second).
struct MoveTimes {
    double handler, withUpdate;
};
inline MoveTimes TimeMouseMoves(QWidget* widget, int runs, PointerPath& path,
                                const std::function<void()>& between = {}) {
    MoveTimes t{};
    t.handler = MedianMs(runs, [&] { SendMouseMove(widget, path()); }) * 1000;
    QCoreApplication::processEvents();
    if (between) between();
    t.withUpdate = MedianMs(runs,
                            [&] {
                                SendMouseMove(widget, path());
                                QCoreApplication::processEvents();
                            }) *
                   1000;
    return t;
}

// Answers the file dialog with Path; without one, the dialog stops the run too.
class BenchHost : public vb::DialogHost {
public:
    QString Path;
    int MsgBox(const QString& prompt, int, const QString& title, QWidget*) override {
        Stop("box:", title + QStringLiteral(": ") + prompt);
    }
    bool ShowOpen(vb::CommonDialog& dlg, QWidget*) override {
        if (Path.isEmpty()) Stop("open dialog");
        dlg.FileName = Path;
        return true;
    }
    bool ShowSave(vb::CommonDialog&, QWidget*) override { Stop("save dialog"); }
    bool ShowColor(vb::CommonDialog&, QWidget*) override { Stop("colour dialog"); }
    void ShowModal(vb::Form&, QWidget*) override { Stop("modal form"); }
    void SetBusy(bool) override {}
    void End(int code) override { Stop("end", QString::number(code)); }
};

// The installation folder, made and the process reset before the window exists.
struct BenchInstall {
    QTemporaryDir dir;
    BenchInstall() {
        const QDir deploy(QStringLiteral(TAVIX_SOURCE_DIR "/deploy/ja"));
        for (const QString& name : deploy.entryList(QDir::Files))
            QFile::copy(deploy.filePath(name), dir.filePath(name));
        vb::App::SetPath(dir.path());
        tavix::ResetVariableDefinition();
        tavix::InitResources();
    }
};

// Needs a QApplication. Starts the variant and shows the window.
struct BenchWindow {
    BenchInstall install;
    BenchHost host;
    tavix::frmMain f;

    // prepare runs in the installation folder before the start-up reads it.
    explicit BenchWindow(int16_t programType, const std::function<bool(const QString& folder)>& prepare = {}) {
        if (prepare && !prepare(install.dir.path())) Stop("setup:", QStringLiteral("installation not prepared"));
        vb::SetHost(&host);
        tavix::WireMain(f);
        if (!tavix::Form_Load(f, programType)) Stop("start-up failure");
        f.show();
        QCoreApplication::processEvents();
    }
    // The frame and borders are whatever the platform makes them: correct by what came out.
    void SizeView(int width, int height) {
        for (int i = 0; i < 2; ++i) {
            f.SetWidth(f.Width() + (width - f.picViewArea->ScaleWidth() / 15) * 15);
            f.SetHeight(f.Height() + (height - f.picViewArea->ScaleHeight() / 15) * 15);
            QCoreApplication::processEvents();
        }
        std::printf("view area %d x %d px\n", ViewW(), ViewH());
    }
    // A flat grey still filling a 1920x1080 view, measuring enabled: the pointer benchmarks' stage.
    QImage ShowFlatStill() {
        SizeView(1920, 1080);
        QImage picture(1920, 1080, QImage::Format_RGB32);
        picture.fill(QColor(90, 90, 90));
        f.picTempView->SetPicture(picture);
        tavix::EnableCommandArea(f, *f.picMeasureCommandArea);
        tavix::DispImage(f, false);
        return picture;
    }
    int ViewW() const { return qRound(f.picViewArea->ScaleWidth() / 15); }
    int ViewH() const { return qRound(f.picViewArea->ScaleHeight() / 15); }
};

}  // namespace bench
