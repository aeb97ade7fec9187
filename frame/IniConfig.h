#pragma once
#include <QString>

namespace tavix {

// The settings file in the program folder.
QString IniFilePath();

// Reads every setting in order; stops at the first key that is missing or not accepted,
// logs why and gives false.
bool GetIniFileData();

// Writes one setting back; false (with a log line) when it could not.
bool WriteIniFileData(const QString& section, const QString& key, const QString& value);

// Keeps the folder the file dialogs last used for the next start; nothing when none was used.
bool WriteLastFolder();

}  // namespace tavix
