// The handling a desktop user expects: the whole still reached by panning with the numbers
// unchanged, the keys, a dropped file, the dialogs' folder kept across a start.
#include <QClipboard>
#include <QDir>
#include <QMimeData>
#include <QScrollBar>
#include <QToolTip>
#include <cmath>

#include "IniConfig.h"
#include "MeasureCommands.h"
#include "ViewWindow.h"

namespace view_test {
namespace {

// Two points far apart: no view shows both at once.
constexpr QPoint kMarks[2] = {{306, 206}, {3706, 2806}};

void Wheel(QWidget* w, QPoint delta, Qt::KeyboardModifiers mods) {
    QWheelEvent e(QPointF(5, 5), w->mapToGlobal(QPointF(5, 5)), QPoint(), delta, Qt::NoButton, mods, Qt::NoScrollPhase,
                  false);
    QApplication::sendEvent(w, &e);
}

struct Window : Win {
    Window() {
        Var().TwoPointCommandMode = 0;
        Open(QuarterPicture(400, 300), QStringLiteral("p.bmp"));
    }
};

// Ways of bringing the picture's top left (sign -1) or bottom right (+1) into view.
void DragTo(Window& w, int sign) {
    const QPoint from(20, 20), to = from - sign * QPoint(9000, 9000);
    w.Mouse(QEvent::MouseButtonPress, from, Qt::MiddleButton, Qt::MiddleButton);
    w.Mouse(QEvent::MouseMove, to, Qt::NoButton, Qt::MiddleButton);
    w.Mouse(QEvent::MouseButtonRelease, to, Qt::MiddleButton, Qt::NoButton);
}
void BarsTo(Window& w, int sign) {
    for (QScrollBar* bar : w.View()->findChildren<QScrollBar*>()) {
        ASSERT_TRUE(bar->isVisibleTo(w.View()));
        bar->setValue(sign < 0 ? bar->minimum() : bar->maximum());
    }
}
void WheelTo(Window& w, int sign) { Wheel(w.View(), sign * QPoint(-12000, -12000), Qt::NoModifier); }

TEST(Handling, MeasuringAcrossPansGivesTheSameValueAtEveryZoom) {
    const double truth = std::hypot(kMarks[1].x() - kMarks[0].x(), kMarks[1].y() - kMarks[0].y());
    // Each way of panning reaches both corners.
    for (const auto& [zoom, pan] :
         {std::pair("x 2.0", &DragTo), std::pair("x 1.0", &BarsTo), std::pair("x 0.7", &WheelTo)}) {
        SCOPED_TRACE(zoom);
        Window w;
        w.Open(QuarterPicture(4000, 3000));
        Zoom(w.f, zoom);
        tavix::cmdMeasure_Click(w.f, 0);
        for (int sign : {-1, 1}) {
            pan(w, sign);
            // The click must reach the mark in view.
            const QPointF mark = QPointF(kMarks[sign > 0] - QPoint(2000, 1500)) * Var().ZoomFactor;
            w.Click(w.Mid(mark.toPoint()));
        }
        ASSERT_EQ(w.f.ResultCount, 1);
        const double perPixel = Var().ProofTable[Var().CurrentProofNo].Value;
        EXPECT_NEAR(Var().ResultTable[1].Value, truth * perPixel, 2 * perPixel);
    }
}

TEST(Handling, KeysTheWheelAndADroppedFileReachTheirHandlersOnlyWhereTheButtonsWork) {
    const struct {
        const char* key;  // "Ctrl+Wheel": the wheel one notch up with Ctrl held; "drop.x": that file dropped
        // selected above 0: two result rows, with this one selected; clicks at or above 0: a distance
        // begun with this many clicks; asked -1: the file dialog, cancelled; else a box answered so, or 0.
        int selected, clicks, asked;
        CommandMode mode;
        int results;
        double zoom;
        int copied = 0, first = 0;  // lines in the clipboard, and the first row's number
        bool opened = false;
    } rows[] = {
        {"Ctrl+O", 0, -1, -1, CommandMode::Idle, 0, 1},
        {"Ctrl+O", 0, 0, 0, CommandMode::Distance, 0, 1},  // no dialog during a command
        {"Ctrl+S", 0, -1, -1, CommandMode::Idle, 0, 1},
        {"Delete", 1, -1, vb::vbYes, CommandMode::Idle, 1, 1},
        {"Escape", 0, 1, 0, CommandMode::Distance, 0, 1},  // the click is taken back
        {"Ctrl+C", 2, -1, 0, CommandMode::Idle, 2, 1, 2, 2},
        {"Ctrl+C", 5, -1, 0, CommandMode::Idle, 2, 1, 3, 1},  // a selection of empty rows copies them all
        {"Ctrl+Wheel", 0, -1, 0, CommandMode::Idle, 0, 1.1},
        {"Ctrl+Wheel", 0, 0, 0, CommandMode::Distance, 0, 1},
        {"drop.bmp", 0, -1, 0, CommandMode::Idle, 0, 1, 0, 0, true},
        {"drop.bmp", 0, 0, 0, CommandMode::Distance, 0, 1},
        {"drop.bmp", 1, -1, vb::vbNo, CommandMode::Idle, 2, 1},  // unsaved results kept
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.key) + std::to_string(row.selected) + std::to_string(row.clicks));
        Window w;
        QApplication::clipboard()->clear();
        for (int i = 0; row.selected > 0 && i < 2; ++i) {  // two distances measured by clicks in the scale
            tavix::cmdMeasure_Click(w.f, 0);
            tavix::picStillView_MouseUp(w.f, 1, 0, 0, 0);
            tavix::picStillView_MouseUp(w.f, 1, 0, 30, 40);
        }
        if (row.selected > 0) w.f.grdResult->SetRow(row.selected);
        if (row.clicks >= 0) tavix::cmdMeasure_Click(w.f, 0);
        if (row.clicks > 0) tavix::picStillView_MouseUp(w.f, 1, 0, 5, 5);
        if (row.asked < 0) w.host.AnswerFile(std::nullopt);
        if (row.asked > 0) w.host.AnswerMsgBox(row.asked);
        const QString key = QString::fromLatin1(row.key), file = w.box.File(key);
        if (key == QLatin1String("Ctrl+Wheel")) {
            Wheel(w.View(), QPoint(0, 120), Qt::ControlModifier);
        } else if (key.startsWith(QLatin1String("drop"))) {
            QuarterPicture(321, 123).save(file);
            QMimeData mime;
            mime.setUrls({QUrl::fromLocalFile(file)});
            // Qt takes a drop only where the drag entered.
            QDragEnterEvent enter(QPoint(400, 300), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&w.f, &enter);
            QDropEvent drop(QPointF(400, 300), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&w.f, &drop);
            QCoreApplication::processEvents();
        } else {
            EXPECT_TRUE(w.f.PressKey(QKeySequence(key)));
        }
        EXPECT_EQ(std::tuple(w.f.CommandMode, w.f.ResultCount, Var().ZoomFactor, w.f.picTempView->Width() == 321 * 15),
                  std::tuple(row.mode, row.results, row.zoom, row.opened));
        EXPECT_TRUE(row.clicks <= 0 || w.f.WorkPoints.size() == 1) << "the click taken back";
        const QStringList lines = QApplication::clipboard()->text().split(QLatin1Char('\n'));
        EXPECT_EQ(lines.size() - 1, row.copied);
        if (!row.copied) continue;
        EXPECT_EQ(lines[0].split(QLatin1Char('\t')), QStringList({"No", GST(11105), GST(11106), QString()}));
        EXPECT_TRUE(lines[1].startsWith(QString::number(row.first) + QLatin1Char('\t'))) << lines[1].toStdString();
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

TEST(Handling, ButtonsShowCaptionAndKeyAsTooltipAndDialogsStartInTheLastFolderAlsoAfterARestart) {
    Win w;
    int buttons = 0;
    for (vb::Control* c : w.f.Controls) {
        auto* b = dynamic_cast<vb::CommandButton*>(c);
        if (!b || !b->Graphical()) continue;
        ++buttons;
        QHelpEvent help(QEvent::ToolTip, QPoint(2, 2), b->Widget()->mapToGlobal(QPoint(2, 2)));
        QApplication::sendEvent(b->Widget(), &help);
        const bool keyed = b == w.f.cmdPicLoad || b == w.f.cmdPicSave || b == w.f.cmdResultRemove;
        const QString tip = QToolTip::text();
        EXPECT_TRUE(tip.startsWith(b->Caption()) && tip.endsWith(QLatin1Char(')')) == keyed) << b->Name().toStdString();
    }
    EXPECT_EQ(buttons, 17);
    // The dialogs start in the folder last used, also after a restart.
    QDir(w.box.Path()).mkdir(QStringLiteral("pics"));
    w.Open(QuarterPicture(40, 30), QStringLiteral("pics/a.bmp"));
    ASSERT_TRUE(tavix::WriteLastFolder());
    vb::SetLastFolder(QString());
    ASSERT_TRUE(tavix::GetIniFileData());
    StartFolder seen;
    w.host.AnswerFile(std::nullopt);
    w.f.cdlFile->ShowOpen();
    EXPECT_EQ(seen.seen, w.box.File(QStringLiteral("pics")));
}

}  // namespace
}  // namespace view_test
