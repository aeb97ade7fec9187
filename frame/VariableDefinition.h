#pragma once
// The public variables of a run: the configuration and the tables read at start-up.
// They live for the whole run and start at zero or empty.
#include <QString>
#include <array>
#include <cstdint>
#include <vector>

#include "Modes.h"

namespace tavix {

struct Point2D {
    double X = 0;
    double Y = 0;
};

struct ResultRecord {
    int16_t No = 0;
    CommandMode Kind = CommandMode::Idle;  // the measure that gave it
    std::vector<Point2D> Points;           // element 0 unused
    double Value = 0;
};

struct ProofRecord {
    QString Name;
    double Value = 0;
    QString Unit;
};

struct StringRecord {
    int32_t Id = 0;
    QString Text;
};

constexpr int ResultTableSize = 1000;
constexpr int ProofTableSize = 10;
constexpr int GuidanceTableSize = 101;

struct VariableDefinition {
    int16_t ProgramType = 0;
    std::array<ResultRecord, ResultTableSize> ResultTable{};
    std::array<ProofRecord, ProofTableSize> ProofTable{};
    bool DialogResult = false;
    std::array<std::array<QString, 2>, GuidanceTableSize> GuidanceTable{};
    std::vector<StringRecord> StringTable;
    double ZoomFactor = 0;
    QString ProgramTitle;
    QString Language;  // "ja" or "en"
    QString CameraFilterName;
    QString GrfFileName;
    QString TempBitmapFile;
    QString GuidanceFileName;
    QString StringTableFileName;
    QString ProofFileName;
    int16_t CurrentProofNo = 0;
    std::array<uint32_t, 4> MeasureLineColor{};
    std::array<uint32_t, 3> MeasureValueColor{};
    int16_t CrossLineNum = 0;
    uint32_t CrossLineColor = 0;
    uint32_t ScaleColor = 0;
    double ScaleX = 0;
    double ScaleY = 0;
    int16_t ScaleType = 0;
    int16_t ScalePosition = 0;
    uint8_t JpegQty = 0;
    int16_t NumberOfDecimals = 0;
    int16_t MeasureFontSize = 0;
    int16_t AngleCommandMode = 0;
    int16_t TwoPointCommandMode = 0;
    int16_t Still1xSave = 0;
    int16_t DefaultScale = 0;
};

// The one set of public variables of the process.
VariableDefinition& Var();
// Back to zero and empty, as at process start (tests run several start-ups in one process).
void ResetVariableDefinition();

}  // namespace tavix
