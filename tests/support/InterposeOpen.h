#pragma once
// open and open64 for a library that stands in for the C library's: both hand the call to
// open_with(name, path, flags, mode), which decides, or passes it on to the real one by name.
#include <fcntl.h>
#include <stdarg.h>
#include <sys/types.h>

static int open_with(const char* name, const char* path, int flags, mode_t mode);

#define TAVIX_OPEN_WRAPPER(symbol)                                                  \
    int symbol(const char* path, int flags, ...) {                                  \
        va_list ap;                                                                 \
        va_start(ap, flags);                                                        \
        const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(ap, mode_t) : 0; \
        va_end(ap);                                                                 \
        return open_with(#symbol, path, flags, mode);                               \
    }

TAVIX_OPEN_WRAPPER(open)
TAVIX_OPEN_WRAPPER(open64)
