#include "OpenImage.h"

#include "CommandArea.h"
#include "CommonModule.h"
#include "DialogHost.h"
#include "Pictures.h"
#include "StillDisplay.h"
#include "TextFile.h"
#include "frmMain.h"
#include "ViewGeometry.h"

namespace tavix {

namespace {

constexpr int kFileMustExistHideReadOnly = 4100;

// The comment lines kept beside the picture: its path with the last four characters
// (the extension and its dot, for three letters) replaced.
QString CommentFilePath(const QString& picturePath) { return picturePath.chopped(4) + QStringLiteral(".txt"); }

void ReadComment(frmMain& f, const QString& picturePath) {
    const QString path = CommentFilePath(picturePath);
    QStringList lines;
    if (vb::FileExists(path)) {
        const int err = vb::Trap([&] { lines = vb::ReadTextLines(path); });
        if (err != 0) {
            WriteLog(QStringLiteral("cmdPicLoad_Click Comment Error.(%1)").arg(err));
            vb::Host().MsgBox(GST(20023, path), vb::vbOKOnly | vb::vbExclamation, GST(11022), &f);
            lines.clear();
        }
    }
    for (int i = 0; i < 2; ++i) f.txtComment[i]->SetText(i < lines.size() ? lines[i] : QString());
}

}  // namespace

void cmdPicLoad_Click(frmMain& f) {
    VariableDefinition& v = Var();
    if (f.ResultCount >= 1 && f.ResultDirty && !AskYesNo(&f, 20020, 11020)) return;

    f.cdlFile->FileName.clear();
    f.cdlFile->Filter = GST(11021);
    f.cdlFile->Flags = kFileMustExistHideReadOnly;
    f.cdlFile->ShowOpen();
    const QString path = f.cdlFile->FileName;
    if (path.isEmpty()) return;

    const bool fromLive = f.ViewMode == ViewMode::Live;
    if (fromLive) f.Hooks.SwitchViewMode(f, true);
    if (v.ProgramType == 3 && !f.cmdPicSave->Enabled()) {
        // The first picture of a still measure run opens the measure panel.
        EnableCommandArea(f, *f.picMeasureCommandArea);
        f.cmdPicSave->SetEnabled(true);
    }

    // The zoom first, so that selecting its item finds nothing to rescale.
    const double oldZoom = geometry::Zoom();
    v.ZoomFactor = 1.0;
    SelectZoomOne(f);

    // Decoded aside, so a file that is no picture leaves the one shown before in place.
    QImage picture;
    const int err = vb::Trap([&] { picture = vb::LoadPicture(path); });
    if (err != 0) {
        WriteLog(QStringLiteral("cmdPicLoad_Click LoadPicture Error.(%1)").arg(err));
        // The old picture stays, now at the zoom the list shows.
        RescaleResults(f, 1.0 / oldZoom);
        DispImage(f, false);
        if (f.ResultCount > 0) f.Hooks.DrawMeasureResults(f);
        vb::Host().MsgBox(GST(20022, path), vb::vbOKOnly | vb::vbExclamation, GST(11022), &f);
        // The frame frozen for the picture is not wanted: the camera runs on.
        if (fromLive && f.ViewMode == ViewMode::Still) f.Hooks.SwitchViewMode(f, true);
        return;
    }
    f.picTempView->Cls();
    f.picTempView->SetPicture(picture);
    picture = QImage();

    ReadComment(f, path);

    if (f.ResultCount < 1)
        DispImage(f, false);
    else
        f.Hooks.ClearResults(f);
}

}  // namespace tavix
