// Opening and saving a picture with its comment, frmJpegQty, and arming a movie.
#include <QBuffer>
#include <QFileInfo>
#include <QPainter>
#include <QRandomGenerator>
#include <cmath>

#include "Drive.h"
#include "Pictures.h"
#include "ResultDrawing.h"
#include "SaveImage.h"
#include "ViewWindow.h"
#include "frmJpegQty.h"

namespace view_test {
namespace {

using tavix::ViewMode;
using testing_support::Near;

Box Warned(const QString& prompt, int32_t title) { return {prompt, GST(title), vb::vbOKOnly | vb::vbExclamation}; }

// Half a JPEG of noise: Qt's reader would fill the rest with grey.
QByteArray CutJpeg() {
    QImage noise(400, 300, QImage::Format_RGB32);
    QRandomGenerator rng(3);
    for (int y = 0; y < noise.height(); ++y)
        for (int x = 0; x < noise.width(); ++x) noise.setPixel(x, y, rng.generate() | 0xFF000000u);
    QByteArray bytes;
    QBuffer out(&bytes);
    EXPECT_TRUE(out.open(QIODevice::WriteOnly) && noise.save(&out, "jpeg", 90));
    return bytes.left(bytes.size() / 2);
}

TEST(OpenPicture, ShownAtOneWithTheCommentBesideOrEverythingLeftAsItWas) {
    const QByteArray sjis = "first line\r\n\x91\xe6\x93\xf1\x8d\x73\r\nthird line\r\n";
    // A picture of that name opens unless there is an error; the file is written with the bytes.
    const struct {
        const char *picture, *file;
        QByteArray bytes;
        const char* comment;
        int error = 0;
    } cases[] = {
        {"a.bmp", "a.txt", sjis, "first line|第二行"},
        {"p.bmp", "p.txt", "only\r\n", "only|"},
        {"p.bmp", nullptr, {}, "|"},                              // the comment of before goes
        {"p.jpeg", "p..txt", "four\r\nletters", "four|letters"},  // exactly four characters are cut
        {"p.jpeg", "p.txt", "wrong\r\n", "|"},                    // not the side file of another name
        {"x.bmp", "x.bmp", "this is text, not a bitmap", "kept|too", 481},
        {"gone.bmp", nullptr, {}, "kept|too", 53},
        {"cut.jpg", "cut.jpg", CutJpeg(), "kept|too", 481},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.picture) + " " + c.comment);
        Win w(2);
        w.Open(QuarterPicture(100, 80));
        Zoom(w.f, "x 2.0");
        w.Comment("kept", "too");
        Var().ResultTable[1].Points = {{}, {20, 10}};
        w.f.ResultCount = 1;
        w.f.ResultDirty = true;
        w.host.AnswerMsgBox(vb::vbYes);  // discard the unsaved results
        EXPECT_TRUE(c.error || QuarterPicture(300, 200).save(w.box.File(c.picture)));
        if (c.file) w.box.Write(c.file, c.bytes);
        if (c.error) w.host.AnswerMsgBox(vb::vbOK);
        w.OpenFile(w.box.File(c.picture));
        EXPECT_EQ(w.Comments(), QString::fromUtf8(c.comment));
        // At 1.0 the new picture, or the old one with the points following the zoom.
        const QSize size = c.error ? QSize(100, 80) : QSize(300, 200);
        EXPECT_EQ(std::tuple(w.f.cdlFile->Filter, Var().ZoomFactor, w.f.picTempView->GetPicture().size(),
                             w.f.ResultCount, w.f.ResultDirty),
                  std::tuple(GST(11021), 1.0, size, int(c.error != 0), c.error != 0));
        EXPECT_TRUE(Near(w.Shown(-30, -30), kQuarterColors[0]) && Near(w.Shown(30, 30), kQuarterColors[3]));
        if (!c.error) continue;
        EXPECT_EQ(w.BoxAt(1), Warned(GST(20022, w.box.File(c.picture)), 11022));
        EXPECT_EQ(w.box.LogTexts().last(), QStringLiteral("cmdPicLoad_Click LoadPicture Error.(%1)").arg(c.error));
        EXPECT_EQ(Var().ResultTable[1].Points[1].X, 10);
    }
}

TEST(SavePicture, ByTheEndingAtTheQualitySetWithTheCommentBesideOrRefused) {
    const QByteArray comment = " \r\nsecond line\r\n", old = "old\r\n";
    // Only lower-case endings pick the format, a bare name takes the chosen type's; any other
    // ending is refused with nothing written. An empty comment leaves an old side file.
    const struct {
        const char *typed, *saved;
        QByteArray magic;
        int box;  // 20038 names the endings that work
        bool commented = true;
    } cases[] = {
        {"p.bmp", "p.bmp", "BM", 0},        {"p.jpg", "p.jpg", "\xFF\xD8", 0}, {"p", "p.bmp", "BM", 0},
        {"p.bmp", "p.bmp", "BM", 0, false}, {"p.BMP", "p.BMP", {}, 20038},     {"p.jpeg", "p.jpeg", {}, 20038},
        {"x.AVI", "x.AVI", {}, 20035},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        Win w(2);
        w.Open(QuarterPicture(120, 80));
        w.box.Write("p.txt", old);
        w.Comment(c.commented ? " " : "  ", c.commented ? "second line" : "");
        if (c.box) w.host.AnswerMsgBox(vb::vbOK);
        Var().JpegQty = 10;
        w.Save(w.box.File(c.typed));
        EXPECT_TRUE(w.f.cdlFile->Filter == GST(11031) && w.host.BusyDepth == 0);
        EXPECT_EQ(w.box.Read(c.saved).left(2), c.magic);
        EXPECT_EQ(w.box.Read("p.txt"), c.commented && !c.box ? comment : old);
        EXPECT_FALSE(QFileInfo::exists(w.box.File("p..txt")) || QFileInfo::exists(w.box.File("x.txt")));
        if (c.magic.startsWith('\xFF')) {  // made from the temporary bitmap at the quality set
            const QImage temp = vb::LoadPicture(w.box.File("TempBitmap.bmp"));
            ASSERT_EQ(tavix::SaveJpeg(temp, w.box.File("q.jpg"), 10), 0);
            EXPECT_EQ(w.box.Read(c.saved), w.box.Read("q.jpg"));
            ASSERT_EQ(tavix::SaveJpeg(temp, w.box.File("q.jpg"), 100), 0);
            EXPECT_LT(w.box.Read(c.saved).size(), w.box.Read("q.jpg").size());
        }
        EXPECT_EQ(w.BoxAt(0), !c.box           ? Box()
                              : c.box == 20038 ? Warned(GST(c.box, QStringLiteral(".bmp .jpg")), 11035)
                                               : Warned(GST(c.box), 11033));
    }
    testing_support::Sandbox box;  // no picture leaves the target as it was
    box.Write("kept.jpg", "keep me");
    EXPECT_EQ(tavix::SaveJpeg(QImage(), box.File("kept.jpg"), 90), vb::ErrTypeMismatch);
    EXPECT_EQ(box.Read("kept.jpg"), "keep me");
}

TEST(SavePicture, FromTheLiveViewBackToLiveAlsoWhenOpeningFails) {
    Win w(1);
    const auto live = [&] { return w.f.ViewMode == ViewMode::Live; };
    w.Save(std::nullopt);
    EXPECT_TRUE(live() && w.f.cdlFile->Filter == GST(11030));
    w.Save(w.box.File("live.bmp"));
    EXPECT_TRUE(live() && QImage(w.box.File("live.bmp")).width() == w.f.picViewArea->ClientPixelWidth());
    w.host.AnswerMsgBox(vb::vbOK);
    w.Save(w.box.File("gone/live.bmp"));
    EXPECT_TRUE(live() && w.host.Boxes.size() == 1);
    w.box.Write("bad.jpg", CutJpeg());
    w.host.AnswerMsgBox(vb::vbOK);
    w.OpenFile(w.box.File("bad.jpg"));
    EXPECT_TRUE(live() && w.host.Boxes.size() == 2);
}

TEST(JpegQuality, OkStoresAtOnceCancelStoresNothing) {
    for (const auto& [value, ok, keptQty] :
         {std::tuple(10, true, 10), std::tuple(100, true, 100), std::tuple(40, false, 90)}) {
        Win w(2);
        w.host.AnswerModal([&](vb::Form& form) {
            auto& d = static_cast<tavix::frmJpegQty&>(form);
            EXPECT_TRUE(d.Caption() == GST(12000) && d.sldJpegQty->Value() == 90);
            d.sldJpegQty->SetValue(value);
            (ok ? d.cmdOK : d.cmdCancel)->Click();
        });
        w.f.lblJpegQty->OnClick();
        const QString kept = QString::number(keptQty);
        EXPECT_EQ(std::tuple(Var().JpegQty, w.f.lblJpegQty->Caption()), std::tuple(keptQty, kept));
        EXPECT_TRUE(w.box.Read("Tavix.Ini").contains("JPEGQTY=" + kept.toLatin1() + "\r\n")) << "stored at once";
    }
}

TEST(Movie, ArmedForWhatTheFreeSpaceAllowsOrRefusedWithTheResultsGone) {
    constexpr double kGiB = 1073741824.0;
    const auto usable = [](double gib) { return std::ceil(gib / 0.7 * kGiB) + 1; };  // free bytes giving that
    const struct {
        const char* name;
        std::optional<double> free;
        int seconds, box = 0, answer = 0;  // seconds 0: not armed; answer: to the question on unsaved results
        const char* mount = nullptr;
        bool fromStill = false;
    } cases[] = {
        {"m.Avi", usable(2), 60},
        {"m.avi", usable(3.9), 60},
        {"m.avi", usable(4), 120},
        {"m.avi", usable(29.9), 840},  // just under the longest
        {"m.avi", usable(5000), 900, 0, 0, nullptr, true},
        {"m.avi", usable(2) - 2, 0, 20032},
        {"m.avi", std::nullopt, 0, 20031},  // a folder not to be looked at
        {"nas/m.avi", 100 * kGiB, 0, 20031, 0, "nfs"},
        {"m.avi", 100 * kGiB, 0, 20030, vb::vbNo},
        {"m.avi", 100 * kGiB, 900, 20030, vb::vbYes},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.name) + (c.mount ? c.mount : "") + std::to_string(c.free.value_or(-1)));
        Win w(0);
        tavix::frmMain& f = w.f;
        QString mounts = QStringLiteral("/dev/sda1 / ext4 rw 0 0\n");
        if (c.mount) mounts += QStringLiteral("srv:/x %1 %2 rw 0 0\n").arg(w.box.File("nas"), c.mount);
        vb::SetDriveProbe([&] { return mounts; }, [&](const QString&) { return c.free; });
        f.ResultCount = 1;
        f.ResultDirty = c.answer != 0;
        if (c.box) w.host.AnswerMsgBox(c.answer ? c.answer : vb::vbOK);
        if (c.fromStill) f.cmdPlayStop->Click();
        const QString path = w.box.File(c.name);
        w.Save(path);
        vb::SetDriveProbe({}, {});
        EXPECT_EQ(w.BoxAt(0), !c.box ? Box()
                              : c.answer
                                  ? Box(GST(20030), GST(11032), vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2)
                                  : Warned(GST(c.box), 11033));
        EXPECT_EQ(std::tuple(f.CommandMode, f.ViewMode, f.ResultCount),
                  std::tuple(c.seconds ? CommandMode::MovieArmed : CommandMode::Idle, ViewMode::Live,
                             int(c.answer == vb::vbNo)));
        if (!c.seconds) continue;
        EXPECT_EQ(std::tuple(f.RecordSecondsLeft, f.MovieFileName, f.txtComment[0]->Text(), f.txtComment[1]->Text()),
                  std::tuple(c.seconds, path, Var().GuidanceTable[2][0], GST(20033, QString::number(c.seconds))));
        // Nothing that would stop the movie or leave it half made.
        EXPECT_TRUE(f.cmdPlayStop->Caption() == GST(11034) && f.cmdPlayStop->Enabled() && !QFileInfo::exists(path) &&
                    !f.cmdPicSave->Enabled() && !f.cmdPicLoad->Enabled() && !f.fraScale->Enabled() &&
                    !f.cmdExit->Enabled());
    }
}

}  // namespace
}  // namespace view_test
