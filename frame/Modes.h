#pragma once
// The two switches of the main window by name. The numbers are the ones a result's kind
// carries and the log and the guidance were written for.
#include <cstdint>

namespace tavix {

// What the view area shows.
enum class ViewMode : int16_t { Live = 0, Still = 1 };

// The command under way: the one switch of the still's mouse handlers.
enum class CommandMode : int16_t {
    Idle = 0,
    MovieArmed = 1,
    Recording = 2,
    FirstCrossLine = 10,
    SecondCrossLine = 11,
    Calibration = 20,
    Count = 100,
    Distance = 101,
    Circle = 102,
    TwoCircles = 103,
    Perpendicular = 104,
    Area = 105,
    ThreePointAngle = 106,
    TwoLineAngle = 107,
    ParallelDistance = 108,
};

constexpr bool IsMeasure(CommandMode mode) {
    return mode >= CommandMode::Count && mode <= CommandMode::ParallelDistance;
}
constexpr bool IsCrossLine(CommandMode mode) {
    return mode == CommandMode::FirstCrossLine || mode == CommandMode::SecondCrossLine;
}

}  // namespace tavix
