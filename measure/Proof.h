#pragma once
// The calibration table: the proof file, the choice of calibration, and the calibration measure.
#include <cstdint>

namespace tavix {

class frmMain;

// Loads the ten calibrations of the proof file; false (with a log line) when it could not.
bool ReadProofData();

// Rewrites the proof file whole from ProofTable through a file beside it, so it is never left
// half-written. 0, or the error number when it could not (76 folder gone, 75 not writable, 57 other).
int WriteProofData();

// The user chose another calibration in cboProof.
void cboProof_Click(frmMain& f);

// Starts a calibration measure by two clicks on the still.
void cmdProofConfig_Click(frmMain& f);

// A mouse button released on the still while the calibration measure runs.
void ProofMeasure_MouseUp(frmMain& f, int16_t Button, float X, float Y);

}  // namespace tavix
