// Opening a picture file with its comment, and every way it can go otherwise.
#include <QBuffer>
#include <QFile>
#include <gtest/gtest.h>

#include "CommonModule.h"
#include "Graph.h"
#include "OpenImage.h"
#include "StartedMain.h"

using testing_support::kQuarterColors;
using testing_support::Near;
using testing_support::QuarterPicture;

namespace {

struct OpenWindow : testing_support::StartedMain {
    explicit OpenWindow(int16_t type = 2) : StartedMain(type) {}
    QString Picture(const QString& name, int w, int h) {
        const QString path = box.File(name);
        EXPECT_TRUE(QuarterPicture(w, h).save(path, nullptr, 95)) << name.toStdString();
        return path;
    }
    void Open(const std::optional<QString>& path) {
        host.AnswerFile(path);
        tavix::cmdPicLoad_Click(f);
    }
    QRgb Centre(int dx, int dy) const {
        const vb::PictureBox& still = *f.picStillView;
        const QRect r = still.CanvasRect();
        return still.GetImage().pixel(r.width() / 2 + dx, r.height() / 2 + dy);
    }
    void SetComment(const char* a, const char* b) {
        f.txtComment[0]->SetText(QString::fromUtf8(a));
        f.txtComment[1]->SetText(QString::fromUtf8(b));
    }
    void ExpectComment(const char* a, const char* b, const char* what) {
        EXPECT_EQ(f.txtComment[0]->Text(), QString::fromUtf8(a)) << what;
        EXPECT_EQ(f.txtComment[1]->Text(), QString::fromUtf8(b)) << what;
    }
};

TEST(OpenPicture, BmpAndJpegShowAtOneWithTheirComment) {
    const struct {
        const char* file;
        int tolerance;
    } cases[] = {{"a.bmp", 0}, {"b.jpg", 24}};
    for (const auto& c : cases) {
        OpenWindow w;
        const QString path = w.Picture(QString::fromLatin1(c.file), 300, 200);
        w.box.Write(QString::fromLatin1(c.file).chopped(4) + QStringLiteral(".txt"),
                    "first line\r\n\x91\xe6\x93\xf1\x8d\x73\r\nthird line\r\n");
        w.f.cboScale->SetListIndex(15);  // x 2.0 before opening
        w.Open(path);
        EXPECT_EQ(w.f.cdlFile->Filter, tavix::GST(11021));
        EXPECT_EQ(w.f.cdlFile->Flags, 4100);
        EXPECT_EQ(w.f.cboScale->Text(), QStringLiteral("x 1.0")) << c.file;
        EXPECT_DOUBLE_EQ(tavix::Var().ZoomFactor, 1.0);
        EXPECT_EQ(w.f.picTempView->GetPicture().size(), QSize(300, 200)) << c.file;
        EXPECT_DOUBLE_EQ(w.f.picStillView->ScaleWidth(), 300) << c.file;
        EXPECT_TRUE(Near(w.Centre(-50, -50), kQuarterColors[0], c.tolerance)) << c.file;
        EXPECT_TRUE(Near(w.Centre(50, 50), kQuarterColors[3], c.tolerance)) << c.file;
        w.ExpectComment("first line", "第二行", c.file);
        EXPECT_EQ(w.f.ViewMode, tavix::ViewMode::Still);
    }
}

TEST(OpenPicture, SideFileCases) {
    const struct {
        const char* what;
        const char* picture;
        const char* side;
        QByteArray text;
        const char *a, *b;
    } cases[] = {
        {"one line", "p.bmp", "p.txt", "only\r\n", "only", ""},
        {"empty", "p.bmp", "p.txt", "", "", ""},
        {"none: the comment of before goes", "p.bmp", nullptr, {}, "", ""},
        {"four-letter extension: exactly four characters are cut", "p.jpeg", "p..txt", "four\r\nletters", "four",
         "letters"},
        {"a side file for the other name is not read", "p.jpeg", "p.txt", "wrong\r\n", "", ""},
    };
    for (const auto& c : cases) {
        OpenWindow w;
        const QString path = w.Picture(QString::fromLatin1(c.picture), 20, 20);
        if (c.side) w.box.Write(QString::fromLatin1(c.side), c.text);
        w.SetComment("old one", "old two");
        w.Open(path);
        w.ExpectComment(c.a, c.b, c.what);
        EXPECT_TRUE(w.host.Boxes.empty()) << c.what;
    }
}

// A JPEG of a gradient, cut to half: Qt's reader would fill the rest with grey.
QByteArray CutJpeg() {
    QImage picture(400, 300, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) picture.setPixel(x, y, qRgb(x, y, x ^ y));
    QByteArray bytes;
    QBuffer out(&bytes);
    out.open(QIODevice::WriteOnly);
    EXPECT_TRUE(picture.save(&out, "jpeg", 90));
    return bytes.left(bytes.size() / 2);
}

TEST(OpenPicture, UndecodableFilesLeaveEverythingAsItWas) {
    const struct {
        const char* what;
        const char* file;
        QByteArray bytes;
        int error;
    } cases[] = {
        {"not a picture", "x.bmp", "this is text, not a bitmap", 481},
        {"a 0-byte file", "y.jpg", "", 481},
        {"a file that vanished", "gone.bmp", {}, 53},
        {"a cut JPEG", "cut.jpg", CutJpeg(), 481},
    };
    for (const auto& c : cases) {
        OpenWindow w;
        w.Open(w.Picture(QStringLiteral("good.bmp"), 300, 200));
        w.f.cboScale->SetListIndex(15);
        w.SetComment("kept", "too");
        tavix::Var().ResultTable[1].Points = {{}, {20, 10}};
        w.f.ResultCount = 1;
        w.f.ResultDirty = true;
        const QString path = w.box.File(QString::fromLatin1(c.file));
        if (c.error != 53) w.box.Write(QString::fromLatin1(c.file), c.bytes);
        w.host.AnswerMsgBox(vb::vbYes);  // discard the unsaved results
        w.host.AnswerMsgBox(vb::vbOK);
        w.Open(path);
        ASSERT_EQ(w.host.Boxes.size(), 2u) << c.what;
        EXPECT_EQ(w.host.Boxes[1].Prompt, tavix::GST(20022, path)) << c.what;
        EXPECT_EQ(w.host.Boxes[1].Title, tavix::GST(11022)) << c.what;
        EXPECT_EQ(w.host.Boxes[1].Buttons, vb::vbOKOnly | vb::vbExclamation) << c.what;
        EXPECT_EQ(w.box.LogTexts().last(), QStringLiteral("cmdPicLoad_Click LoadPicture Error.(%1)").arg(c.error));
        EXPECT_EQ(w.f.picTempView->GetPicture().size(), QSize(300, 200)) << c.what;
        EXPECT_EQ(w.f.cboScale->Text(), QStringLiteral("x 1.0")) << "the zoom set before the load stays";
        EXPECT_EQ(w.Centre(-50, -50), kQuarterColors[0]) << "the old picture, shown at 1.0";
        EXPECT_EQ(w.f.ResultCount, 1);
        EXPECT_TRUE(w.f.ResultDirty);
        EXPECT_DOUBLE_EQ(tavix::Var().ResultTable[1].Points[1].X, 10) << "points follow the zoom";
        w.ExpectComment("kept", "too", c.what);
    }
}

TEST(OpenPicture, FailedFromTheLiveViewBackToLive) {
    OpenWindow w(1);
    ASSERT_TRUE(testing_support::WaitFor([&] { return !w.f.FilterGraph->GetCurrentImage().isNull(); }));
    w.box.Write("bad.jpg", CutJpeg());
    w.host.AnswerMsgBox(vb::vbOK);
    w.Open(w.box.File("bad.jpg"));
    EXPECT_TRUE(w.host.Boxes.size() == 1 && w.f.ViewMode == tavix::ViewMode::Live);
}

}  // namespace
