#pragma once
// The file readers' shared helpers: the log, the string table and its look-up.
#include <QString>
#include <functional>

class QWidget;

#include "Convert.h"
#include "Errors.h"

namespace tavix {

// The fixed message of the failures that end the program; no string table is needed for it.
extern QString FatalText;  // in the installation's language once Tavix.Ini is read

// Appends "yyyy/MM/dd HH:mm:ss text" to Error.Log in the program folder. Never fails:
// a line that cannot be written is lost.
void WriteLog(const QString& text);

// Runs body with run-time errors trapped. On an error writes routine + " Error.(" + number + ")"
// to the log and gives false.
bool TrapLogged(const QString& routine, const std::function<void()>& body);

// A question before a loss: Yes/No with the question icon and No as default, text and title
// by number. True on Yes.
bool AskYesNo(QWidget* owner, int32_t text, int32_t title);

// What went wrong with a file that could not be written, from its error number, in the
// user's words (disk full, not writable, folder gone, anything else).
QString WriteFailureReason(int number);

// Loads the string table file; false (with a log line) when it could not.
bool ReadStringTableData();

// Text by number, empty when the table has none; every "@" replaced by the replacement's text form.
// The number format of results: "0" for no decimals, else "0." and that many "0".
QString MakeResultFormat(int16_t decimals);

QString GST(int32_t number);
QString GST(int32_t number, const QString& replacement);
QString GST(int32_t number, double replacement);

}  // namespace tavix
