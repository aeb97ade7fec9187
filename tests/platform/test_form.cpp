// Forms: Resize inside the statement that sizes the window, the unload events and their
// modes, docking of aligned areas, ownership of controls; and the file dialog filters.
#include <QApplication>
#include <QCloseEvent>
#include <QTimer>
#include <gtest/gtest.h>

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

TEST(FormResize, HandlerThatSizesTheWindowReentersOnce) {
    Form form("frmResize");
    form.SetClientSize(9000, 6000);
    form.show();
    std::vector<double> heights;
    form.OnResize = [&] {
        heights.push_back(form.Height());
        if (form.Height() < 8100) form.SetHeight(8100);
    };
    form.SetHeight(7005);
    EXPECT_EQ(heights, std::vector<double>({7005, 8100}));
}

TEST(FormResize, FirstShowFiresOnceAndClientSizeDoesNot) {
    Form form("frmResize");
    int fired = 0;
    form.OnResize = [&] { ++fired; };
    form.SetClientSize(14460, 9615);
    EXPECT_EQ(fired, 0);
    form.show();
    QCoreApplication::processEvents();
    EXPECT_EQ(fired, 1);
    EXPECT_DOUBLE_EQ(form.ScaleHeight(), 9615);
    // Once shown, the outer size counts the window frame (if the window system draws one).
    form.SetWidth(14565);
    EXPECT_DOUBLE_EQ(form.Width(), 14565);
    EXPECT_DOUBLE_EQ(form.Width() - form.ScaleWidth(), (form.frameGeometry().width() - form.width()) * 15.0);
}

TEST(FormResize, WindowStateChangesFireResizeOnce) {
    Form form("frmResize");
    form.SetClientSize(6000, 4500);
    form.show();
    std::vector<int> states;
    form.OnResize = [&] { states.push_back(form.WindowState()); };
    for (int state : {1, 0, 2}) {  // minimize, restore, maximize
        form.SetWindowState(state);
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(states, std::vector<int>({1, 0, 2}));
    EXPECT_EQ(Trap([&] { form.SetWidth(15000); }), 384) << "a maximized window cannot be sized";
}

// ---- unloading ----

struct UnloadLog {
    std::vector<int> queryModes;
    int unloads = 0;
    bool cancel = false;
    void Attach(Form& form) {
        form.OnQueryUnload = [this](bool& c, int mode) {
            queryModes.push_back(mode);
            c = cancel;
        };
        form.OnUnload = [this](bool&) { ++unloads; };
    }
};

TEST(FormUnload, CloseBoxAsksWithMode0AndCancelKeepsTheWindow) {
    Form form("frmClose");
    UnloadLog log;
    log.Attach(form);
    form.show();

    log.cancel = true;
    EXPECT_FALSE(form.close());
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(form.Unloaded());
    EXPECT_EQ(log.unloads, 0);

    log.cancel = false;
    EXPECT_TRUE(form.close());
    EXPECT_FALSE(form.isVisible());
    EXPECT_TRUE(form.Unloaded());
    EXPECT_EQ(log.queryModes, std::vector<int>({vbFormControlMenu, vbFormControlMenu}));
    EXPECT_EQ(log.unloads, 1);

    form.show();
    form.close();
    EXPECT_EQ(log.queryModes.size(), 2u) << "a form once unloaded asks nothing more";
    EXPECT_EQ(log.unloads, 1);
}

TEST(FormUnload, UnloadFromCodeAsksWithMode1OnceAndClosesTheWindow) {
    Form form("frmClose");
    UnloadLog log;
    log.Attach(form);
    form.show();

    log.cancel = true;
    EXPECT_FALSE(form.Unload());
    EXPECT_TRUE(form.isVisible());

    log.cancel = false;
    EXPECT_TRUE(form.Unload());
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(log.queryModes, std::vector<int>({vbFormCode, vbFormCode}));
    EXPECT_EQ(log.unloads, 1) << "the close that Unload causes runs no handler again";
    EXPECT_TRUE(form.Unload());
    EXPECT_EQ(log.unloads, 1);
}

// ---- docking ----

struct DockRow {
    const char* what;
    double clientW, clientH;
    bool leftVisible;
    QRectF top, left, right;  // twips; left is ignored when hidden
};

TEST(FormLayout, AlignedAreasDockTopThenLeftAndRightBelowIt) {
    const DockRow rows[] = {
        {"design size", 14460, 9615, true, {0, 0, 14460, 1035}, {0, 1035, 3195, 8580}, {3225, 1035, 11235, 8580}},
        {"larger window", 18000, 12000, true, {0, 0, 18000, 1035}, {0, 1035, 3195, 10965}, {6765, 1035, 11235, 10965}},
        {"hidden left area takes no room", 14460, 9615, false, {0, 0, 14460, 1035}, {}, {3225, 1035, 11235, 8580}},
        {"smaller than the areas: heights do not go negative", 6000, 600, true, {0, 0, 6000, 1035}, {0, 1035, 3195, 0},
         {-5235, 1035, 11235, 0}},
    };
    for (const auto& row : rows) {
        Form form("frmDock");
        auto* top = new PictureBox(form, &form, "picTop", -1, false, false);
        top->Move(0, 0, 100, 1035);
        top->SetAlign(1);
        auto* left = new PictureBox(form, &form, "picLeft");
        left->Move(0, 0, 3195, 100);
        left->SetAlign(3);
        auto* right = new PictureBox(form, &form, "picRight");
        right->Move(0, 0, 11235, 100);
        right->SetAlign(4);
        auto* loose = new PictureBox(form, &form, "picLoose");
        loose->Move(15, 30, 45, 60);
        left->SetVisible(row.leftVisible);
        form.SetClientSize(row.clientW, row.clientH);
        form.LayoutAligned();

        auto rectOf = [](PictureBox* b) { return QRectF(b->Left(), b->Top(), b->Width(), b->Height()); };
        EXPECT_EQ(rectOf(top), row.top) << row.what;
        if (row.leftVisible) {
            EXPECT_EQ(rectOf(left), row.left) << row.what;
        }
        EXPECT_EQ(rectOf(right), row.right) << row.what;
        EXPECT_EQ(rectOf(loose), QRectF(15, 30, 45, 60)) << row.what << ": Align 0 stays put";
        EXPECT_EQ(right->Widget()->geometry().topLeft(), QPoint(qRound(row.right.left() / 15), 69)) << row.what;
    }
}

TEST(FormLayout, ResizeHandlerWidthChangeDocksAgain) {
    Form form("frmDock");
    auto* top = new PictureBox(form, &form, "picTop", -1, false, false);
    top->Move(0, 0, 100, 1035);
    top->SetAlign(1);
    auto* right = new PictureBox(form, &form, "picRight");
    right->Move(0, 0, 11235, 100);
    right->SetAlign(4);
    form.SetClientSize(14460, 9615);
    // The handler narrows the right area; it must still end at the right edge.
    form.OnResize = [&] { right->SetWidth(form.ScaleWidth() - 3195); };
    form.show();
    EXPECT_DOUBLE_EQ(right->Width(), 14460 - 3195);
    EXPECT_DOUBLE_EQ(right->Left() + right->Width(), 14460);
}

// ---- ownership ----

class Probe : public Image {
public:
    Probe(Form& form, const QString& name, std::vector<QString>& log) : Image(form, &form, name), log_(log) {}
    ~Probe() override { log_.push_back(Name()); }

private:
    std::vector<QString>& log_;
};

TEST(FormControls, DesignOrderListAndNewestFirstDestruction) {
    std::vector<QString> destroyed;
    {
        Form form("frmOwn");
        new Probe(form, "imgA", destroyed);
        new Probe(form, "imgB", destroyed);
        auto* c = new Probe(form, "imgC", destroyed);
        ASSERT_EQ(form.Controls.size(), 3u);
        EXPECT_EQ(form.Controls[2], c);
        EXPECT_EQ(form.FindControl("imgB"), form.Controls[1]);
        EXPECT_EQ(form.FindControl("imgB", 0), nullptr);
        EXPECT_EQ(form.Children.size(), 3u);
    }
    EXPECT_EQ(destroyed, std::vector<QString>({"imgC", "imgB", "imgA"}));
}

// ---- file dialog filters ----

TEST(FileDialogFilter, PlatformFiltersBecomeQtNameFilters) {
    const struct {
        const char* in;
        const char* out;
    } rows[] = {
        {"Bitmap (*.bmp)|*.bmp|JPEG|*.jpg;*.jpeg", "Bitmap (*.bmp) (*.bmp);;JPEG (*.jpg *.jpeg)"},
        {"Text|*.txt", "Text (*.txt)"},
        {"All|*.bmp; *.jpg", "All (*.bmp *.jpg)"},
        {"", ""},
        {"Dangling description", ""},
        {"Pictures|*.bmp;*.jpg|Dangling", "Pictures (*.bmp *.jpg)"},
        {"No pattern|", "No pattern (*)"},
    };
    for (const auto& r : rows) EXPECT_EQ(QtFilterFromPlatform(QString::fromUtf8(r.in)), QString::fromUtf8(r.out)) << r.in;
}

// ---- Modal forms ----

TEST(ModalForm, TheQtHostReturnsOnceTheFormUnloads) {
    Form owner("frmOwner");
    owner.show();
    Form dialog("frmDialog");
    dialog.SetClientSize(3000, 2000);
    int unloads = 0;
    dialog.OnUnload = [&](bool&) { ++unloads; };
    bool shownModal = false;
    QTimer::singleShot(0, &owner, [&] {
        shownModal = dialog.isVisible() && dialog.isModal() && dialog.isWindow();
        dialog.Unload();
    });
    QtDialogHost host;
    host.ShowModal(dialog, &owner);
    EXPECT_TRUE(shownModal);
    EXPECT_EQ(unloads, 1);
    EXPECT_FALSE(dialog.isVisible());
}

}  // namespace
