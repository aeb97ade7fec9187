// The shipped deployments: both languages read, and hold the same texts in the same shape.
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <map>

#include "CommonModule.h"
#include "IniConfig.h"
#include "Sandbox.h"
#include "VariableDefinition.h"

using testing_support::Sandbox;

namespace {

// Number -> text of a table read as the program reads it.
std::map<int, QString> Texts(const char* language) {
    Sandbox box(QString::fromLatin1(language));
    tavix::ResetVariableDefinition();
    EXPECT_TRUE(tavix::GetIniFileData()) << language;
    EXPECT_TRUE(tavix::ReadStringTableData()) << language;
    std::map<int, QString> texts;
    for (const auto& r : tavix::Var().StringTable) texts.emplace(r.Id, r.Text);
    EXPECT_TRUE(box.LogTexts().isEmpty()) << language;
    return texts;
}

TEST(Deployment, BothLanguagesHaveEveryTextInTheSameShape) {
    const auto ja = Texts("ja"), en = Texts("en");
    ASSERT_EQ(ja.size(), en.size());
    for (const auto& [number, text] : ja) {
        ASSERT_TRUE(en.count(number)) << number;
        const QString& other = en.at(number);
        EXPECT_FALSE(text.isEmpty() || other.isEmpty()) << number;
        // A value goes where the marker is; a file dialog filter is pairs of description and pattern.
        EXPECT_EQ(text.count(QLatin1Char('@')), other.count(QLatin1Char('@'))) << number;
        for (const QString& t : {text, other}) {
            if (!t.contains(QLatin1Char('|'))) continue;
            const QStringList parts = t.split(QLatin1Char('|'));
            EXPECT_EQ(parts.size() % 2, 0) << number;
            for (int i = 1; i < parts.size(); i += 2) EXPECT_TRUE(parts[i].startsWith(QLatin1String("*."))) << number;
        }
    }
    // Every number the sources ask for by its literal is there.
    const QRegularExpression call(QStringLiteral("GST\\((\\d+)"));
    for (const char* folder : {"app", "camera", "frame", "measure", "platform", "view"}) {
        QDirIterator it(QStringLiteral(TAVIX_SOURCE_DIR "/%1").arg(QLatin1String(folder)), {QStringLiteral("*.cpp")});
        while (it.hasNext()) {
            QFile source(it.next());
            ASSERT_TRUE(source.open(QIODevice::ReadOnly));
            for (const auto& m : call.globalMatch(QString::fromUtf8(source.readAll())))
                EXPECT_TRUE(ja.count(m.captured(1).toInt()))
                    << it.fileName().toStdString() << " " << m.captured(1).toStdString();
        }
    }
}

}  // namespace
