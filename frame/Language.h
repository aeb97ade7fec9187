#pragma once
// The installation's language, named by LANGUAGE in Tavix.Ini ("ja", also when the key is
// missing, or "en"). Qt's own buttons and dialogs speak it whatever the system's locale says,
// and the few texts the forms fix themselves are given in it.
#include <QString>

namespace tavix {

// Whether the program knows the language.
bool IsKnownLanguage(const QString& language);
// Installs Qt's translation for the language (Qt's own texts are English) and puts the
// fixed texts into it. A missing translation file is logged; Qt's texts then stay English.
void UseLanguage(const QString& language);
// A text a form fixes, as it was designed (Japanese); English in an English installation.
QString FormText(const char* japanese);

}  // namespace tavix
