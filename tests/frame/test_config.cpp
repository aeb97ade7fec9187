// The installation's files read at start-up: the settings (and writing them back), the string
// table with its look-up by number, the guidance file, and the shipped tables.
#include <QDirIterator>
#include <QRegularExpression>
#include <functional>
#include <gtest/gtest.h>
#include <map>

#include "CommonModule.h"
#include "Guidance.h"
#include "IniConfig.h"
#include "Sandbox.h"
#include "VariableDefinition.h"

using tavix::GST;
using tavix::Var;
using testing_support::Sandbox;

namespace {

// A sandbox whose string table holds exactly the given bytes.
struct Table : Sandbox {
    explicit Table(const QByteArray& content) {
        tavix::ResetVariableDefinition();
        tavix::Var().StringTableFileName = "\\Table.txt";
        Write("Table.txt", content);
    }
};

}  // namespace
