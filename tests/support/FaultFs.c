#define _GNU_SOURCE
#include "FaultFs.h"

#include "InterposeOpen.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static volatile int armed = FaultNone;
static char part[512];
static long long budget, used;
static int fault_errno, hits;

void faultfs_arm(enum FaultKind kind, const char* p, long long b, int err) {
    pthread_mutex_lock(&lock);
    snprintf(part, sizeof part, "%s", p);
    budget = b;
    used = 0;
    fault_errno = err;
    hits = 0;
    armed = kind;
    pthread_mutex_unlock(&lock);
}

void faultfs_disarm(void) { armed = FaultNone; }

int faultfs_hits(void) { return hits; }

// The C library's own function of that name, looked up once.
#define REAL(name)                 \
    static __typeof__(name)* real; \
    if (!real) real = (__typeof__(name)*)dlsym(RTLD_NEXT, #name)

static int path_matches(const char* path) { return path && part[0] && strstr(path, part) != NULL; }

static int fd_matches(int fd) {
    char link[64], target[4096];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t n = readlink(link, target, sizeof target - 1);
    if (n < 0) return 0;
    target[n] = '\0';
    return path_matches(target);
}

static int fail(void) {
    ++hits;
    errno = fault_errno;
    return -1;
}

ssize_t write(int fd, const void* buf, size_t n) {
    REAL(write);
    if (armed == FaultWrite && fd_matches(fd)) {
        pthread_mutex_lock(&lock);
        const long long left = budget - used;
        // Like a disk that fills: what still fits is written, the next write fails.
        if (left <= 0) {
            pthread_mutex_unlock(&lock);
            return fail();
        }
        if ((long long)n > left) n = (size_t)left;
        used += (long long)n;
        pthread_mutex_unlock(&lock);
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

static int open_with(const char* name, const char* path, int flags, mode_t mode) {
    if (armed == FaultOpen && path_matches(path)) return fail();
    int (*real)(const char*, int, ...) = (int (*)(const char*, int, ...))dlsym(RTLD_NEXT, name);
    return real(path, flags, mode);
}
