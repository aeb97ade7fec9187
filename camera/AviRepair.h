#pragma once
// An AVI that a recording left unfinished (the program killed, a crash, the power gone) has
// its frames on disk but neither frame counts nor index. This puts them back.
#include <QString>

namespace tavix::cam {

struct AviRepair {
    int error = 0;          // 0, or the platform's number: 53 no file, 13 not such an AVI, 57 I/O
    bool repaired = false;  // false for a finished file, which is left as it is
    int frames = 0;         // frames the movie holds afterwards
};

// Counts the complete frames after the header, cuts off a frame half written, appends the
// index and writes the counts into the headers. Done in place, in an order that leaves a
// file this can take up again wherever it is interrupted. Movies of more than one RIFF part
// (past 1 GiB) are left alone with error 13.
AviRepair RepairUnfinishedAvi(const QString& path);

}  // namespace tavix::cam
