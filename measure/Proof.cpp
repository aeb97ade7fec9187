#include "Proof.h"

#include <QRegularExpression>
#include <algorithm>
#include <array>
#include <cmath>

#include "App.h"
#include "CalcModule.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "DialogHost.h"
#include "Guidance.h"
#include "MeasureCommands.h"
#include "ResultDrawing.h"
#include "ResultTable.h"
#include "ScaleOverlay.h"
#include "StillDisplay.h"
#include "TextFile.h"
#include "frmMain.h"
#include "frmProofConfig.h"

namespace tavix {

namespace {

QString ProofFilePath() { return vb::AppPathJoin(Var().ProofFileName); }

// The Value field: the whole item a decimal number (a missing leading zero and an exponent
// allowed), else error 13.
double NumberItem(const QString& item) {
    static const QRegularExpression number(
        QStringLiteral("^[ \\t]*[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eEdD][+-]?[0-9]+)?[ \\t]*$"));
    if (!number.match(item).hasMatch()) vb::Raise(vb::ErrTypeMismatch);
    return vb::Val(item);
}

// Four significant digits without an exponent, trailing zeros dropped: "0.5", "0.0001235".
QString ShortNumber(double value) {
    if (value == 0 || !std::isfinite(value)) return vb::CStr(value);
    const int decimals = std::clamp(3 - static_cast<int>(std::floor(std::log10(std::abs(value)))), 0, 9);
    QString text = QString::number(value, 'f', decimals);
    if (text.contains(QLatin1Char('.'))) {
        while (text.endsWith(QLatin1Char('0'))) text.chop(1);
        if (text.endsWith(QLatin1Char('.'))) text.chop(1);
    }
    return text;
}

QString Quoted(const QString& text) { return QLatin1Char('"') + text + QLatin1Char('"'); }

int SelectedSlot(const frmMain& f) {
    const int i = f.cboProof->ListIndex();
    return i >= 0 && i < ProofTableSize ? i : Var().CurrentProofNo;
}

// The calibration in use changed: its value is shown and a scale bar follows at once.
void ShowProof(frmMain& f) {
    const ProofRecord& proof = Var().ProofTable[Var().CurrentProofNo];
    const QString text = GST(10202, ShortNumber(proof.Value) + QLatin1Char(' ') + proof.Unit);
    f.lblProofValue->SetCaption(text);
    f.lblProofValue->Widget()->setToolTip(text);
    if (f.chkScale->Value() != 1) return;
    if (f.ViewMode == ViewMode::Live) {
        DrawScale(f);
        return;
    }
    DispImage(f, false);
    if (f.ResultCount > 0) DrawMeasureResults(f);
}

// Second point taken: the dialog, then back to idle with the outcome applied.
void ConfigureFromPoints(frmMain& f) {
    VariableDefinition& v = Var();
    const ProofRecord& proof = v.ProofTable[SelectedSlot(f)];
    frmProofConfig dlg;
    dlg.Form_Load();
    dlg.txtName->SetText(proof.Name);
    for (int i = 0; i < dlg.cboUnit->ListCount(); ++i) {
        if (dlg.cboUnit->List(i) == proof.Unit) {
            dlg.cboUnit->SetListIndex(i);
            break;
        }
    }
    const double distance = PointDistance(f.WorkPoints[1], f.WorkPoints[2]);
    dlg.txtValue->Tag = vb::CStr(distance);
    dlg.lblMeasured->SetCaption(GST(14004, QString::number(distance / v.ZoomFactor, 'f', 1)));
    // A dialog that ended some other way counts as cancelled.
    v.DialogResult = false;
    vb::Host().ShowModal(dlg, &f);

    if (f.ResultCount >= 1) {
        if (v.DialogResult) {
            ClearResults(f);
        } else {
            DrawMeasureResults(f);
        }
    }
    for (int i = 0; i < ProofTableSize && i < f.cboProof->ListCount(); ++i)
        f.cboProof->SetList(i, v.ProofTable[i].Name);
    if (v.DialogResult) ShowProof(f);
    EndMeasureCommand(f);
}

}  // namespace

bool ReadProofData() {
    return TrapLogged(QStringLiteral("ReadProofData"), [] {
        // Read whole before anything changes, so a failure leaves the table as it was.
        std::array<ProofRecord, ProofTableSize> table;
        vb::DelimitedInput in = vb::DelimitedInput::FromFile(ProofFilePath());
        for (ProofRecord& proof : table) {
            proof.Name = in.ReadItem();
            proof.Value = NumberItem(in.ReadItem());
            proof.Unit = in.ReadItem();
        }
        Var().ProofTable = std::move(table);
    });
}

int WriteProofData() {
    QStringList lines;
    for (const ProofRecord& proof : Var().ProofTable)
        lines << Quoted(proof.Name) + QLatin1Char(',') + vb::CStr(proof.Value) + QLatin1Char(',') + Quoted(proof.Unit);
    return vb::WriteTextFileSafely(ProofFilePath(), lines);
}

void cboProof_Click(frmMain& f) {
    // Static across calls, so the click raised by setting ListIndex back below is swallowed.
    static bool busy = false;
    if (busy) return;
    busy = true;
    struct Release {
        bool& flag;
        ~Release() { flag = false; }
    } release{busy};

    if (f.ResultCount > 0) {
        if (f.ResultDirty && !AskYesNo(&f, 20000, 11000)) {
            f.cboProof->SetListIndex(Var().CurrentProofNo);
            return;
        }
        // Results of two calibrations never stand side by side.
        ClearResults(f);
    }
    Var().CurrentProofNo = static_cast<int16_t>(f.cboProof->ListIndex());
    ShowProof(f);
}

void cmdProofConfig_Click(frmMain& f) {
    if (f.ResultCount >= 1 && f.ResultDirty && !AskYesNo(&f, 20060, 11060)) return;
    DisableCommandArea(f, *f.picViewCommandArea, false);
    DisableCommandArea(f, *f.picMeasureCommandArea, true);
    // The reference is measured on the bare picture.
    DispImage(f, false);
    f.WorkPoints.assign(1, Point2D{});
    f.CommandMode = CommandMode::Calibration;
    DispGuidance(f, 20);
}

void ProofMeasure_MouseUp(frmMain& f, int16_t Button, float X, float Y) {
    const bool noPoint = f.WorkPoints.size() <= 1;
    if (Button == 1) {
        f.WorkPoints.push_back(Point2D{X, Y});
        if (!noPoint) {
            ConfigureFromPoints(f);
            return;
        }
        vb::LineControl* line = f.linMeasure.Exists(1) ? f.linMeasure[1] : f.linMeasure.Load(1);
        line->SetPoints(X, Y, X, Y);
        line->SetVisible(true);
        DispGuidance(f, 21);
    } else if (Button == 2) {
        if (noPoint) {
            // Abandoned: the results hidden at the start come back.
            if (f.ResultCount >= 1) DrawMeasureResults(f);
            EndMeasureCommand(f);
            return;
        }
        DispGuidance(f, 20);
        f.WorkPoints.assign(1, Point2D{});
        if (f.linMeasure.Exists(1)) f.linMeasure.Unload(1);
    }
}

}  // namespace tavix
