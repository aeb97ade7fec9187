// Opening and saving a picture with its comment, frmJpegQty, and arming a movie.
#include <cmath>

#include "Drive.h"
#include "Pictures.h"
#include "SaveImage.h"
#include "ViewWindow.h"
#include "frmJpegQty.h"

namespace view_test {
namespace {

using tavix::ViewMode;
using testing_support::Near;

Box Warned(const QString& prompt, int32_t title) { return {prompt, vb::vbOKOnly | vb::vbExclamation, GST(title)}; }

TEST(OpenPicture, ShownAtOneWithTheCommentBesideOrEverythingLeftAsItWas) {
    Win w(2);
    w.Open(QuarterPicture(100, 80));
    Zoom(w.f, "x 2.0");
    w.Comment("kept", "too");
    Var().ResultTable[1].Points = {{}, {20, 10}};
    w.f.ResultCount = 1;
    w.f.ResultDirty = true;
    // A picture that is not there: the old one at 1.0, the results kept and following the zoom.
    const QString gone = w.box.File("gone.bmp");
    w.host.AnswerMsgBox(vb::vbYes);  // discard the unsaved results
    w.host.AnswerMsgBox(vb::vbOK);
    w.OpenFile(gone);
    EXPECT_EQ(std::tuple(w.Comments(), w.f.cdlFile->Filter, Var().ZoomFactor, w.f.picTempView->GetPicture().size(),
                         w.f.ResultCount, w.f.ResultDirty, Var().ResultTable[1].Points[1].X),
              std::tuple(QStringLiteral("kept|too"), GST(11021), 1.0, QSize(100, 80), 1, true, 10.0));
    EXPECT_TRUE(Near(w.Shown(-30, -30), kQuarterColors[0]) && Near(w.Shown(30, 30), kQuarterColors[3]));
    EXPECT_EQ(w.BoxAt(1), Warned(GST(20022, gone), 11022));
    EXPECT_EQ(w.box.LogTexts().last(), QStringLiteral("cmdPicLoad_Click LoadPicture Error.(53)"));
    // The side file's name cuts exactly four characters; its first two lines, in Shift-JIS.
    w.box.Write("a..txt", "first line\r\n\x91\xe6\x93\xf1\x8d\x73\r\nthird line\r\n");
    w.host.AnswerMsgBox(vb::vbYes);
    w.Open(QuarterPicture(300, 200), QStringLiteral("a.jpeg"));
    EXPECT_EQ(std::tuple(w.Comments(), w.f.picTempView->GetPicture().size(), w.f.ResultCount),
              std::tuple(QString::fromUtf8("first line|第二行"), QSize(300, 200), 0));
    w.Open(QuarterPicture(30, 20), QStringLiteral("b.bmp"));
    EXPECT_EQ(w.Comments(), QStringLiteral("|")) << "the comment of before goes";
}

TEST(SavePicture, AtTheQualityItsDialogStoresByTheEndingWithTheCommentBesideOrRefused) {
    Win w(2);
    // Cancel keeps the quality, OK stores it at once; the JPEG is saved at the last one.
    for (const auto& [value, ok, kept] :
         {std::tuple(40, false, 90), std::tuple(100, true, 100), std::tuple(10, true, 10)}) {
        w.host.AnswerModal([&](vb::Form& form) {
            auto& d = static_cast<tavix::frmJpegQty&>(form);
            EXPECT_TRUE(d.Caption() == GST(12000) && d.sldJpegQty->Value() == Var().JpegQty);
            d.sldJpegQty->SetValue(value);
            (ok ? d.cmdOK : d.cmdCancel)->Click();
        });
        w.f.lblJpegQty->OnClick();
        const QString text = QString::number(kept);
        EXPECT_EQ(std::tuple(Var().JpegQty, w.f.lblJpegQty->Caption()), std::tuple(kept, text));
        EXPECT_TRUE(w.box.Read("Tavix.Ini").contains("JPEGQTY=" + text.toLatin1() + "\r\n")) << "stored at once";
    }
    w.Open(QuarterPicture(120, 80));
    const QByteArray old = "old\r\n";
    w.box.Write("p.txt", old);
    w.Comment(" ", "second line");
    // Only lower-case .bmp and .jpg are written; any other ending writes nothing at all.
    for (const char* name : {"p.BMP", "p.jpeg", "x.AVI"}) {
        w.host.AnswerMsgBox(vb::vbOK);
        w.Save(w.box.File(name));
        EXPECT_FALSE(QFileInfo::exists(w.box.File(name))) << name;
    }
    const Box endings = Warned(GST(20038, QStringLiteral(".bmp .jpg")), 11035);
    EXPECT_EQ(std::tuple(w.BoxAt(0), w.BoxAt(1), w.BoxAt(2)), std::tuple(endings, endings, Warned(GST(20035), 11033)));
    EXPECT_FALSE(QFileInfo::exists(w.box.File("p..txt")) || QFileInfo::exists(w.box.File("x.txt")));
    // A blank comment leaves an old side file; the JPEG is made from the temporary bitmap at the
    // quality set.
    w.Comment("  ", "");
    w.Save(w.box.File("p.jpg"));
    const QImage temp = vb::LoadPicture(w.box.File("TempBitmap.bmp"));
    const QString q10 = w.box.File("q10.jpg"), q100 = w.box.File("q100.jpg");
    ASSERT_TRUE(tavix::SaveJpeg(temp, q10, 10) == 0 && tavix::SaveJpeg(temp, q100, 100) == 0);
    const QByteArray jpeg = w.box.Read("p.jpg");
    EXPECT_TRUE(jpeg == w.box.Read("q10.jpg") && jpeg.size() < w.box.Read("q100.jpg").size());
    EXPECT_EQ(w.box.Read("p.txt"), old);
    // A bare name takes the chosen type's ending.
    w.Comment(" ", "second line");
    w.Save(w.box.File("p"));
    EXPECT_EQ(std::tuple(w.box.Read("p.bmp").left(2), w.box.Read("p.txt"), w.f.cdlFile->Filter, w.host.BusyDepth),
              std::tuple(QByteArray("BM"), QByteArray(" \r\nsecond line\r\n"), GST(11031), 0));
    EXPECT_EQ(tavix::SaveJpeg(QImage(), w.box.File("p.jpg"), 90), vb::ErrTypeMismatch);
    EXPECT_EQ(w.box.Read("p.jpg"), jpeg) << "no picture leaves the target as it was";
}

TEST(SavePicture, FromTheLiveViewBackToLiveAlsoWhenOpeningFails) {
    Win w(1);
    const auto live = [&] { return w.f.ViewMode == ViewMode::Live; };
    w.Save(std::nullopt);
    EXPECT_TRUE(live() && w.f.cdlFile->Filter == GST(11030));
    w.Save(w.box.File("live.bmp"));
    EXPECT_TRUE(live() && QImage(w.box.File("live.bmp")).width() == w.f.picViewArea->ClientPixelWidth());
    w.host.AnswerMsgBox(vb::vbOK);
    w.OpenFile(w.box.File("gone.jpg"));
    EXPECT_TRUE(live() && w.host.Boxes.size() == 1);
}

TEST(Movie, ArmedForWhatTheFreeSpaceAllowsOrRefusedWithTheResultsGone) {
    constexpr double kGiB = 1073741824.0;
    const auto usable = [](double gib) { return std::ceil(gib / 0.7 * kGiB) + 1; };  // free bytes giving that
    const struct {
        std::optional<double> free;
        int seconds, box = 0, answer = 0;  // seconds 0: not armed; answer: to the question on unsaved results
        const char* fs = "ext4";           // of the one drive
        bool fromStill = false;
    } cases[] = {
        {usable(3.9), 60},
        {usable(5000), 900, 20030, vb::vbYes, "ext4", true},
        {usable(2) - 2, 0, 20032},
        {std::nullopt, 0, 20031},  // a folder not to be looked at
        {100 * kGiB, 0, 20031, 0, "nfs"},
        {100 * kGiB, 0, 20030, vb::vbNo},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.fs) + std::to_string(c.free.value_or(-1)));
        Win w(0);
        tavix::frmMain& f = w.f;
        const QString mounts = QStringLiteral("/dev/sda1 / %1 rw 0 0\n").arg(QLatin1String(c.fs));
        vb::SetDriveProbe([&] { return mounts; }, [&](const QString&) { return c.free; });
        f.ResultCount = 1;
        f.ResultDirty = c.answer != 0;
        if (c.box) w.host.AnswerMsgBox(c.answer ? c.answer : vb::vbOK);
        if (c.fromStill) f.cmdPlayStop->Click();
        const QString path = w.box.File("m.avi");
        w.Save(path);
        vb::SetDriveProbe({}, {});
        EXPECT_EQ(w.BoxAt(0), !c.box ? Box()
                              : c.answer
                                  ? Box(GST(20030), vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2, GST(11032))
                                  : Warned(GST(c.box), 11033));
        EXPECT_EQ(std::tuple(f.CommandMode, f.ViewMode, f.ResultCount),
                  std::tuple(c.seconds ? CommandMode::MovieArmed : CommandMode::Idle, ViewMode::Live,
                             int(c.answer == vb::vbNo)));
        if (!c.seconds) continue;
        EXPECT_EQ(std::tuple(f.RecordSecondsLeft, f.MovieFileName, f.txtComment[0]->Text(), f.txtComment[1]->Text()),
                  std::tuple(c.seconds, path, Var().GuidanceTable[2][0], GST(20033, QString::number(c.seconds))));
        // Nothing that would stop the movie or leave it half made.
        EXPECT_TRUE(f.cmdPlayStop->Caption() == GST(11034) && f.cmdPlayStop->Enabled() && !QFileInfo::exists(path) &&
                    !f.cmdPicSave->Enabled() && !f.cmdExit->Enabled());
    }
}

}  // namespace
}  // namespace view_test
