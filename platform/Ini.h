#pragma once
// Private profile ("ini") files with the Windows semantics: names compared without case,
// blanks around names and values do not count, values cut at size-1 bytes, and writes that
// replace one line in place and leave every other byte alone. Writes are atomic.
#include <QString>

namespace vb {

// Copies the value (or def when the key is absent) into out, cut at size-1 bytes of the
// file's encoding, and returns the number of characters copied.
int GetPrivateProfileString(const QString& section, const QString& key, const QString& def, QString& out, int size,
                            const QString& file);

// Replaces the key's line or adds it (and the section) at the end of the section (file).
// Returns false when the file could not be written; the file is then unchanged.
// A section, key or value with a line break, or an empty name, is error 5.
bool WritePrivateProfileString(const QString& section, const QString& key, const QString& value, const QString& file);

}  // namespace vb
