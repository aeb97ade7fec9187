#include "Wiring.h"

#include <QApplication>

#include "App.h"
#include "CameraView.h"
#include "CommonModule.h"
#include "CrossLines.h"
#include "DataFolder.h"
#include "DialogHost.h"
#include "Graph.h"
#include "Handling.h"
#include "frmJpegQty.h"
#include "Layout.h"
#include "frmMeasureConfig.h"
#include "MeasureCommands.h"
#include "OpenImage.h"
#include "PointerFeedback.h"
#include "Proof.h"
#include "Recording.h"
#include "ResultTable.h"
#include "ResultDrawing.h"
#include "SaveImage.h"
#include "ScaleOverlay.h"
#include "Startup.h"
#include "StillDisplay.h"
#include "ViewPan.h"
#include "frmMain.h"

static void InitIconResources() { Q_INIT_RESOURCE(icons); }

namespace tavix {

void InitResources() { InitIconResources(); }

const SubsystemHooks& UpwardCalls() {
    static const SubsystemHooks calls{
        .ReadProofData = ReadProofData,
        .OpenCameraGraph = OpenCameraGraph,
        .RefusedCamera = [] { return cam::RefusedCameraDevice(GrfFilePath()); },
        .FitCameraView = FitCameraView,
        .DispImage = [](frmMain& f) { DispImage(f, false); },
        .DrawMeasureResults = DrawMeasureResults,
        .ClearResults = ClearResults,
        .SwitchViewMode = SwitchViewMode,
        .CaptureFrame = CaptureFrame,
        .EndMeasureCommand = EndMeasureCommand,
    };
    return calls;
}

void WireMain(frmMain& f) {
    f.cmdExit->OnClick = [&f] { cmdExit_Click(f); };
    f.OnQueryUnload = [&f](bool& cancel, int mode) { Form_QueryUnload(f, cancel, mode); };
    f.OnUnload = [&f](bool& cancel) { Form_Unload(f, cancel); };
    f.cboScale->OnClick = [&f] { cboScale_Click(f); };
    f.cmdPicLoad->OnClick = [&f] { cmdPicLoad_Click(f); };
    f.chkCross->OnClick = [&f] { chkCross_Click(f); };
    f.cmdPicSave->OnClick = [&f] { cmdPicSave_Click(f); };
    f.lblJpegQty->OnClick = [&f] { lblJpegQty_Click(f); };
    f.cboProof->OnClick = [&f] { cboProof_Click(f); };
    f.cmdProofConfig->OnClick = [&f] { cmdProofConfig_Click(f); };
    f.cmdMeasureConfig->OnClick = [&f] { cmdMeasureConfig_Click(f); };
    f.cmdResultClear->OnClick = [&f] { cmdResultClear_Click(f); };
    f.cmdResultRemove->OnClick = [&f] { cmdResultRemove_Click(f); };
    f.cmdResultSave->OnClick = [&f] { cmdResultSave_Click(f); };
    f.grdResult->OnSelChange = [&f] { grdResult_SelChange(f); };
    for (int16_t i = 0; i < static_cast<int16_t>(f.cmdMeasure.size()); ++i)
        f.cmdMeasure[i]->OnClick = [&f, i] { cmdMeasure_Click(f, i); };
    f.picStillView->OnMouseMove = [&f](int button, int shift, float x, float y) {
        picStillView_MouseMove(f, static_cast<int16_t>(button), static_cast<int16_t>(shift), x, y);
    };
    f.picStillView->OnMouseUp = [&f](int button, int shift, float x, float y) {
        picStillView_MouseUp(f, static_cast<int16_t>(button), static_cast<int16_t>(shift), x, y);
    };
    f.chkScale->OnClick = [&f] { chkScale_Click(f); };
    f.OnResize = [&f] { Form_Resize(f); };
    f.cmdPlayStop->OnClick = [&f] { cmdPlayStop_Click(f); };
    f.cmdPinProp->OnClick = [&f] { cmdPinProp_Click(f); };
    f.tmrLiveIcon->OnTimer = [&f] { tmrLiveIcon_Timer(f); };
    f.tmrRec->OnTimer = [&f] { tmrRec_Timer(f); };
    WirePanning(f);
    WireDesktopHabits(f);
}

int RunProgram(int16_t programType, int argc, char** argv) {
    QApplication app(argc, argv);
    static vb::QtDialogHost host;
    vb::SetHost(&host);
    InitResources();
    // Before anything reads or writes a file of the installation.
    if (const QString error = vb::UseDataFolder(); !error.isEmpty()) {
        qCritical("%s", qPrintable(error));
        host.MsgBox(FatalText + QStringLiteral("\n\n") + error, vb::vbOKOnly | vb::vbCritical, vb::App::Title(),
                    nullptr);
        return 1;
    }
    frmMain f;
    WireMain(f);
    if (!Form_Load(f, programType)) return 1;
    f.show();
    return app.exec();
}

}  // namespace tavix
