#pragma once
// The two comment lines of the top strip double as the guidance of a running command.
#include <QString>
#include <cstdint>

namespace tavix {

class frmMain;

// Loads the guidance file into GuidanceTable; false (with a log line) when it could not.
bool ReadGuidanceData();

// Puts the comment aside (only on the first call in a row) and shows guidance number
// intGuidanceNo read-only; a given second line takes the place of the table's.
void DispGuidance(frmMain& f, int16_t intGuidanceNo);
void DispGuidance(frmMain& f, int16_t intGuidanceNo, const QString& vntGuidance2);

// Gives the comment back; does nothing while no guidance shows.
void HideGuidance(frmMain& f);

}  // namespace tavix
