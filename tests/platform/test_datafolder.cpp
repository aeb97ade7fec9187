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
    using P = ProgramFolder;
    // The program lies in /opt/t/bin. Each row: its kind, the environment (NAME=value), the data folder, the
    // folder shipped files come from ("": none; both empty: no folder, an error).
    const std::tuple<ProgramFolder, QStringList, const char*, const char*> rows[] = {
        // A writable ini keeps the portable folder; a read-only one seeds the user's folder.
        {P::WritableIni, {"HOME=/h"}, "/opt/t/bin", ""},
        {P::ReadOnlyIni, {"HOME=/h"}, "/h/.config/tavix", "/opt/t/bin"},
        // Installed: English by default, Japanese for a ja locale; LC_ALL, then LC_MESSAGES win over LANG.
        {P::NoIni, {"HOME=/h/"}, "/h/.config/tavix", "/opt/t/share/tavix/en"},
        {P::NoIni, {"HOME=/h", "LANG=ja_JP.UTF-8"}, "/h/.config/tavix", "/opt/t/share/tavix/ja"},
        {P::NoIni, {"HOME=/h", "LANG=ja_JP.UTF-8", "LC_ALL=C.UTF-8"}, "/h/.config/tavix", "/opt/t/share/tavix/en"},
        {P::NoIni, {"HOME=/h", "LANG=C", "LC_MESSAGES=ja_JP"}, "/h/.config/tavix", "/opt/t/share/tavix/ja"},
        // XDG_CONFIG_HOME wins over HOME, unless it is relative; it is enough without HOME.
        {P::NoIni, {"HOME=/h", "XDG_CONFIG_HOME=/x"}, "/x/tavix", "/opt/t/share/tavix/en"},
        {P::NoIni, {"HOME=/h", "XDG_CONFIG_HOME=x"}, "/h/.config/tavix", "/opt/t/share/tavix/en"},
        {P::NoIni, {"XDG_CONFIG_HOME=/x"}, "/x/tavix", "/opt/t/share/tavix/en"},
        // No HOME or an empty one: no folder, but that does not matter to a portable folder.
        {P::NoIni, {"LANG=ja_JP"}, "", ""},
        {P::ReadOnlyIni, {"HOME="}, "", ""},
        {P::WritableIni, {}, "/opt/t/bin", ""},
    };
    for (const auto& [kind, vars, path, shipped] : rows) {
        QProcessEnvironment env(QProcessEnvironment::InheritFromParent);
        env.clear();
        for (const QString& pair : vars) env.insert(pair.section(u'=', 0, 0), pair.section(u'=', 1));
        const vb::DataFolderChoice choice = vb::ChooseDataFolder(QStringLiteral("/opt/t/bin"), kind, env);
        EXPECT_EQ(std::tuple(choice.Path, choice.Shipped, choice.Error.isEmpty()),
                  std::tuple(QString(path), QString(shipped), *path != 0))
            << vars.join(' ').toStdString();
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
