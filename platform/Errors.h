#pragma once
// Run-time errors with the numbers users and the log know them by.
#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

namespace vb {

constexpr int ErrInvalidCall = 5;
constexpr int ErrOverflow = 6;
constexpr int ErrOutOfMemory = 7;
constexpr int ErrSubscript = 9;
constexpr int ErrTypeMismatch = 13;
constexpr int ErrFileNotFound = 53;
constexpr int ErrDiskFull = 61;
constexpr int ErrInputPastEnd = 62;
constexpr int ErrPathFileAccess = 75;
constexpr int ErrPathNotFound = 76;
constexpr int ErrArrayElementNotExists = 340;
constexpr int ErrAlreadyLoaded = 360;
constexpr int ErrCantUnloadDesignElement = 362;
constexpr int ErrInvalidPropertyValue = 380;
constexpr int ErrInvalidArrayIndex = 381;
constexpr int ErrCantSizeMinMax = 384;
constexpr int ErrPermissionDenied = 70;
constexpr int ErrDeviceIO = 57;
constexpr int ErrInvalidPicture = 481;
constexpr int ErrCancel = 32755;  // a common dialog closed with Cancel

struct RuntimeError : std::exception {
    int Number;
    explicit RuntimeError(int number) : Number(number) {}
    const char* what() const noexcept override { return "run-time error"; }
};

[[noreturn]] inline void Raise(int number) { throw RuntimeError(number); }

// Runs body and gives the error number it raised, 0 when it ran through.
// Routines that trap errors use this so nothing crosses their boundary.
template <class F>
int Trap(F&& body) {
    try {
        std::forward<F>(body)();
        return 0;
    } catch (const RuntimeError& e) {
        return e.Number;
    } catch (const std::bad_alloc&) {
        return ErrOutOfMemory;
    } catch (const std::out_of_range&) {
        return ErrSubscript;
    }
}

}  // namespace vb
