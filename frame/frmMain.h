#pragma once
// The main window: its controls by their design names, the fields of a run, and the
// hooks through which the frame and the view reach the subsystems built on top of them.
#include <QString>
#include <array>
#include <memory>
#include <vector>

#include "Controls.h"
#include "Form.h"
#include "PictureBox.h"
#include "VariableDefinition.h"

namespace tavix {

namespace cam {
class FilterGraph;
class FilterInfo;
struct PinInfo;
class GraphFileStore;
}  // namespace cam

class frmMain;

// The calls from frame/ and view/ up into the subsystems they cannot link. app/, where
// everything meets, fills the one table; every frmMain holds it from its construction on.
struct SubsystemHooks {
    // Reads the calibration file; false when it could not (it has logged why).
    bool (*ReadProofData)();
    // Loads the camera graph from its file, or builds and saves it.
    enum class GraphResult { Ready, NoCameraFilter, NoOutputPin };
    GraphResult (*OpenCameraGraph)(frmMain&);
    // The camera node this user may not open (not in its group); empty when none is.
    QString (*RefusedCamera)();
    // Sizes the live picture and runs the graph.
    void (*FitCameraView)(frmMain&);
    // Repaints the still at the current size (used by the layout).
    void (*DispImage)(frmMain&);
    // Draws all results on the still.
    void (*DrawMeasureResults)(frmMain&);
    // Empties the result list and repaints the still.
    void (*ClearResults)(frmMain&);
    // Turns the view to the still (true: with a frame taken from the camera) or back to live.
    void (*SwitchViewMode)(frmMain&, bool);
    // Takes the camera's newest frame into picTempView at the camera's size.
    void (*CaptureFrame)(frmMain&);
    // Ends the running measure command.
    void (*EndMeasureCommand)(frmMain&);
};

// Defined in app/Wiring.cpp.
const SubsystemHooks& UpwardCalls();

class frmMain : public vb::Form {
public:
    frmMain();
    ~frmMain() override;

    const SubsystemHooks& Hooks = UpwardCalls();

    // Top strip.
    vb::PictureBox* picViewCommandArea;
    vb::CommandButton* cmdPlayStop;
    vb::CommandButton* cmdPicLoad;
    vb::CommandButton* cmdPicSave;
    vb::Frame* fraSaveOption;
    vb::Frame* fraJpegQty;
    vb::Label* lblJpegQtyCap;
    vb::Label* lblJpegQty;
    vb::CheckBox* chkMeasureSave;
    vb::Frame* fraScale;
    vb::Label* lblScale;
    vb::ComboBox* cboScale;
    vb::CommandButton* cmdPinProp;
    std::array<vb::TextBox*, 2> txtComment{};
    vb::CommandButton* cmdExit;

    // Measure panel.
    vb::PictureBox* picMeasureCommandArea;
    std::array<vb::Label*, 3> lblCommandCap{};
    vb::LineControl* Line1_0;
    vb::LineControl* Line1_2;
    vb::CommandButton* cmdMeasureConfig;
    std::array<vb::CommandButton*, 7> cmdMeasure{};
    vb::CheckBox* chkScale;
    vb::CheckBox* chkCross;
    vb::ComboBox* cboProof;
    vb::Label* lblProofValue;  // what one pixel of the calibration in use measures
    vb::CommandButton* cmdProofConfig;
    vb::CommandButton* cmdResultSave;
    vb::CommandButton* cmdResultRemove;
    vb::CommandButton* cmdResultClear;
    vb::FlexGrid* grdResult;

    // View area.
    vb::PictureBox* picViewArea;
    vb::PictureBox* picCameraView;
    vb::PictureBox* picStillView;
    vb::ControlArray<vb::Shape> shaMeasure;
    vb::ControlArray<vb::LineControl> linMeasure;
    vb::PictureBox* picTempView;
    vb::PictureBox* picStillSave;
    vb::PictureBox* picJpegConv;
    std::array<vb::PictureBox*, 4> picScaleLine{};
    vb::PictureBox* picScaleSize;
    std::array<vb::PictureBox*, 2> picCrossLineV{};
    std::array<vb::PictureBox*, 2> picCrossLineH{};
    vb::Timer* tmrRec;
    vb::Timer* tmrLiveIcon;
    vb::CommonDialog* cdlFile;
    std::array<vb::Image*, 2> img2PointIcon{};
    std::array<vb::Image*, 2> imgAngleIcon{};
    std::array<vb::Image*, 2> imgCrossIcon{};
    std::array<vb::Image*, 2> imgRecIcon{};
    std::array<vb::Image*, 3> imgCameraIcon{};

    // Fields of the run.
    tavix::ViewMode ViewMode = tavix::ViewMode::Live;
    tavix::CommandMode CommandMode = tavix::CommandMode::Idle;
    int16_t IconPhase = 0;
    tavix::ViewMode CrossLineResume = tavix::ViewMode::Live;
    int16_t ResultCount = 0;
    std::vector<Point2D> WorkPoints{Point2D{}};
    QString ResultFormat;
    bool ResultDirty = false;
    std::array<QString, 2> SavedComment{};
    QString MovieFileName;
    int16_t RecordSecondsLeft = 0;
    // The picture point at the centre of the view, in picture pixels from the picture's
    // centre; 0, 0 is the picture centred. A picture of another size starts centred.
    struct PanState {
        double X = 0, Y = 0;
        double PictureWidth = 0, PictureHeight = 0;
    } Pan;

    // The camera graph (camera variants only). The filter and pin belong to the graph.
    std::shared_ptr<cam::FilterGraph> FilterGraph;
    cam::FilterInfo* CameraFilter = nullptr;
    const cam::PinInfo* CameraOutputPin = nullptr;
    std::shared_ptr<cam::GraphFileStore> GraphFileStore;
};

}  // namespace tavix
