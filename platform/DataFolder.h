#pragma once
// Where the files of an installation live: beside the program (portable) or, for a program
// installed into a folder its user cannot write, in a per-user folder filled on first start.
#include <QProcessEnvironment>
#include <QString>

namespace vb {

enum class ProgramFolder {
    WritableIni,  // holds a Tavix.Ini that it and its folder let us write: portable
    ReadOnlyIni,  // holds a Tavix.Ini we cannot write: its files seed the per-user folder
    NoIni,        // an installed bin/: the deployment sits in ../share/tavix/<language>
};

ProgramFolder ProgramFolderOf(const QString& exeDir);

struct DataFolderChoice {
    QString Path;     // App.Path; empty when no folder could be chosen (Error says why)
    QString Shipped;  // the deployment copied into Path when Path does not exist yet
    QString Error;
};

// No file system access: the folder of the executable, what it holds, the environment.
DataFolderChoice ChooseDataFolder(const QString& exeDir, ProgramFolder kind, const QProcessEnvironment& env);

// Creates choice.Path from choice.Shipped unless it exists. The copy is made in a hidden
// sibling folder and renamed into place, so a start that dies half-way leaves no folder
// that a later start would take for a finished one. Returns an error text, empty on success.
QString PrepareDataFolder(const DataFolderChoice& choice);

// The two above for the running program; sets App.Path when it is not the program's folder.
QString UseDataFolder();

}  // namespace vb
