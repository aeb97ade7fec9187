// Forms: Resize inside the statement that sizes the window, the unload events and their
// modes, docking of aligned areas, modal dialogs and the file dialog filters.
#include <QApplication>
#include <QCloseEvent>
#include <QTimer>
#include <gtest/gtest.h>

#include "Dialog.h"
#include "DialogHost.h"
#include "Form.h"
#include "PictureBox.h"

using namespace vb;

namespace {

// ---- Resize ----

TEST(FormResize, SettingHeightFiresResizeOnceInsideTheCall) {
    for (bool shown : {false, true}) {
        Form form("frmResize");
        form.SetClientSize(9000, 6000);
        if (shown) form.show();
        int fired = 0;
        double seenHeight = 0;
        form.OnResize = [&] {
            ++fired;
            seenHeight = form.Height();
        };
        form.SetHeight(8100);
        EXPECT_EQ(fired, 1) << "shown " << shown;
        EXPECT_DOUBLE_EQ(seenHeight, 8100) << "the new size is there when the handler runs";
        QCoreApplication::processEvents();
        EXPECT_EQ(fired, 1) << "the later resize event of the same size does not fire again";
        form.SetHeight(8100);
        EXPECT_EQ(fired, 1) << "no change, no event";
    }
}

// ---- unloading ----

TEST(FormUnload, CancelKeepsTheWindowAndTheModeTellsWhoClosed) {
    const struct {
        const char* what;
        bool (*close)(Form&);
        int mode;
    } rows[] = {
        {"close box", [](Form& f) { return f.close(); }, vbFormControlMenu},
        {"Unload from code", [](Form& f) { return f.Unload(); }, vbFormCode},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Form form("frmClose");
        std::vector<int> modes;
        int unloads = 0;
        bool cancel = true;
        form.OnQueryUnload = [&](bool& c, int mode) {
            modes.push_back(mode);
            c = cancel;
        };
        form.OnUnload = [&](bool&) { ++unloads; };
        form.show();
        EXPECT_FALSE(row.close(form));
        EXPECT_TRUE(form.isVisible());
        cancel = false;
        EXPECT_TRUE(row.close(form));
        EXPECT_FALSE(form.isVisible());
        EXPECT_TRUE(form.Unloaded());
        form.show();
        form.close();
        EXPECT_EQ(modes, std::vector<int>({row.mode, row.mode})) << "once unloaded, nothing more is asked";
        EXPECT_EQ(unloads, 1) << "the close that Unload causes runs no handler again";
    }
}

// ---- docking ----

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
    static QRectF RectOf(PictureBox* b) { return QRectF(b->Left(), b->Top(), b->Width(), b->Height()); }
};

TEST(FormLayout, AlignedAreasDockTopThenLeftAndRightBelowIt) {
    // Rectangles in twips; the left one is not checked when hidden.
    const struct {
        const char* what;
        double clientW, clientH;
        bool leftVisible;
        QRectF top, left, right;
    } rows[] = {
        {"design size", 14460, 9615, true, {0, 0, 14460, 1035}, {0, 1035, 3195, 8580}, {3225, 1035, 11235, 8580}},
        {"hidden left area takes no room", 14460, 9615, false, {0, 0, 14460, 1035}, {}, {3225, 1035, 11235, 8580}},
        // clang-format off
        {"smaller than the areas: heights do not go negative", 6000, 600, true, {0, 0, 6000, 1035}, {0, 1035, 3195, 0},
         {-5235, 1035, 11235, 0}},
        // clang-format on
    };
    for (const auto& row : rows) {
        DockedForm d;
        auto* loose = new PictureBox(d.form, &d.form, "picLoose");
        loose->Move(15, 30, 45, 60);
        d.left->SetVisible(row.leftVisible);
        d.form.SetClientSize(row.clientW, row.clientH);
        d.form.LayoutAligned();
        EXPECT_EQ(DockedForm::RectOf(d.top), row.top) << row.what;
        if (row.leftVisible) {
            EXPECT_EQ(DockedForm::RectOf(d.left), row.left) << row.what;
        }
        EXPECT_EQ(DockedForm::RectOf(d.right), row.right) << row.what;
        EXPECT_EQ(DockedForm::RectOf(loose), QRectF(15, 30, 45, 60)) << row.what << ": Align 0 stays put";
        EXPECT_EQ(d.right->Widget()->geometry().topLeft(), QPoint(qRound(row.right.left() / 15), 69)) << row.what;
    }
}

TEST(FormLayout, ResizeHandlerWidthChangeDocksAgain) {
    DockedForm d;
    d.left->SetVisible(false);
    d.form.SetClientSize(14460, 9615);
    // The handler narrows the right area; it must still end at the right edge.
    d.form.OnResize = [&] { d.right->SetWidth(d.form.ScaleWidth() - 4000); };
    d.form.show();
    EXPECT_DOUBLE_EQ(d.right->Width(), 14460 - 4000);
    EXPECT_DOUBLE_EQ(d.right->Left() + d.right->Width(), 14460);
}

// ---- file dialog filters ----

TEST(FileDialogFilter, PlatformFiltersBecomeQtNameFilters) {
    const struct {
        const char* in;
        const char* out;
    } rows[] = {
        {"Bitmap (*.bmp)|*.bmp|JPEG|*.jpg;*.jpeg", "Bitmap (*.bmp) (*.bmp);;JPEG (*.jpg *.jpeg)"},
        {"All|*.bmp; *.jpg", "All (*.bmp *.jpg)"},
        {"Pictures|*.bmp;*.jpg|Dangling", "Pictures (*.bmp *.jpg)"},
        {"No pattern|", "No pattern (*)"},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(QtFilterFromPlatform(QString::fromUtf8(r.in)), QString::fromUtf8(r.out)) << r.in;
    }
}

// ---- Modal forms ----

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
