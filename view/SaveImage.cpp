#include "SaveImage.h"

#include <QImageWriter>
#include <algorithm>
#include <cmath>
#include <functional>
#include <thread>

#include "App.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "DialogHost.h"
#include "Drive.h"
#include "Guidance.h"
#include "Pictures.h"
#include "SafeFile.h"
#include "StillDisplay.h"
#include "TextFile.h"
#include "frmMain.h"
#include "ViewGeometry.h"

namespace tavix {

namespace {

constexpr int kSaveFlags = vb::cdlOFNOverwritePrompt | vb::cdlOFNPathMustExist | vb::cdlOFNNoReadOnlyReturn;
constexpr double kBytesPerGiB = 1073741824.0;
// Only this share of the free space is counted on, the rest is left to the system.
constexpr double kUsableShare = 0.7;
// One minute of movie for every 2 usable GiB, a quarter of an hour at most.
constexpr double kGiBPerMinute = 2;
constexpr double kLeastUsableGiB = 2;
constexpr double kLongMovieGiB = 30;
constexpr int16_t kLongestMovieSeconds = 900;

const QString kRoutine = QStringLiteral("cmdPicSave_Click");

void SwitchView(frmMain& f) { f.Hooks.SwitchViewMode(f, true); }

void Refuse(frmMain& f, int32_t text, int32_t title) {
    vb::Host().MsgBox(GST(text), vb::vbOKOnly | vb::vbExclamation, GST(title), &f);
}

// Blank as the comment rules see it: nothing but spaces.
bool IsBlank(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c == u' '; });
}

// SaveJpeg, which puts the file in place only if mayCommit, asked once the picture is
// encoded, agrees; otherwise the target stays as it was and 0 is given.
int32_t WriteJpeg(const QImage& picture, const QString& fileName, uint8_t quality,
                  const std::function<bool()>& mayCommit) {
    if (picture.isNull()) return vb::ErrTypeMismatch;
    vb::SafeFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) return file.ErrorNumber();
    QImageWriter writer(&file, "jpeg");
    writer.setQuality(std::min<int>(quality, 100));
    if (!writer.write(picture)) {
        file.cancel();
        return file.ErrorNumber() != 0 ? file.ErrorNumber() : kJpegEncoderFailed;
    }
    if (!mayCommit()) {
        file.cancel();
        return 0;
    }
    return file.commit() ? 0 : file.ErrorNumber();
}

// The first file that could not be written; the user hears of that one.
struct WriteFailure {
    int Number = 0;
    QString Path;
    void Note(int number, const QString& path) {
        WriteLog(kRoutine + QStringLiteral(" Error.(%1)").arg(number));
        if (Number == 0) {
            Number = number;
            Path = path;
        }
    }
};

// What the view area shows of the still, at the displayed zoom.
QImage VisiblePart(frmMain& f) {
    vb::PictureBox& save = *f.picStillSave;
    const vb::PictureBox& still = *f.picStillView;
    save.Cls();
    save.SetWidth(f.picViewArea->ScaleWidth());
    save.SetHeight(f.picViewArea->ScaleHeight());
    // The still's image holds only its part inside the view area, so its source origin is
    // counted from where that part begins.
    const QRect canvas = still.CanvasRect();
    const double sx = -std::round(geometry::PixelsX(still.Left())) - canvas.x();
    const double sy = -std::round(geometry::PixelsY(still.Top())) - canvas.y();
    save.PaintPicture(still.GetImage(), 0, 0, save.ScaleWidth(), save.ScaleHeight(), sx, sy, save.ScaleWidth(),
                      save.ScaleHeight());
    return save.GetImage();
}

// Writes the picture by the ending of name; true when a picture file was written.
bool WritePicture(frmMain& f, const QImage& source, const QString& name, WriteFailure& failure) {
    const VariableDefinition& v = Var();
    if (name.endsWith(QLatin1String(".bmp"))) {
        const int err = vb::Trap([&] { vb::SavePicture(source, name); });
        if (err != 0) failure.Note(err, name);
        return err == 0;
    }

    // The JPEG is made from the pixels the temporary bitmap holds, as it would be from the
    // bitmap read back; the bitmap is written meanwhile. Only this program reads that file, so
    // it need not be synced.
    const QString temp = vb::AppPathJoin(v.TempBitmapFile);
    QImage picture;
    if (const int err = vb::Trap([&] { picture = vb::AsReadBack(source); }); err != 0) {
        failure.Note(err, temp);
        return false;
    }
    int bitmapError = 0;
    std::thread bitmap([&] { bitmapError = vb::Trap([&] { vb::SavePicture(picture, temp, true); }); });
    const auto bitmapWritten = [&] {
        if (bitmap.joinable()) bitmap.join();
        return bitmapError == 0;
    };
    struct Join {
        const std::function<bool()> wait;
        ~Join() { wait(); }
    } join{bitmapWritten};
    f.picJpegConv->SetPicture(picture);
    const int32_t status = WriteJpeg(f.picJpegConv->GetPicture(), name, v.JpegQty, bitmapWritten);
    bitmapWritten();
    // The picture is only held while it is encoded.
    f.picJpegConv->SetPicture(QImage());
    if (bitmapError != 0) {
        // As if the bitmap had come first: without it there is no JPEG.
        failure.Note(bitmapError, temp);
        return false;
    }
    // An encoder that refuses the picture passes quietly; a file that cannot be written does not.
    if (status != 0 && status != kJpegEncoderFailed && status != vb::ErrTypeMismatch) failure.Note(status, name);
    return status == 0;
}

void WriteComment(frmMain& f, const QString& name, WriteFailure& failure) {
    const QString first = f.txtComment[0]->Text(), second = f.txtComment[1]->Text();
    if (IsBlank(first) && IsBlank(second)) return;
    // Exactly four characters are cut, whatever the ending was.
    const QString path = name.left(std::max<qsizetype>(0, name.size() - 4)) + QStringLiteral(".txt");
    if (const int err = vb::WriteTextFileSafely(path, {first, second}); err != 0) failure.Note(err, path);
}

void SaveStill(frmMain& f, const QString& name, ViewMode startView) {
    const VariableDefinition& v = Var();
    vb::Host().SetBusy(true);
    const bool withResults = f.chkMeasureSave->Value() == 1;
    if (!withResults) DispImage(f, false);

    WriteFailure failure;
    QImage source;
    const int err = vb::Trap([&] { source = v.Still1xSave == 0 ? VisiblePart(f) : f.picTempView->GetImage(); });
    bool written = false;
    if (err != 0)
        failure.Note(err, name);
    else
        written = WritePicture(f, source, name, failure);
    source = QImage();

    WriteComment(f, name, failure);

    if (!withResults) {
        f.Hooks.DrawMeasureResults(f);
    } else if (f.ResultCount > 0 && written) {
        // A picture with the results in it counts as saving them.
        f.ResultDirty = false;
    }
    vb::Host().SetBusy(false);
    if (failure.Number != 0)
        vb::Host().MsgBox(GST(20034, failure.Path), vb::vbOKOnly | vb::vbExclamation, GST(11035), &f);
    if (startView == ViewMode::Live) SwitchView(f);
}

int16_t RecordSeconds(double usable) {
    if (usable > kLongMovieGiB) return kLongestMovieSeconds;
    return static_cast<int16_t>(60 * std::floor(usable / kGiBPerMinute));
}

void ArmMovie(frmMain& f, const QString& name, ViewMode startView) {
    // The frozen frame is not wanted for a movie.
    if (startView == ViewMode::Live) SwitchView(f);
    if (f.ResultDirty && !AskYesNo(&f, 20030, 11032)) return;
    f.Hooks.ClearResults(f);

    double free = 0;
    bool fixedDisk = false;
    const int err = vb::Trap([&] {
        fixedDisk = vb::IsFixedDisk(name);
        if (fixedDisk) free = vb::FreeSpace(name);
    });
    if (err != 0) WriteLog(kRoutine + QStringLiteral(" Error.(%1)").arg(err));
    // A drive that cannot be looked at is no drive to record to either.
    if (!fixedDisk || err != 0) return Refuse(f, 20031, 11033);
    const double usable = free / kBytesPerGiB * kUsableShare;
    if (usable < kLeastUsableGiB) return Refuse(f, 20032, 11033);

    if (startView == ViewMode::Still) SwitchView(f);
    f.RecordSecondsLeft = RecordSeconds(usable);
    f.MovieFileName = name;
    DisableCommandArea(f, *f.picViewCommandArea, true);
    DisableCommandArea(f, *f.picMeasureCommandArea, true);
    f.cmdPlayStop->SetCaption(GST(11034));
    f.cmdPlayStop->SetPicture(f.imgRecIcon[0]->GetPicture());
    f.cmdPlayStop->SetEnabled(true);
    f.CommandMode = CommandMode::MovieArmed;
    DispGuidance(f, 2, GST(20033, static_cast<double>(f.RecordSecondsLeft)));
}

}  // namespace

int32_t SaveJpeg(const QImage& picture, const QString& fileName, uint8_t quality) {
    return WriteJpeg(picture, fileName, quality, [] { return true; });
}

void cmdPicSave_Click(frmMain& f) {
    const VariableDefinition& v = Var();
    const ViewMode startView = f.ViewMode;
    if (startView == ViewMode::Live) SwitchView(f);

    const bool stillVariant = v.ProgramType == 2 || v.ProgramType == 3;
    f.cdlFile->FileName.clear();
    f.cdlFile->Filter = GST(stillVariant ? 11031 : 11030);
    f.cdlFile->Flags = kSaveFlags;
    f.cdlFile->ShowSave();
    const QString name = f.cdlFile->FileName;
    if (name.isEmpty()) {
        if (startView == ViewMode::Live) SwitchView(f);
        return;
    }

    if (name.right(3).compare(QLatin1String("AVI"), Qt::CaseInsensitive) == 0) {
        // Without a camera there is nothing to record.
        if (stillVariant) return Refuse(f, 20035, 11033);
        return ArmMovie(f, name, startView);
    }
    const QString ending = name.right(4);
    if (ending != QLatin1String(".bmp") && ending != QLatin1String(".jpg")) {
        // Nothing at all is written: the side file's name, cut by four characters, could hit
        // an unrelated file.
        const QString accepted = stillVariant ? QStringLiteral(".bmp .jpg") : QStringLiteral(".bmp .jpg .avi");
        vb::Host().MsgBox(GST(20038, accepted), vb::vbOKOnly | vb::vbExclamation, GST(11035), &f);
        if (startView == ViewMode::Live) SwitchView(f);
        return;
    }
    SaveStill(f, name, startView);
}

}  // namespace tavix
