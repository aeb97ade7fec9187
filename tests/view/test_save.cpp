// Saving the still with its comment, files that cannot be written, frmJpegQty, and arming a movie.
#include <QFileInfo>
#include <QPainter>
#include <QRandomGenerator>
#include <cmath>
#include <gtest/gtest.h>

#include "CommonModule.h"
#include "Drive.h"
#include "Graph.h"
#include "Ini.h"
#include "frmJpegQty.h"
#include "OpenImage.h"
#include "Pictures.h"
#include "ResultDrawing.h"
#include "SaveImage.h"
#include "StartedMain.h"

using Cmd = tavix::CommandMode;

using tavix::frmMain;
using tavix::GST;
using testing_support::kQuarterColors;
using testing_support::QuarterPicture;

using testing_support::Zoom;

namespace {

constexpr double kGiB = 1073741824.0;

struct SaveWindow : testing_support::StartedMain {
    explicit SaveWindow(int16_t type = 2) : StartedMain(type) {}
    void Open(const QImage& picture) {
        const QString path = box.File(QStringLiteral("opened.png"));
        ASSERT_TRUE(picture.save(path));
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
    // One result line 100 pixels either side of (0, y) drawn on the still.
    void Result(double y) {
        tavix::Var().ResultTable[1] = {1, Cmd::Distance, {{}, {-100, y}, {100, y}}, 1};
        f.ResultCount = 1;
        tavix::DrawMeasureResults(f);
    }
    void ExpectBox(int32_t text, int32_t title, const QString& with = {}) {
        ASSERT_EQ(host.Boxes.size(), 1u);
        const auto& b = host.Boxes[0];
        EXPECT_EQ(std::tuple(b.Prompt, b.Title, b.Buttons), std::tuple(with.isEmpty() ? GST(text) : GST(text, with),
                                                                       GST(title), vb::vbOKOnly | vb::vbExclamation));
    }
};

TEST(SavePicture, ByTheEndingExactlyWithTheCommentBeside) {
    const QByteArray comment = " \r\nsecond line\r\n", old = "old\r\n";
    // Only lower-case endings pick the format, a bare name takes the chosen type's; any other
    // ending is refused with nothing written. An empty comment leaves an old side file.
    const struct {
        const char* typed;
        const char* name;
        QByteArray magic;
        bool commented;
        int box;
    } cases[] = {
        {"p.bmp", "p.bmp", "BM", true, 0},   {"p.jpg", "p.jpg", "\xFF\xD8", true, 0},
        {"p", "p.bmp", "BM", true, 0},       {"p.BMP", "p.BMP", {}, true, 20038},
        {"p.JPG", "p.JPG", {}, true, 20038}, {"p.jpeg", "p.jpeg", {}, true, 20038},
        {"p.avi", "p.avi", {}, true, 20035}, {"x.AVI", "x.AVI", {}, true, 20035},
        {"p.bmp", "p.bmp", "BM", false, 0},
    };
    for (const auto& c : cases) {
        SaveWindow w;
        w.Open(QuarterPicture(120, 80));
        w.box.Write("p.txt", old);
        w.Comment(c.commented ? " " : "  ", c.commented ? "second line" : "");
        if (c.box) w.host.AnswerMsgBox(vb::vbOK);
        w.Save(w.box.File(c.typed));
        EXPECT_TRUE(w.f.cdlFile->Filter == GST(11031) && w.f.cdlFile->Flags == 34818) << c.typed;
        EXPECT_EQ(w.box.Read(c.name).left(2), c.magic) << c.typed;
        EXPECT_EQ(w.box.Read("p.txt"), c.commented && !c.box ? comment : old) << c.typed;
        EXPECT_FALSE(QFileInfo::exists(w.box.File("p..txt")) || QFileInfo::exists(w.box.File("x.txt"))) << c.typed;
        EXPECT_EQ(QFileInfo::exists(w.box.File("TempBitmap.bmp")), c.magic == "\xFF\xD8") << c.typed;
        if (c.box == 20038)
            w.ExpectBox(20038, 11035, QStringLiteral(".bmp .jpg"));
        else if (c.box)
            w.ExpectBox(c.box, 11033);
        EXPECT_TRUE((c.box != 0 || w.host.Boxes.empty()) && w.host.BusyDepth == 0) << c.typed;
    }
}

TEST(SavePicture, AtTheViewSizeOnlyWhatTheViewShows) {
    SaveWindow w;
    QImage picture = QuarterPicture(1600, 1200);
    QPainter(&picture).fillRect(780, 580, 10, 10, Qt::black);  // 20 to 10 pixels up-left of the centre
    w.Open(picture);
    Zoom(w.f, "x 2.0");
    w.Save(w.box.File("v.bmp"));
    const QImage saved(w.box.File("v.bmp"));
    ASSERT_EQ(saved.size(), QSize(w.f.picViewArea->ClientPixelWidth(), w.f.picViewArea->ClientPixelHeight()));
    const int cx = saved.width() / 2, cy = saved.height() / 2;
    EXPECT_EQ(saved.pixel(cx - 30, cy - 30), 0xFF000000u) << "the mark at twice its size";
    EXPECT_EQ(saved.pixel(cx - 15, cy - 15), kQuarterColors[0]);
    EXPECT_EQ(saved.pixel(0, 0), kQuarterColors[0]);
    EXPECT_EQ(saved.pixel(saved.width() - 1, saved.height() - 1), kQuarterColors[3]);
}

TEST(SavePicture, AtPictureSizeWithoutResults) {
    SaveWindow w(3);
    const QImage picture = QuarterPicture(300, 200);
    w.Open(picture);
    tavix::Var().Still1xSave = 1;
    Zoom(w.f, "x 2.0");
    w.f.chkMeasureSave->SetValue(1);
    w.Result(0);
    w.Save(w.box.File("one.bmp"));
    EXPECT_EQ(QImage(w.box.File("one.bmp")).convertToFormat(QImage::Format_RGB32), picture);
}

TEST(SavePicture, ResultsInThePictureCountAsSaved) {
    for (const int with : {0, 1}) {
        SaveWindow w(3);
        w.Open(QuarterPicture(300, 200));
        w.Result(-50);
        w.f.ResultDirty = true;
        w.f.chkMeasureSave->SetValue(with);
        w.Save(w.box.File("r.bmp"));
        // The line may fall a pixel either way of the centre of an odd-sized view.
        const QImage saved(w.box.File("r.bmp"));
        bool onLine = false;
        for (int dy = -1; dy <= 1; ++dy)
            onLine |= saved.pixel(saved.width() / 2 + 80, saved.height() / 2 - 50 + dy) != kQuarterColors[1];
        EXPECT_EQ(onLine, with == 1) << with;
        EXPECT_EQ(w.f.ResultDirty, with == 0) << with;
        EXPECT_NE(w.f.picStillView->GetImage().pixel(230, 50), kQuarterColors[1])
            << "the results stand on the still again";
    }
}

TEST(SavePicture, JpegQualityTellsInTheFileSize) {
    SaveWindow w;
    QImage noisy(200, 150, QImage::Format_RGB32);
    QRandomGenerator rng(3);
    for (int y = 0; y < noisy.height(); ++y)
        for (int x = 0; x < noisy.width(); ++x) noisy.setPixel(x, y, rng.generate() | 0xFF000000u);
    w.Open(noisy);
    tavix::Var().Still1xSave = 1;
    for (const int q : {10, 100}) {
        tavix::Var().JpegQty = q;
        const QString name = QStringLiteral("q%1.jpg").arg(q);
        w.Save(w.box.File(name));
        // The same bytes as when made from the temporary bitmap read back.
        const QString fromBitmap = w.box.File("from-bitmap.jpg");
        ASSERT_EQ(tavix::SaveJpeg(vb::LoadPicture(w.box.File("TempBitmap.bmp")), fromBitmap, q), 0);
        EXPECT_EQ(w.box.Read(name), w.box.Read("from-bitmap.jpg")) << q;
    }
    EXPECT_LT(2 * QFileInfo(w.box.File("q10.jpg")).size(), QFileInfo(w.box.File("q100.jpg")).size());
}

TEST(SaveJpeg, NoPictureLeavesTheTargetAsItWas) {
    testing_support::Sandbox box;
    box.Write("kept.jpg", "keep me");
    EXPECT_EQ(tavix::SaveJpeg(QImage(), box.File("kept.jpg"), 90), vb::ErrTypeMismatch);
    EXPECT_EQ(box.Read("kept.jpg"), QByteArray("keep me"));
}

TEST(SavePicture, FilesThatCannotBeWrittenAreReported) {
    const struct {
        const char* name;
        const char* temp;
        const char* failed;
    } cases[] = {
        {"gone/p.bmp", nullptr, "gone/p.bmp"},
        {"file/p.jpg", nullptr, "file/p.jpg"},  // no folder, a file
        {"old.jpg", "\\gone\\t.bmp", "gone/t.bmp"},
    };
    for (const auto& c : cases) {
        SaveWindow w;
        w.Open(QuarterPicture(60, 40));
        w.box.Write("file", "not a folder");
        w.box.Write("old.jpg", "keep me");
        if (c.temp) tavix::Var().TempBitmapFile = QString::fromLatin1(c.temp);
        w.Comment("a comment", "");
        w.host.AnswerMsgBox(vb::vbOK);
        w.Save(w.box.File(c.name));
        w.ExpectBox(20034, 11035, w.box.File(c.failed));
        EXPECT_EQ(w.box.LogTexts().last(), QStringLiteral("cmdPicSave_Click Error.(76)")) << c.name;
        EXPECT_TRUE(w.box.Read("old.jpg") == "keep me" && w.host.BusyDepth == 0) << c.name;
    }
}

TEST(SavePicture, FromTheLiveViewBackToLive) {
    SaveWindow w(1);
    ASSERT_TRUE(testing_support::WaitFor([&] { return !w.f.FilterGraph->GetCurrentImage().isNull(); }));
    w.Save(std::nullopt);
    EXPECT_TRUE(w.f.ViewMode == tavix::ViewMode::Live && w.f.cdlFile->Filter == GST(11030));
    w.Save(w.box.File("live.bmp"));
    EXPECT_TRUE(w.f.ViewMode == tavix::ViewMode::Live &&
                QImage(w.box.File("live.bmp")).width() == w.f.picViewArea->ClientPixelWidth());
    w.host.AnswerMsgBox(vb::vbOK);
    w.Save(w.box.File("gone/live.bmp"));
    EXPECT_TRUE(w.host.Boxes.size() == 1 && w.f.ViewMode == tavix::ViewMode::Live);
}

TEST(JpegQuality, OkStoresAtOnceCancelStoresNothing) {
    const struct {
        int value;
        bool ok;
        int kept;
    } cases[] = {{10, true, 10}, {100, true, 100}, {40, false, 90}};
    for (const auto& c : cases) {
        SaveWindow w;
        w.host.AnswerModal([&](vb::Form& form) {
            auto& d = static_cast<tavix::frmJpegQty&>(form);
            EXPECT_TRUE(d.Caption() == GST(12000) && d.sldJpegQty->Value() == 90);
            d.sldJpegQty->SetValue(c.value);
            (c.ok ? d.cmdOK : d.cmdCancel)->Click();
        });
        w.f.lblJpegQty->OnClick();
        QString ini;
        vb::GetPrivateProfileString("FILE", "JPEGQTY", "", ini, 16, w.box.File("Tavix.Ini"));
        const QString kept = QString::number(c.kept);
        EXPECT_TRUE(tavix::Var().JpegQty == c.kept && ini == kept && w.f.lblJpegQty->Caption() == kept) << c.value;
    }
}

// A window whose target drive is whatever the test says, with one result to clear.
struct MovieWindow : SaveWindow {
    QString mounts = QStringLiteral("/dev/sda1 / ext4 rw 0 0\n");
    std::optional<double> free = 100 * kGiB;
    explicit MovieWindow(int16_t type = 0) : SaveWindow(type) {
        if (f.FilterGraph) {
            EXPECT_TRUE(testing_support::WaitFor([this] { return !f.FilterGraph->GetCurrentImage().isNull(); }));
        }
        vb::SetDriveProbe([this] { return mounts; }, [this](const QString&) { return free; });
        f.ResultCount = 1;
    }
    ~MovieWindow() { vb::SetDriveProbe({}, {}); }
    // Free bytes giving at least usable GiB.
    static double ForUsable(double usable) { return std::ceil(usable / 0.7 * kGiB) + 1; }
};

TEST(Movie, LimitFollowsTheFreeSpace) {
    const struct {
        double usable;
        int seconds;
    } cases[] = {{2, 60}, {3.9, 60}, {4, 120}, {29.9, 840}, {30, 900}, {31, 900}, {5000, 900}};
    for (const auto& c : cases) {
        MovieWindow w;
        w.free = MovieWindow::ForUsable(c.usable);
        w.Save(w.box.File("m.Avi"));
        EXPECT_TRUE(w.f.RecordSecondsLeft == c.seconds && w.f.CommandMode == tavix::CommandMode::MovieArmed)
            << c.usable;
        EXPECT_EQ(w.f.txtComment[1]->Text(), GST(20033, QString::number(c.seconds)));
    }
}

TEST(Movie, ArmedFromTheStillOrTheLiveView) {
    for (const bool fromStill : {false, true}) {
        MovieWindow w;
        frmMain& f = w.f;
        if (fromStill) f.cmdPlayStop->Click();
        w.Save(w.box.File("movie.avi"));
        EXPECT_TRUE(f.ViewMode == tavix::ViewMode::Live && f.CommandMode == tavix::CommandMode::MovieArmed &&
                    f.MovieFileName == w.box.File("movie.avi"))
            << fromStill;
        EXPECT_TRUE(f.cmdPlayStop->Caption() == GST(11034) && f.cmdPlayStop->Enabled());
        EXPECT_EQ(f.cmdPlayStop->GetPicture().cacheKey(), f.imgRecIcon[0]->GetPicture().cacheKey());
        for (vb::Control* c : std::initializer_list<vb::Control*>{
                 f.cmdPicSave, f.cmdPicLoad, f.fraScale, f.fraSaveOption, f.chkScale, f.cmdMeasureConfig, f.cmdExit})
            EXPECT_FALSE(c->Enabled()) << c->Name().toStdString();
        EXPECT_EQ(f.txtComment[0]->Text(), tavix::Var().GuidanceTable[2][0]);
        EXPECT_TRUE(w.f.ResultCount == 0 && !QFileInfo::exists(w.box.File("movie.avi")));
    }
}

TEST(Movie, RefusedTargetsLeaveItUnarmedButTheResultsGone) {
    const struct {
        const char* name;
        const char* mount;
        std::optional<double> free;
        int text;
    } cases[] = {
        {"nas/m.avi", "nfs", 100 * kGiB, 20031},
        {"nas/m.avi", "cifs", 100 * kGiB, 20031},
        {"nas/m.avi", "fuse.sshfs", 100 * kGiB, 20031},
        {"//server/share/m.avi", nullptr, 100 * kGiB, 20031},
        {"m.avi", nullptr, std::nullopt, 20031},  // a folder not to be looked at
        {"m.avi", nullptr, MovieWindow::ForUsable(2) - 2, 20032},
    };
    for (const auto& c : cases) {
        MovieWindow w;
        if (c.mount) w.mounts += QStringLiteral("srv:/x %1 %2 rw 0 0\n").arg(w.box.File("nas"), c.mount);
        w.free = c.free;
        w.host.AnswerMsgBox(vb::vbOK);
        const QString name = QString::fromLatin1(c.name);
        w.Save(name.startsWith("//") ? name : w.box.File(name));
        w.ExpectBox(c.text, 11033);
        EXPECT_TRUE(w.f.CommandMode == tavix::CommandMode::Idle && w.f.ResultCount == 0 &&
                    w.f.ViewMode == tavix::ViewMode::Live)
            << c.name << c.mount;
    }
}

TEST(Movie, UnsavedResultsAskFirst) {
    for (const int answer : {vb::vbNo, vb::vbYes}) {
        MovieWindow w;
        w.f.ResultDirty = true;
        w.host.AnswerMsgBox(answer);
        w.Save(w.box.File("m.avi"));
        ASSERT_EQ(w.host.Boxes.size(), 1u);
        const auto& b = w.host.Boxes[0];
        EXPECT_EQ(std::tuple(b.Prompt, b.Title, b.Buttons),
                  std::tuple(GST(20030), GST(11032), vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2));
        const int yes = answer == vb::vbYes;
        EXPECT_TRUE(w.f.ResultCount == 1 - yes && int(w.f.CommandMode) == yes && w.f.ViewMode == tavix::ViewMode::Live)
            << answer;
    }
}

}  // namespace
