// The handling a desktop user expects: the whole still reached by panning with the numbers
// unchanged, the keys, a dropped file, the dialogs' folder kept across a start.
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QHelpEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>
#include <QUrl>
#include <QWheelEvent>
#include <cmath>
#include <optional>

#include "CommonModule.h"
#include "IniConfig.h"
#include "MeasureCommands.h"
#include "OpenImage.h"
#include "ResultTable.h"
#include "StartedMain.h"
#include "Startup.h"

using tavix::CommandMode;

namespace {

// Two white marks on grey, far apart: no view shows both at once.
constexpr QPoint kMarks[2] = {{306, 206}, {3706, 2806}};

void Mouse(QWidget* w, QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons held) {
    QMouseEvent e(type, QPointF(at), w->mapToGlobal(QPointF(at)), button, held, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}

void Wheel(QWidget* w, QPoint delta, Qt::KeyboardModifiers mods) {
    QWheelEvent e(QPointF(5, 5), w->mapToGlobal(QPointF(5, 5)), QPoint(), delta, Qt::NoButton, mods, Qt::NoScrollPhase,
                  false);
    QApplication::sendEvent(w, &e);
}

struct Window : testing_support::StartedMain {
    Window() : StartedMain(3) { tavix::Var().TwoPointCommandMode = 0; }
    QWidget* Still() const { return f.picStillView->ClientWidget(); }
    QWidget* View() const { return f.picViewArea->ClientWidget(); }
    // Opens a picture file through the open button's path.
    void Open(const QImage& picture, const QString& name = QStringLiteral("p.bmp")) {
        picture.save(box.File(name));
        host.AnswerFile(box.File(name));
        tavix::cmdPicLoad_Click(f);
    }
    void Zoom(const char* item) {
        for (int i = 0; i < f.cboScale->ListCount(); ++i)
            if (f.cboScale->List(i) == QLatin1String(item)) f.cboScale->SetListIndex(i);
    }
    // Where the white mark in view stands on the still's client area.
    std::optional<QPoint> Mark() const {
        const QImage shown = f.picStillView->GetImage();
        qint64 sx = 0, sy = 0, n = 0;
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x)
                if (qGray(shown.pixel(x, y)) > 200) sx += x, sy += y, ++n;
        if (n == 0) return {};
        return f.picStillView->CanvasRect().topLeft() + QPoint(int(sx / n), int(sy / n));
    }
    void Click(QPoint at, Qt::MouseButton b = Qt::LeftButton) {
        Mouse(Still(), QEvent::MouseButtonPress, at, b, b);
        Mouse(Still(), QEvent::MouseButtonRelease, at, b, Qt::NoButton);
    }
    // One distance measured by clicks in the scale, which makes a grid row.
    void AddDistance() {
        tavix::cmdMeasure_Click(f, 0);
        tavix::picStillView_MouseUp(f, 1, 0, 0, 0);
        tavix::picStillView_MouseUp(f, 1, 0, 30, 40);
    }
};

QImage Plain(int width, int height) {
    QImage picture(width, height, QImage::Format_RGB32);
    picture.fill(Qt::darkGray);
    return picture;
}

QImage MarkedPicture() {
    QImage picture(4000, 3000, QImage::Format_RGB32);
    picture.fill(QColor(60, 60, 60));
    QPainter p(&picture);
    for (QPoint m : kMarks) p.fillRect(QRect(m - QPoint(6, 6), QSize(12, 12)), Qt::white);
    return picture;
}

// Ways of bringing the picture's top left (sign -1) or bottom right (+1) into view.
void DragTo(Window& w, int sign) {
    const QPoint from(20, 20), to = from - sign * QPoint(9000, 9000);
    Mouse(w.Still(), QEvent::MouseButtonPress, from, Qt::MiddleButton, Qt::MiddleButton);
    Mouse(w.Still(), QEvent::MouseMove, to, Qt::NoButton, Qt::MiddleButton);
    Mouse(w.Still(), QEvent::MouseButtonRelease, to, Qt::MiddleButton, Qt::NoButton);
}
void BarsTo(Window& w, int sign) {
    const QList<QScrollBar*> bars = w.View()->findChildren<QScrollBar*>();
    ASSERT_EQ(bars.size(), 2);
    for (QScrollBar* bar : bars) {
        ASSERT_TRUE(bar->isVisibleTo(w.View()));
        bar->setValue(sign < 0 ? bar->minimum() : bar->maximum());
    }
}
void WheelTo(Window& w, int sign) { Wheel(w.View(), sign * QPoint(-12000, -12000), Qt::NoModifier); }

TEST(Handling, MeasuringAcrossPansGivesTheSameValueAtEveryZoom) {
    const struct {
        const char* zoom;
        void (*pan)(Window&, int);
    } rows[] = {
        {"x 0.5", DragTo}, {"x 1.0", DragTo},  {"x 2.0", DragTo},
        {"x 1.0", BarsTo}, {"x 0.7", WheelTo},  // each way of panning reaches both corners
    };
    const double truth = std::hypot(kMarks[1].x() - kMarks[0].x(), kMarks[1].y() - kMarks[0].y());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.zoom);
        Window w;
        w.Open(MarkedPicture());
        w.Zoom(row.zoom);
        tavix::cmdMeasure_Click(w.f, 0);
        for (int sign : {-1, 1}) {
            row.pan(w, sign);
            const std::optional<QPoint> mark = w.Mark();
            ASSERT_TRUE(mark) << "corner " << sign << " not reached";
            w.Click(*mark);
        }
        ASSERT_EQ(w.f.ResultCount, 1);
        const tavix::VariableDefinition& v = tavix::Var();
        const double perPixel = v.ProofTable[v.CurrentProofNo].Value;
        EXPECT_NEAR(v.ResultTable[1].Value, truth * perPixel, 2 * perPixel);
    }
}

TEST(Handling, KeysAndTheWheelReachTheirHandlersOnlyWhereTheButtonsWork) {
    using Step = void (*)(Window&);
    const struct {
        const char* key;  // "Ctrl+Wheel" is the wheel turned one notch up with Ctrl held
        int selected;     // above 0: two result rows, with this one selected
        Step prepare;
        Step check;
    } rows[] = {
        {"Ctrl+O", 0, [](Window& w) { w.host.AnswerFile(std::nullopt); }, nullptr},
        {"Ctrl+O", 0, [](Window& w) { tavix::cmdMeasure_Click(w.f, 0); },  // no dialog during a command
         [](Window& w) { EXPECT_EQ(w.f.CommandMode, CommandMode::Distance); }},
        {"Ctrl+S", 0, [](Window& w) { w.host.AnswerFile(std::nullopt); }, nullptr},
        {"Delete", 1, [](Window& w) { w.host.AnswerMsgBox(vb::vbYes); },
         [](Window& w) { EXPECT_EQ(w.f.ResultCount, 1); }},
        {"Escape", 0, [](Window& w) { tavix::cmdMeasure_Click(w.f, 0), tavix::picStillView_MouseUp(w.f, 1, 0, 5, 5); },
         [](Window& w) {  // the click is taken back
             EXPECT_EQ(std::pair(w.f.WorkPoints.size(), w.f.CommandMode), std::pair(size_t(1), CommandMode::Distance));
         }},
        {"Escape", 0, [](Window& w) { tavix::cmdMeasure_Click(w.f, 0); },
         [](Window& w) { EXPECT_EQ(w.f.CommandMode, CommandMode::Idle); }},
        {"Ctrl+C", 2, nullptr,
         [](Window&) {
             const QStringList lines = QApplication::clipboard()->text().split(QLatin1Char('\n'));
             ASSERT_EQ(lines.size(), 3);
             EXPECT_EQ(lines[0].split(QLatin1Char('\t')),
                       QStringList({QStringLiteral("No"), tavix::GST(11105), tavix::GST(11106), QString()}));
             EXPECT_TRUE(lines[1].startsWith(QStringLiteral("2\t"))) << lines[1].toStdString();
         }},
        {"Ctrl+C", 5, nullptr,  // a selection of empty rows copies them all
         [](Window&) { EXPECT_EQ(QApplication::clipboard()->text().count(QLatin1Char('\n')), 3); }},
        {"Ctrl+Wheel", 0, nullptr, [](Window&) { EXPECT_DOUBLE_EQ(tavix::Var().ZoomFactor, 1.1); }},
        {"Ctrl+Wheel", 0, [](Window& w) { tavix::cmdMeasure_Click(w.f, 0); },
         [](Window&) { EXPECT_DOUBLE_EQ(tavix::Var().ZoomFactor, 1.0); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        Window w;
        w.Open(Plain(400, 300));
        QApplication::clipboard()->clear();
        if (row.selected > 0) {
            w.AddDistance();
            w.AddDistance();
            w.f.grdResult->SetRow(row.selected);
        }
        if (row.prepare) row.prepare(w);
        if (QLatin1String(row.key) == QLatin1String("Ctrl+Wheel"))
            Wheel(w.View(), QPoint(0, 120), Qt::ControlModifier);
        else
            EXPECT_TRUE(w.f.PressKey(QKeySequence(QLatin1String(row.key))));
        if (row.check) row.check(w);
    }
}

TEST(Handling, EveryPictureButtonShowsItsCaptionAndKeyAsTooltip) {
    Window w;
    int buttons = 0;
    for (vb::Control* c : w.f.Controls) {
        auto* b = dynamic_cast<vb::CommandButton*>(c);
        if (!b || !b->Graphical()) continue;
        ++buttons;
        QHelpEvent help(QEvent::ToolTip, QPoint(2, 2), b->Widget()->mapToGlobal(QPoint(2, 2)));
        QApplication::sendEvent(b->Widget(), &help);
        EXPECT_TRUE(QToolTip::text().startsWith(b->Caption())) << b->Name().toStdString();
        const bool keyed = b == w.f.cmdPicLoad || b == w.f.cmdPicSave || b == w.f.cmdResultRemove;
        EXPECT_EQ(QToolTip::text().endsWith(QLatin1Char(')')), keyed) << b->Name().toStdString();
    }
    EXPECT_EQ(buttons, 17);
}

TEST(Handling, ADroppedFileOpensThroughTheOpenButtonsStepsWhereOpeningIsAllowed) {
    const struct {
        const char* what;
        bool picture;  // a picture file, or a text file
        void (*prepare)(Window&);
        bool opened;
    } rows[] = {
        {"idle", true, nullptr, true},
        {"during a command", true, [](Window& w) { tavix::cmdMeasure_Click(w.f, 0); }, false},
        {"unsaved results, answered No", true,
         [](Window& w) {
             w.AddDistance();
             w.host.AnswerMsgBox(vb::vbNo);
         },
         false},
        {"not a picture", false, [](Window& w) { w.host.AnswerMsgBox(vb::vbOK); }, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Window w;
        w.Open(Plain(400, 300));
        const QString file = w.box.File(row.picture ? QStringLiteral("drop.bmp") : QStringLiteral("drop.txt"));
        if (row.picture)
            Plain(321, 123).save(file);
        else
            w.box.Write(QStringLiteral("drop.txt"), "text");
        if (row.prepare) row.prepare(w);
        const size_t boxes = w.host.Boxes.size();
        QMimeData mime;
        mime.setUrls({QUrl::fromLocalFile(file)});
        // Qt takes a drop only where the drag entered.
        QDragEnterEvent enter(QPoint(400, 300), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&w.f, &enter);
        QDropEvent drop(QPointF(400, 300), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&w.f, &drop);
        QCoreApplication::processEvents();
        EXPECT_EQ(w.f.picTempView->Width() == 321 * 15, row.opened);
        if (!row.picture) {
            ASSERT_EQ(w.host.Boxes.size(), boxes + 1);
            EXPECT_EQ(w.host.Boxes.back().Prompt, tavix::GST(20022, file));
        }
    }
}

// Records the folder the open dialog starts in.
struct StartFolder : vb::AnsweredOpen {
    QString seen;
    StartFolder() : AnsweredOpen(QString()) {}
    bool ShowOpen(vb::CommonDialog& dlg, QWidget* owner) override {
        seen = dlg.InitDir;
        return AnsweredOpen::ShowOpen(dlg, owner);
    }
};

TEST(Handling, TheDialogsStartInTheFolderLastUsedAlsoAfterARestart) {
    Window w;
    QDir(w.box.Path()).mkdir(QStringLiteral("pics"));
    w.Open(Plain(40, 30), QStringLiteral("pics/a.bmp"));
    bool cancel = false;
    tavix::Form_Unload(w.f, cancel);
    vb::SetLastFolder(QString());
    ASSERT_TRUE(tavix::GetIniFileData());
    StartFolder seen;
    w.host.AnswerFile(std::nullopt);
    w.f.cdlFile->ShowOpen();
    EXPECT_EQ(seen.seen, w.box.File(QStringLiteral("pics")));
}

}  // namespace
