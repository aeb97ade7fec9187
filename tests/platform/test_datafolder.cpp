// Where an installation's files live: the program's folder or the user's, and the first copy.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "DataFolder.h"
#include "Sandbox.h"

using testing_support::ReadFile;
using testing_support::WriteFile;
using vb::ProgramFolder;

namespace {

TEST(DataFolder, ChoiceByProgramFolderAndEnvironment) {
    const struct {
        const char* what;
        ProgramFolder kind;
        QStringList env;  // NAME=value
        const char* path;
        const char* shipped;
    } rows[] = {
        // clang-format off
        {"a writable ini keeps the portable folder", ProgramFolder::WritableIni, {"HOME=/h"}, "/opt/t/bin", ""},
        {"a read-only ini seeds the user's folder", ProgramFolder::ReadOnlyIni, {"HOME=/h"}, "/h/.config/tavix", "/opt/t/bin"},
        {"installed, English by default", ProgramFolder::NoIni, {"HOME=/h/"}, "/h/.config/tavix", "/opt/t/share/tavix/en"},
        {"a ja locale ships Japanese", ProgramFolder::NoIni, {"HOME=/h", "LANG=ja_JP.UTF-8"}, "/h/.config/tavix",
         "/opt/t/share/tavix/ja"},
        {"LC_ALL wins over LANG", ProgramFolder::NoIni, {"HOME=/h", "LANG=ja_JP.UTF-8", "LC_ALL=C.UTF-8"},
         "/h/.config/tavix", "/opt/t/share/tavix/en"},
        {"LC_MESSAGES wins over LANG", ProgramFolder::NoIni, {"HOME=/h", "LANG=C", "LC_MESSAGES=ja_JP"},
         "/h/.config/tavix", "/opt/t/share/tavix/ja"},
        {"XDG_CONFIG_HOME wins over HOME", ProgramFolder::NoIni, {"HOME=/h", "XDG_CONFIG_HOME=/x"}, "/x/tavix",
         "/opt/t/share/tavix/en"},
        {"a relative XDG_CONFIG_HOME is ignored", ProgramFolder::NoIni, {"HOME=/h", "XDG_CONFIG_HOME=x"},
         "/h/.config/tavix", "/opt/t/share/tavix/en"},
        {"no HOME but XDG_CONFIG_HOME", ProgramFolder::NoIni, {"XDG_CONFIG_HOME=/x"}, "/x/tavix", "/opt/t/share/tavix/en"},
        {"no HOME: no folder", ProgramFolder::NoIni, {"LANG=ja_JP"}, "", ""},
        {"an empty HOME: no folder", ProgramFolder::ReadOnlyIni, {"HOME="}, "", ""},
        {"no HOME does not matter to a portable folder", ProgramFolder::WritableIni, {}, "/opt/t/bin", ""},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        QProcessEnvironment env(QProcessEnvironment::InheritFromParent);
        env.clear();
        for (const QString& pair : row.env) env.insert(pair.section(u'=', 0, 0), pair.section(u'=', 1));
        const vb::DataFolderChoice choice = vb::ChooseDataFolder(QStringLiteral("/opt/t/bin"), row.kind, env);
        EXPECT_EQ(choice.Path, QString::fromUtf8(row.path));
        EXPECT_EQ(choice.Shipped, QString::fromUtf8(row.shipped));
        EXPECT_EQ(choice.Error.isEmpty(), *row.path != 0);
    }
}

TEST(DataFolder, ProgramFolderIsPortableOnlyWithItsIni) {
    QTemporaryDir dir;
    EXPECT_EQ(vb::ProgramFolderOf(dir.path()), ProgramFolder::NoIni);
    QFile(dir.filePath("Tavix.Ini")).open(QIODevice::WriteOnly);
    EXPECT_EQ(vb::ProgramFolderOf(dir.path()), ProgramFolder::WritableIni);
}

TEST(DataFolder, FirstStartCopiesLaterStartsKeep) {
    QTemporaryDir home;
    // A read-only portable folder: its programs and its log stay behind.
    const QString shipped = home.filePath("shipped");
    QDir().mkpath(shipped);
    for (const char* name : {"Tavix.Ini", "Proof.txt", "Error.Log", "tavix"}) WriteFile(shipped + '/' + name, name);
    QFile::setPermissions(shipped + "/tavix", QFile::ReadOwner | QFile::ExeOwner);
    // The parent folder does not exist yet, as ~/.config on a new account.
    const vb::DataFolderChoice choice{home.filePath("config/tavix"), shipped, {}};

    ASSERT_EQ(vb::PrepareDataFolder(choice), QString());
    EXPECT_EQ(QDir(choice.Path).entryList(QDir::Files), (QStringList{"Proof.txt", "Tavix.Ini"}));
    EXPECT_EQ(ReadFile(choice.Path + "/Proof.txt"), "Proof.txt");
    EXPECT_EQ(QDir(home.filePath("config")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"tavix"});

    // The user's changes survive the next start.
    WriteFile(choice.Path + "/Tavix.Ini", "changed");
    ASSERT_EQ(vb::PrepareDataFolder(choice), QString());
    EXPECT_EQ(ReadFile(choice.Path + "/Tavix.Ini"), "changed");

    // Without shipped files nothing is made that a later start would take for finished.
    const vb::DataFolderChoice broken{home.filePath("other/tavix"), home.filePath("none"), {}};
    EXPECT_NE(vb::PrepareDataFolder(broken), QString());
    EXPECT_FALSE(QFileInfo::exists(broken.Path));
}

}  // namespace
