// Controls: twip geometry in nested containers, own Enabled/Visible flags, Click from code,
// list and grid bounds, control arrays, colours and the windowless overlay items.
#include <QApplication>
#include <QComboBox>
#include <QCoreApplication>
#include <QImage>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QTableWidget>
#include <QToolButton>
#include <gtest/gtest.h>

#include "Controls.h"
#include "Form.h"
#include "ScriptedDialogHost.h"

using namespace vb;

namespace {

int ErrorOf(const std::function<void()>& body) { return Trap(body); }

// ---- geometry ----

struct GeometryRow {
    const char* what;
    double frameLeft, frameTop;          // frame in the form, twips
    double left, top, width, height;     // button in the frame, twips
    QRect expected;                      // button's pixels in the frame's widget
};

TEST(ControlGeometry, TwipsMapToPixelsOfTheImmediateContainer) {
    const GeometryRow rows[] = {
        {"whole pixels", 0, 0, 150, 300, 795, 795, QRect(10, 20, 53, 53)},
        {"frame offset does not leak into the child", 2880, 60, 60, 225, 1695, 255, QRect(4, 15, 113, 17)},
        {"edges round on their own: 7 twips is 0.47 px", 0, 0, 7, 7, 15, 15, QRect(0, 0, 1, 1)},
        {"edges round on their own: 8 twips is 0.53 px", 0, 0, 8, 8, 15, 15, QRect(1, 1, 1, 1)},
        {"the size is what lies between the rounded edges", 0, 0, 8, 8, 1000, 1000, QRect(1, 1, 66, 66)},
        {"zero size stays zero", 100, 100, 30, 30, 0, 0, QRect(2, 2, 0, 0)},
    };
    for (const auto& row : rows) {
        Form form("frmGeo");
        auto* frame = new Frame(form, &form, "fraA");
        frame->Move(row.frameLeft, row.frameTop, 6000, 3000);
        auto* button = new CommandButton(form, frame, "cmdA");
        button->Move(row.left, row.top, row.width, row.height);
        EXPECT_EQ(button->Widget()->parentWidget(), frame->Widget()) << row.what;
        EXPECT_EQ(button->Widget()->geometry(), row.expected) << row.what;
        EXPECT_EQ(frame->Widget()->geometry().topLeft(),
                  QPoint(qRound(row.frameLeft / 15), qRound(row.frameTop / 15)))
            << row.what;
        EXPECT_DOUBLE_EQ(button->Left(), row.left) << row.what;
    }
}

TEST(ControlGeometry, NeighboursThatTouchInTwipsTouchInPixels) {
    Form form("frmGeo");
    // 1000 twips = 66.7 px: rounding the size on its own would make these overlap.
    auto* a = new Label(form, &form, "lblA");
    auto* b = new Label(form, &form, "lblB");
    a->Move(8, 0, 1000, 200);
    b->Move(1008, 0, 1000, 200);
    EXPECT_EQ(a->Widget()->geometry().right() + 1, b->Widget()->geometry().left());
}

// ---- Enabled and Visible ----

TEST(ControlFlags, DisabledContainerLeavesTheChildsOwnEnabled) {
    Form form("frmFlags");
    auto* frame = new Frame(form, &form, "fraA");
    auto* child = new CommandButton(form, frame, "cmdA");

    frame->SetEnabled(false);
    EXPECT_TRUE(child->Enabled());
    EXPECT_FALSE(child->Widget()->isEnabled());

    child->SetEnabled(false);
    frame->SetEnabled(true);
    EXPECT_FALSE(child->Enabled());
    EXPECT_FALSE(child->Widget()->isEnabled());

    // Click from code is a user's press: nothing while the button cannot be pressed.
    int clicks = 0;
    child->OnClick = [&] { ++clicks; };
    child->Click();
    child->SetEnabled(true);
    frame->SetEnabled(false);
    child->Click();
    frame->SetEnabled(true);
    child->Click();
    EXPECT_EQ(clicks, 1);
}

TEST(ControlFlags, VisibleIsTheOwnFlagBeforeAndAfterTheFormShows) {
    Form form("frmFlags");
    form.SetClientSize(3000, 3000);
    auto* frame = new Frame(form, &form, "fraA");
    auto* shown = new Label(form, frame, "lblShown");
    auto* hidden = new Label(form, frame, "lblHidden");
    hidden->SetVisible(false);
    form.show();
    EXPECT_TRUE(shown->Widget()->isVisible());
    EXPECT_FALSE(hidden->Widget()->isVisible());
    EXPECT_FALSE(hidden->Visible());

    // Made after the show: a child of a shown container must show by itself.
    auto* late = new CommandButton(form, frame, "cmdLate");
    EXPECT_TRUE(late->Widget()->isVisible());

    // A hidden container hides what it holds without touching their flags.
    frame->SetVisible(false);
    EXPECT_TRUE(shown->Visible());
    EXPECT_FALSE(shown->Widget()->isVisible());
    frame->SetVisible(true);
    EXPECT_TRUE(shown->Widget()->isVisible());
    EXPECT_FALSE(hidden->Widget()->isVisible());
}

// ---- CommandButton pictures ----

TEST(CommandButtonPicture, DisabledPictureIsWhatADisabledButtonShows) {
    Form form("frmPic");
    auto* button = new CommandButton(form, &form, "cmdA", -1, true);
    QPixmap red(32, 32), blue(32, 32);
    red.fill(Qt::red);
    blue.fill(Qt::blue);
    button->SetPicture(QIcon(red));
    button->SetDisabledPicture(QIcon(blue));
    auto* tool = static_cast<QToolButton*>(button->Widget());
    EXPECT_EQ(tool->toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
    const QImage normal = tool->icon().pixmap(QSize(32, 32), QIcon::Normal).toImage();
    const QImage disabled = tool->icon().pixmap(QSize(32, 32), QIcon::Disabled).toImage();
    EXPECT_EQ(normal.pixelColor(16, 16), QColor(Qt::red));
    EXPECT_EQ(disabled.pixelColor(16, 16), QColor(Qt::blue));

    // Back to "no disabled picture": the normal picture, greyed by the style.
    button->SetDisabledPicture(QIcon());
    EXPECT_NE(tool->icon().pixmap(QSize(32, 32), QIcon::Disabled).toImage().pixelColor(16, 16),
              QColor(Qt::blue));
}

// ---- ComboBox ----

TEST(ComboBoxClick, SettingListIndexFiresClickInsideTheCallEveryTime) {
    Form form("frmList");
    auto* list = new ComboBox(form, &form, "cboA");
    for (const char* s : {"x 0.5", "x 0.6", "x 0.7"}) list->AddItem(s);
    EXPECT_EQ(list->ListIndex(), -1) << "filling a list selects nothing";

    std::vector<int> seen;
    list->OnClick = [&] { seen.push_back(list->ListIndex()); };
    list->SetListIndex(1);
    EXPECT_EQ(seen, std::vector<int>({1})) << "fired inside the statement, after the index changed";
    list->SetListIndex(1);
    list->SetListIndex(2);
    list->SetListIndex(-1);
    EXPECT_EQ(seen, std::vector<int>({1, 1, 2, -1}));
    EXPECT_EQ(list->Text(), QString());

    // The user's choice fires too, also for the item already chosen.
    auto* combo = static_cast<QComboBox*>(list->Widget());
    combo->setCurrentIndex(1);
    emit combo->activated(1);
    emit combo->activated(1);
    EXPECT_EQ(seen, std::vector<int>({1, 1, 2, -1, 1, 1}));
    EXPECT_EQ(list->Text(), "x 0.6");
}

TEST(OptionButtonValue, OneOptionOfAContainerIsOnAndSettingItFiresClick) {
    Form form("frmOptions");
    auto* frame = new Frame(form, &form, "fraOptions");
    frame->Move(0, 0, 3000, 3000);
    auto* other = new Frame(form, &form, "fraOther");
    other->Move(3000, 0, 3000, 3000);
    OptionButton* opt[2] = {new OptionButton(form, frame, "optType", 0), new OptionButton(form, frame, "optType", 1)};
    auto* elsewhere = new OptionButton(form, other, "optElsewhere");
    int clicks[2] = {0, 0};
    for (int i = 0; i < 2; ++i) opt[i]->OnClick = [&clicks, i] { ++clicks[i]; };
    elsewhere->SetValue(true);
    opt[0]->SetValue(true);
    EXPECT_TRUE(opt[0]->Value());
    EXPECT_EQ(clicks[0], 1);
    opt[1]->SetValue(true);
    EXPECT_FALSE(opt[0]->Value()) << "options of one container exclude each other";
    EXPECT_TRUE(opt[1]->Value());
    EXPECT_EQ(clicks[1], 1);
    EXPECT_TRUE(elsewhere->Value()) << "another container keeps its own option";
    opt[1]->SetValue(false);
    EXPECT_FALSE(opt[1]->Value());
    EXPECT_EQ(clicks[1], 1) << "turning an option off is no click";
}

TEST(ComboBoxBounds, ErrorsForIndexesOutsideTheList) {
    Form form("frmList");
    auto* list = new ComboBox(form, &form, "cboA");
    list->AddItem("only");
    EXPECT_EQ(ErrorOf([&] { list->List(-1); }), 381);
    EXPECT_EQ(ErrorOf([&] { list->List(1); }), 381);
    EXPECT_EQ(ErrorOf([&] { list->SetListIndex(1); }), 380);
    list->Clear();
    EXPECT_EQ(list->ListIndex(), -1);
}

// ---- CheckBox ----

TEST(CheckBoxValue, SetValueFiresOnlyOnChangeAndAClickToggles) {
    for (bool graphical : {true, false}) {
        Form form("frmCheck");
        auto* box = new CheckBox(form, &form, "chkA", -1, graphical);
        std::vector<int> seen;
        box->OnClick = [&] { seen.push_back(box->Value()); };
        box->SetValue(0);
        box->SetValue(1);
        box->SetValue(1);
        EXPECT_TRUE(static_cast<QToolButton*>(box->Widget())->isChecked()) << "stays pressed";
        box->SetValue(0);
        box->Click();  // the user's click toggles, then fires
        box->Click();
        EXPECT_EQ(seen, std::vector<int>({1, 0, 1, 0})) << "graphical " << graphical;
        EXPECT_EQ(ErrorOf([&] { box->SetValue(3); }), 380);
    }
}

// ---- TextBox ----

void Type(QLineEdit* edit, const QString& text) {
    for (QChar ch : text) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
        QCoreApplication::sendEvent(edit, &press);
    }
}

TEST(TextBoxMaxLength, LimitsWhatTheUserEntersNotWhatCodeSets) {
    const struct {
        const char* what;
        int max;
        QString start;
        QString typed;
        QString pasted;
        QString expected;
    } rows[] = {
        {"typing stops at the limit", 5, "", "abcdefg", "", "abcde"},
        {"no limit", 0, "", "abcdefg", "", "abcdefg"},
        {"a paste is cut to what fits", 5, "ab", "", "cdefg", "abcde"},
        {"text set longer than the limit is kept, typing adds nothing", 3, "abcdef", "x", "", "abcdef"},
    };
    for (const auto& row : rows) {
        Form form("frmText");
        auto* box = new TextBox(form, &form, "txtA");
        box->SetMaxLength(row.max);
        box->SetText(row.start);
        auto* edit = static_cast<QLineEdit*>(box->Widget());
        edit->end(false);
        Type(edit, row.typed);
        if (!row.pasted.isEmpty()) edit->insert(row.pasted);
        EXPECT_EQ(box->Text(), row.expected) << row.what;
    }
}

// ---- FlexGrid ----

TEST(FlexGridBounds, TextMatrixOutsideTheGridIsError381) {
    Form form("frmGrid");
    auto* grid = new FlexGrid(form, &form, "grdA");
    grid->SetCols(4);
    grid->SetRows(100);
    const struct {
        int row, col, error;
    } rows[] = {{0, 0, 0}, {99, 3, 0}, {-1, 0, 381}, {100, 0, 381}, {0, -1, 381}, {0, 4, 381}};
    for (const auto& r : rows) {
        EXPECT_EQ(ErrorOf([&] { grid->SetTextMatrix(r.row, r.col, "v"); }), r.error) << r.row << "," << r.col;
        EXPECT_EQ(ErrorOf([&] { grid->TextMatrix(r.row, r.col); }), r.error) << r.row << "," << r.col;
    }
    EXPECT_EQ(grid->TextMatrix(99, 3), "v");
    grid->SetRows(50);
    EXPECT_EQ(ErrorOf([&] { grid->TextMatrix(99, 3); }), 381) << "shrinking drops rows";
}

TEST(FlexGridAlignment, CodesMapToCellAlignmentForTheirRows) {
    const struct {
        int code;
        Qt::Alignment expected;
    } rows[] = {
        {0, Qt::AlignLeft | Qt::AlignTop},     {1, Qt::AlignLeft | Qt::AlignVCenter},
        {2, Qt::AlignLeft | Qt::AlignBottom},  {3, Qt::AlignHCenter | Qt::AlignTop},
        {4, Qt::AlignHCenter | Qt::AlignVCenter}, {5, Qt::AlignHCenter | Qt::AlignBottom},
        {6, Qt::AlignRight | Qt::AlignTop},    {7, Qt::AlignRight | Qt::AlignVCenter},
        {8, Qt::AlignRight | Qt::AlignBottom},
    };
    Form form("frmGrid");
    auto* grid = new FlexGrid(form, &form, "grdA");
    grid->SetCols(2);
    grid->SetRows(3);
    for (const auto& r : rows) {
        // Column 0's fixed row takes the code, its body rows stay left; column 1 the reverse.
        grid->SetFixedAlignment(0, r.code);
        grid->SetColAlignment(0, 1);
        grid->SetFixedAlignment(1, 1);
        grid->SetColAlignment(1, r.code);
        QTableWidget* t = grid->Table();
        EXPECT_EQ(Qt::Alignment(t->item(0, 0)->textAlignment()), r.expected) << "fixed, code " << r.code;
        EXPECT_EQ(Qt::Alignment(t->item(2, 0)->textAlignment()), Qt::AlignLeft | Qt::AlignVCenter) << r.code;
        EXPECT_EQ(Qt::Alignment(t->item(2, 1)->textAlignment()), r.expected) << "body, code " << r.code;
        EXPECT_EQ(Qt::Alignment(t->item(0, 1)->textAlignment()), Qt::AlignLeft | Qt::AlignVCenter) << r.code;
    }
    EXPECT_EQ(ErrorOf([&] { grid->SetColAlignment(0, 10); }), 380);
    EXPECT_FALSE(grid->Table()->item(0, 0)->flags() & Qt::ItemIsSelectable) << "fixed rows are not selectable";
    grid->SetRows(10);
    EXPECT_TRUE(grid->Table()->item(9, 1)->flags() & Qt::ItemIsSelectable) << "rows added later are body rows";
    grid->SetColWidth(1, 340);
    EXPECT_EQ(grid->Table()->columnWidth(1), 23) << "narrower than a header section may be";
}

// ---- control arrays ----

TEST(ControlArrayLoad, ErrorNumbersOfLoadUnloadAndIndex) {
    Form form("frmArr");
    ControlArray<Shape> shapes;
    shapes.Add(new Shape(form, &form, "shaA", 0));
    shapes.SetFactory([&](int i) { return new Shape(form, &form, "shaA", i); });
    const struct {
        const char* what;
        std::function<void()> body;
        int error;
    } rows[] = {
        {"Load of an index in use", [&] { shapes.Load(0); }, 360},
        {"Load of a new index", [&] { shapes.Load(2); }, 0},
        {"the gap below it has no element", [&] { shapes[1]; }, 9},
        {"Unload of the gap", [&] { shapes.Unload(1); }, 340},
        {"Unload of the design element", [&] { shapes.Unload(0); }, 362},
        {"Load of a negative index", [&] { shapes.Load(-1); }, 9},
        {"Unload of the loaded element", [&] { shapes.Unload(2); }, 0},
        {"it is gone", [&] { shapes[2]; }, 9},
    };
    for (const auto& row : rows) EXPECT_EQ(ErrorOf(row.body), row.error) << row.what;
    EXPECT_EQ(shapes.UBound(), 0);
}

TEST(ControlArrayLoad, UnloadTakesTheControlOutOfFormAndContainer) {
    Form form("frmArr");
    auto* frame = new Frame(form, &form, "fraA");
    ControlArray<Label> labels;
    labels.Add(new Label(form, frame, "lblA", 0));
    labels.SetFactory([&](int i) { return new Label(form, frame, "lblA", i); });
    Label* loaded = labels.Load(1);
    QPointer<QWidget> widget = loaded->Widget();
    EXPECT_EQ(form.FindControl("lblA", 1), loaded);
    EXPECT_EQ(frame->Children.size(), 2u);

    labels.Unload(1);
    EXPECT_EQ(form.FindControl("lblA", 1), nullptr);
    EXPECT_EQ(frame->Children.size(), 1u);
    EXPECT_EQ(form.Controls.size(), 2u);
    EXPECT_TRUE(widget.isNull());
}

// ---- colours ----

TEST(Colors, BgrNumbersAndSystemColours) {
    const QPalette pal = QGuiApplication::palette();
    const struct {
        uint32_t code;
        QColor expected;
    } rows[] = {
        {0x000000FF, QColor(255, 0, 0)},
        {0x00FF0000, QColor(0, 0, 255)},
        {0x0080FFFF, QColor(255, 255, 128)},
        {0x00C0C0C0, QColor(192, 192, 192)},
        {vbButtonFace, pal.color(QPalette::Button)},
        {vbWindowBackground, pal.color(QPalette::Base)},
        {vbWindowText, pal.color(QPalette::Text)},
        {vbButtonText, pal.color(QPalette::ButtonText)},
        {vb3DDKShadow, pal.color(QPalette::Shadow)},
    };
    for (const auto& r : rows) EXPECT_EQ(ToQColor(r.code), r.expected) << std::hex << r.code;
    for (uint32_t c : {0x00000000u, 0x0000FFFFu, 0x00123456u, 0x00FFFFFFu}) EXPECT_EQ(FromQColor(ToQColor(c)), c);
}

// ---- Line and Shape ----

QRect InkBounds(const QImage& img) {
    QRect r;
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x)
            if (img.pixelColor(x, y) != Qt::white) r |= QRect(x, y, 1, 1);
    return r;
}

TEST(OverlayItems, ShapesDrawInTheirBoxWithTheContainersMapping) {
    // A box of 40 x 20 px at (10, 10) px, in twips of the form.
    const struct {
        int kind;
        QRect expected;
    } rows[] = {
        {Shape::Rectangle, QRect(10, 10, 40, 20)},
        {Shape::Oval, QRect(10, 10, 40, 20)},
        {Shape::Circle, QRect(20, 10, 20, 20)},
        {Shape::Square, QRect(20, 10, 20, 20)},
    };
    for (const auto& r : rows) {
        Form form("frmShape");
        auto* shape = new Shape(form, &form, "shaA");
        shape->Move(150, 150, 600, 300);
        shape->SetShapeKind(r.kind);
        shape->SetBorderColor(0x0000FF);
        QImage img(80, 50, QImage::Format_RGB32);
        img.fill(Qt::white);
        QPainter p(&img);
        shape->Paint(p);
        p.end();
        EXPECT_EQ(InkBounds(img), r.expected) << "kind " << r.kind;
    }
}

// ---- CommonDialog ----

TEST(CommonDialogCancel, CancelErrorOrEmptyFileNameAndUnchangedColor) {
    Form form("frmDlg");
    auto* dlg = new CommonDialog(form, &form, "cdlA");
    testing_support::ScriptedDialogHost host;

    dlg->FileName = "suggested.bmp";
    host.AnswerFile(std::nullopt);
    dlg->ShowSave();
    EXPECT_EQ(dlg->FileName, QString());

    dlg->CancelError = true;
    host.AnswerFile(std::nullopt);
    EXPECT_EQ(ErrorOf([&] { dlg->ShowOpen(); }), ErrCancel);

    host.AnswerFile(QString("/tmp/a.jpg"));
    dlg->ShowOpen();
    EXPECT_EQ(dlg->FileName, "/tmp/a.jpg");

    dlg->CancelError = false;
    dlg->Color = 0x00FFFF;
    host.AnswerColor(std::nullopt);
    dlg->ShowColor();
    EXPECT_EQ(dlg->Color, 0x00FFFFu);
    host.AnswerColor(0x0000FF);
    dlg->ShowColor();
    EXPECT_EQ(dlg->Color, 0x0000FFu);
}

}  // namespace
