#include "Handling.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QTableWidget>
#include <QKeySequence>
#include <QToolTip>
#include <algorithm>

#include "DialogHost.h"
#include "MeasureCommands.h"
#include "OpenImage.h"
#include "frmMain.h"

namespace tavix {

namespace {

// A button a key presses acts only when a click on it could.
bool Available(const frmMain& f, const vb::CommandButton& button) {
    const QWidget* w = button.Widget();
    return w && w->isEnabled() && w->isVisibleTo(&f);
}

// Escape takes back a click, or ends the command, as the right button does.
void StepBack(frmMain& f) {
    if (f.CommandMode != CommandMode::Idle) picStillView_MouseUp(f, 2, 0, 0, 0);
}

void CopyResultRows(frmMain& f) {
    if (f.ResultCount < 1 || !f.grdResult->Widget()->isVisibleTo(&f)) return;
    QGuiApplication::clipboard()->setText(ResultRowsAsText(f));
}

struct KeyBinding {
    const char* key;
    vb::CommandButton* frmMain::*button;  // the key presses this button
    void (*act)(frmMain&);                // or does this
};

const KeyBinding kKeys[] = {
    {"Ctrl+O", &frmMain::cmdPicLoad, nullptr},
    {"Ctrl+S", &frmMain::cmdPicSave, nullptr},
    {"Delete", &frmMain::cmdResultRemove, nullptr},
    {"Escape", nullptr, StepBack},
    {"Ctrl+C", nullptr, CopyResultRows},
};

class ToolTips : public QObject {
public:
    explicit ToolTips(frmMain& f) : QObject(&f), f_(f) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::ToolTip) return false;
        for (vb::Control* c : f_.Controls) {
            auto* button = dynamic_cast<vb::CommandButton*>(c);
            if (!button || button->Widget() != watched) continue;
            QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), ToolTipOf(f_, *button), button->Widget());
            return true;
        }
        return false;
    }

private:
    frmMain& f_;
};

// The grid's own Ctrl+C would copy one cell: the window's key is left to do it.
class GridCopyKey : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        return event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy);
    }
};

}  // namespace

QString ToolTipOf(const frmMain& f, const vb::CommandButton& button) {
    QString text = button.Caption();
    text.remove(QLatin1Char('&'));
    for (const KeyBinding& k : kKeys)
        if (k.button && f.*k.button == &button)
            text += QStringLiteral(" (%1)").arg(QKeySequence(QLatin1String(k.key)).toString(QKeySequence::NativeText));
    return text;
}

QString ResultRowsAsText(const frmMain& f) {
    const vb::FlexGrid& grid = *f.grdResult;
    int first = std::min(grid.Row(), grid.RowSel()), last = std::max(grid.Row(), grid.RowSel());
    last = std::min<int>(last, f.ResultCount);
    if (first > last) first = 1, last = f.ResultCount;
    auto line = [&grid](int row) {
        QStringList cells;
        for (int c = 0; c < grid.Cols(); ++c) cells << grid.TextMatrix(row, c);
        return cells.join(QLatin1Char('\t')) + QLatin1Char('\n');
    };
    QString text = line(0);
    for (int row = first; row <= last; ++row) text += line(row);
    return text;
}

void WireDesktopHabits(frmMain& f) {
    for (const KeyBinding& k : kKeys) {
        f.AddKey(QKeySequence(QLatin1String(k.key)), [&f, k] {
            if (k.act) {
                k.act(f);
            } else if (vb::CommandButton* b = f.*k.button; Available(f, *b)) {
                b->Click();
            }
        });
    }
    f.grdResult->Table()->installEventFilter(new GridCopyKey(&f));
    auto* tips = new ToolTips(f);
    for (vb::Control* c : f.Controls)
        if (auto* b = dynamic_cast<vb::CommandButton*>(c); b && b->Graphical()) b->Widget()->installEventFilter(tips);
    // A dropped picture goes the way of one chosen in the open dialog, where opening is allowed.
    f.AcceptFileDrops([&f] { return Available(f, *f.cmdPicLoad); },
                      [&f](const QString& path) {
                          vb::AnsweredOpen answer(path);
                          cmdPicLoad_Click(f);
                      });
}

}  // namespace tavix
