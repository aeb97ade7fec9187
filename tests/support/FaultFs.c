#define _GNU_SOURCE
#include "FaultFs.h"

#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

// The tests arm, write and disarm on one thread.
static volatile int armed = FaultNone;
static char part[512];
static long long budget, used;
static int fault_errno, hits;

void faultfs_arm(enum FaultKind kind, const char* p, long long b, int err) {
    snprintf(part, sizeof part, "%s", p);
    budget = b;
    used = 0;
    fault_errno = err;
    hits = 0;
    armed = kind;
}

void faultfs_disarm(void) { armed = FaultNone; }

int faultfs_hits(void) { return hits; }

// The C library's own function of that name, looked up once.
#define REAL(name)                 \
    static __typeof__(name)* real; \
    if (!real) real = (__typeof__(name)*)dlsym(RTLD_NEXT, #name)

static int path_matches(const char* path) { return path && part[0] && strstr(path, part) != NULL; }

static int fd_matches(int fd) {
    char link[64], target[4096] = {0};
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    return readlink(link, target, sizeof target - 1) > 0 && path_matches(target);
}

static int fail(void) {
    ++hits;
    errno = fault_errno;
    return -1;
}

ssize_t write(int fd, const void* buf, size_t n) {
    REAL(write);
    if (armed == FaultWrite && fd_matches(fd)) {
        // Like a disk that fills: what still fits is written, the next write fails.
        if (budget - used <= 0) return fail();
        if ((long long)n > budget - used) n = (size_t)(budget - used);
        used += (long long)n;
    }
    return real(fd, buf, n);
}

int fsync(int fd) {
    REAL(fsync);
    if (armed == FaultFsync && fd_matches(fd)) return fail();
    return real(fd);
}

int close(int fd) {
    REAL(close);
    const int matching = armed == FaultClose && fd_matches(fd);
    const int r = real(fd);
    return matching && r == 0 ? fail() : r;
}

int rename(const char* from, const char* to) {
    REAL(rename);
    if (armed == FaultRename && (path_matches(from) || path_matches(to))) return fail();
    return real(from, to);
}
