#pragma once
// File system faults for tests, without root: a shared library linked into a test executable
// comes before the C library, so its write, fsync, close and rename stand in for the
// real ones. Disarmed, they only pass the call on.
#ifdef __cplusplus
extern "C" {
#endif

enum FaultKind {
    FaultNone,
    FaultWrite,   // writes to a matching file take budget bytes, then fail with err
    FaultFsync,   // fsync of a matching file fails with err
    FaultClose,   // close of a matching file closes it, then reports err (as NFS does)
    FaultRename,  // a rename from or to a matching path fails with err
};

// Arms one fault for files whose path contains part; replaces any earlier one.
void faultfs_arm(enum FaultKind kind, const char* part, long long budget, int err);
void faultfs_disarm(void);
// How many calls the armed fault has failed.
int faultfs_hits(void);

#ifdef __cplusplus
}
#endif
