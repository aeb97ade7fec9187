#include "MeasureResults.h"

#include "CommonModule.h"
#include "DialogHost.h"
#include "MeasureCommand.h"
#include "MeasureCommands.h"
#include "ResultDrawing.h"
#include "frmMain.h"

namespace tavix {

static_assert(MaxResultRows < ResultTableSize, "a grid row needs its result slot");

namespace {

void Finish(frmMain& f) {
    DrawMeasureResults(f);
    f.ResultDirty = true;
}

// Undone before the box, so nothing repainted while the box is up sees the unwritten slot.
void Fail(frmMain& f, int32_t text, bool redraw) {
    f.ResultCount -= 1;
    vb::Host().MsgBox(GST(text), vb::vbOKOnly | vb::vbCritical, GST(11134), &f);
    if (redraw) Finish(f);
}

}  // namespace

void AddMeasureResult(frmMain& f) {
    const MeasureCommand* command = FindMeasure(f.CommandMode);
    if (!command) return;
    const VariableDefinition& v = Var();
    const ProofRecord& proof = v.ProofTable[v.CurrentProofNo];
    const int rows = command->rows(Points(f));
    if (rows == 0) return;
    if (f.ResultCount + rows > MaxResultRows) {
        RefuseFullResultList(f);
        return;
    }
    f.ResultCount += 1;
    const Listed listed = command->list(f, {(1 / v.ZoomFactor) * proof.Value, proof.Unit});
    if (listed.failure != 0) return Fail(f, listed.failure, listed.redraw);
    Finish(f);
}

}  // namespace tavix
