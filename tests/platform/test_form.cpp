// Forms: Resize inside the statement that sizes the window, the unload events and their
// modes, docking of aligned areas, modal dialogs and the file dialog filters.
#include <QApplication>
#include <QTimer>
#include <gtest/gtest.h>

#include "Dialog.h"
#include "DialogHost.h"
#include "Form.h"
#include "PictureBox.h"

using namespace vb;

namespace {

TEST(FormResize, SettingHeightFiresResizeOnceInsideTheCall) {
    for (bool shown : {false, true}) {
        Form form("frmResize");
        form.SetClientSize(9000, 6000);
        if (shown) form.show();
        QString seen;  // the new size is there when the handler runs
        form.OnResize = [&] { seen += QString(" %1").arg(form.Height()); };
        form.SetHeight(8100);
        EXPECT_EQ(seen, " 8100") << "fired inside the call, shown " << shown;
        QCoreApplication::processEvents();  // the later resize event of the same size does not fire again
        form.SetHeight(8100);               // no change, no event
        EXPECT_EQ(seen, " 8100") << "shown " << shown;
    }
}

TEST(FormUnload, CancelKeepsTheWindowAndTheModeTellsWhoClosed) {
    for (const bool fromCode : {false, true}) {
        Form form("frmClose");
        QString seen;
        bool cancel = true;
        form.OnQueryUnload = [&](bool& c, int mode) { seen += QString(" query %1").arg(mode), c = cancel; };
        form.OnUnload = [&](bool&) { seen += " unload"; };
        const auto close = [&] { return fromCode ? form.Unload() : form.close(); };
        form.show();
        EXPECT_FALSE(close());
        EXPECT_TRUE(form.isVisible());
        cancel = false;
        EXPECT_TRUE(close());
        EXPECT_EQ(std::tuple(form.isVisible(), form.Unloaded()), std::tuple(false, true));
        form.show();
        form.close();  // once unloaded, nothing more is asked; Unload's own close runs no handler again
        const int mode = fromCode ? vbFormCode : vbFormControlMenu;
        EXPECT_EQ(seen, QString(" query %1 query %1 unload").arg(mode));
    }
}

// Areas of the main form: a top bar (Align 1), a left (3) and a right (4) area.
struct DockedForm {
    Form form{"frmDock"};
    PictureBox* top = Area("picTop", 100, 1035, 1);
    PictureBox* left = Area("picLeft", 3195, 100, 3);
    PictureBox* right = Area("picRight", 11235, 100, 4);

    PictureBox* Area(const char* name, double w, double h, int align) {
        auto* box = new PictureBox(form, &form, name, -1, false, false);
        box->Move(0, 0, w, h);
        box->SetAlign(align);
        return box;
    }
};

QRectF RectOf(PictureBox* b) { return QRectF(b->Left(), b->Top(), b->Width(), b->Height()); }

TEST(FormLayout, AlignedAreasDockTopThenLeftAndRightBelowIt) {
    // Rectangles in twips; the left one is not checked when hidden.
    const struct {
        double clientW, clientH;
        bool leftVisible;
        QRectF top, left, right;
    } rows[] = {
        // the design size
        {14460, 9615, true, {0, 0, 14460, 1035}, {0, 1035, 3195, 8580}, {3225, 1035, 11235, 8580}},
        // a hidden left area takes no room
        {14460, 9615, false, {0, 0, 14460, 1035}, {}, {3225, 1035, 11235, 8580}},
        // smaller than the areas: heights do not go negative
        {6000, 600, true, {0, 0, 6000, 1035}, {0, 1035, 3195, 0}, {-5235, 1035, 11235, 0}},
    };
    for (const auto& row : rows) {
        DockedForm d;
        auto* loose = new PictureBox(d.form, &d.form, "picLoose");
        loose->Move(15, 30, 45, 60);
        d.left->SetVisible(row.leftVisible);
        d.form.SetClientSize(row.clientW, row.clientH);
        d.form.LayoutAligned();
        EXPECT_EQ(std::tuple(RectOf(d.top), row.leftVisible ? RectOf(d.left) : QRectF(), RectOf(d.right)),
                  std::tuple(row.top, row.left, row.right))
            << row.clientW;
        EXPECT_EQ(RectOf(loose), QRectF(15, 30, 45, 60)) << "Align 0 stays put";
        EXPECT_EQ(d.right->Widget()->geometry().topLeft(), QPoint(qRound(row.right.left() / 15), 69));
    }
    // A Resize handler that narrows the right area: it must still end at the right edge.
    DockedForm d;
    d.left->SetVisible(false);
    d.form.SetClientSize(14460, 9615);
    d.form.OnResize = [&] { d.right->SetWidth(d.form.ScaleWidth() - 4000); };
    d.form.show();
    EXPECT_EQ(RectOf(d.right), QRectF(4000, 1035, 10460, 8580));
}

TEST(FileDialogFilter, PlatformFiltersBecomeQtNameFilters) {
    for (const auto& [in, out] :
         {std::pair{"Bitmap (*.bmp)|*.bmp|JPEG|*.jpg;*.jpeg", "Bitmap (*.bmp) (*.bmp);;JPEG (*.jpg *.jpeg)"},
          {"All|*.bmp; *.jpg", "All (*.bmp *.jpg)"},
          {"Pictures|*.bmp;*.jpg|Dangling", "Pictures (*.bmp *.jpg)"},
          {"No pattern|", "No pattern (*)"}}) {
        EXPECT_EQ(QtFilterFromPlatform(in), out) << in;
    }
}

TEST(ModalForm, TheQtHostCentresItOnItsOwnerAndReturnsOnceItUnloads) {
    Form owner("frmOwner");
    owner.setGeometry(120, 90, 600, 400);
    owner.show();
    Dialog dialog("frmDialog");
    dialog.SetDialogSize(3000, 2000);
    bool shownModal = false;
    QTimer::singleShot(0, &owner, [&] {
        shownModal = dialog.isVisible() && dialog.isModal() && dialog.isWindow();
        EXPECT_EQ(dialog.geometry().center(), owner.geometry().center());
        dialog.Unload();
    });
    QtDialogHost host;
    host.ShowModal(dialog, &owner);
    EXPECT_TRUE(shownModal);
    EXPECT_FALSE(dialog.isVisible());
}

}  // namespace
