#pragma once
// A started main window with the steps the view tests share: open, save, click, read back.
#include <QApplication>
#include <QMouseEvent>
#include <gtest/gtest.h>

#include "CommonModule.h"
#include "Graph.h"
#include "OpenImage.h"
#include "StartedMain.h"

namespace view_test {

using tavix::CommandMode;
using tavix::GST;
using tavix::Var;
using testing_support::kQuarterColors;
using testing_support::QuarterPicture;
using testing_support::Zoom;
using Box = testing_support::RecordedBox;

constexpr double kTwips = 15;
constexpr QRgb kMagenta = 0xFFFF00FF;  // in none of the test pictures

struct Win : testing_support::StartedMain {
    // Types 0 and 1 run the test camera: wait for its first frame.
    explicit Win(int16_t type = 3) : StartedMain(type) {
        EXPECT_TRUE(type >= 2 || testing_support::WaitFor([&] { return !f.FilterGraph->GetCurrentImage().isNull(); }));
    }
    void Open(const QImage& picture, const QString& name = QStringLiteral("opened.png")) {
        ASSERT_TRUE(picture.save(box.File(name)));
        OpenFile(box.File(name));
    }
    void OpenFile(const std::optional<QString>& path) {
        host.AnswerFile(path);
        tavix::cmdPicLoad_Click(f);
    }
    void Save(const std::optional<QString>& path) {
        host.AnswerFile(path);
        f.cmdPicSave->Click();
    }
    void Comment(const char* a, const char* b) {
        f.txtComment[0]->SetText(QString::fromUtf8(a));
        f.txtComment[1]->SetText(QString::fromUtf8(b));
    }
    QString Comments() const { return f.txtComment[0]->Text() + QLatin1Char('|') + f.txtComment[1]->Text(); }
    Box BoxAt(size_t i) const { return i < host.Boxes.size() ? host.Boxes[i] : Box(); }
    QWidget* View() const { return f.picViewArea->ClientWidget(); }
    QWidget* Still() const { return f.picStillView->ClientWidget(); }
    QPoint Mid(QPoint d = {}) const { return QPoint(Still()->width() / 2, Still()->height() / 2) + d; }
    // A point d from the middle of the still, in the view area's pixels.
    QPoint InView(QPoint d) const { return Still()->mapTo(View(), Mid(d)); }
    // The still's pixel at d from its middle; 0 off its canvas.
    QRgb Shown(int dx, int dy) const {
        const QRect r = f.picStillView->CanvasRect();
        return r.contains(Mid({dx, dy})) ? f.picStillView->GetImage().pixel(Mid({dx, dy}) - r.topLeft()) : 0;
    }
    void Mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons held) {
        QMouseEvent e(type, QPointF(at), Still()->mapToGlobal(QPointF(at)), button, held, Qt::NoModifier);
        QApplication::sendEvent(Still(), &e);
    }
    // A click at a point of the still, which must reach it through whatever lies over it.
    void Click(QPoint at, Qt::MouseButton b = Qt::LeftButton, bool move = false) {
        if (move) Mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton);
        ASSERT_EQ(View()->childAt(Still()->mapTo(View(), at)), Still());
        Mouse(QEvent::MouseButtonPress, at, b, b);
        Mouse(QEvent::MouseButtonRelease, at, b, Qt::NoButton);
    }
};

}  // namespace view_test
