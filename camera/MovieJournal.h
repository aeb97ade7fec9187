#pragma once
// While a movie is written, a note in the data folder names it, so that a start after a
// crash or a power loss finds the movie the last run could not finish and repairs it.
#include <QString>

#include "frmMain.h"

namespace tavix {

void NoteMovieStarted(const QString& movie);
void NoteMovieEnded();

// A movie noted by a run that has ended (not a recording of another running instance) is
// repaired; the user is told once, in the log and a box. The note goes in any case.
void RepairMovieOfLastRun(frmMain& f);

}  // namespace tavix
