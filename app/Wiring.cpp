#include "Wiring.h"

#include <QApplication>

#include "DialogHost.h"
#include "Layout.h"
#include "OpenImage.h"
#include "Startup.h"
#include "StillDisplay.h"
#include "frmMain.h"

static void InitIconResources() { Q_INIT_RESOURCE(icons); }

namespace tavix {

void InitResources() { InitIconResources(); }

void WireMain(frmMain& f) {
    f.cmdExit->OnClick = [&f] { cmdExit_Click(f); };
    f.OnQueryUnload = [&f](bool& cancel, int mode) { Form_QueryUnload(f, cancel, mode); };
    f.OnUnload = [&f](bool& cancel) { Form_Unload(f, cancel); };
    f.cboScale->OnClick = [&f] { cboScale_Click(f); };
    f.cmdPicLoad->OnClick = [&f] { cmdPicLoad_Click(f); };
    f.Hooks.DispImage = [](frmMain& form) { DispImage(form, false); };
    f.OnResize = [&f] { Form_Resize(f); };
}

int RunProgram(int16_t programType, int argc, char** argv) {
    QApplication app(argc, argv);
    static vb::QtDialogHost host;
    vb::SetHost(&host);
    InitResources();
    frmMain f;
    WireMain(f);
    if (!Form_Load(f, programType)) return 1;
    f.show();
    return app.exec();
}

}  // namespace tavix
