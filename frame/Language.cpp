#include "Language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <cstring>
#include <memory>

#include "CommonModule.h"

namespace tavix {

namespace {

QString g_language = QStringLiteral("ja");

// The forms' own texts that the string table does not carry.
const struct {
    const char* japanese;
    const char* english;
} kFormTexts[] = {
    {"キャンセル", "Cancel"},
    {"設定１", "Setting 1"},
    {"エラーが発生したためプログラムを終了します。", "An error has occurred. The program ends."},
    // The camera settings dialog.
    {"形式", "Format"},
    {"サイズ", "Size"},
    {"フレームレート", "Frame rate"},
    {"既定値に戻す", "Defaults"},
    // The test camera's settings.
    {"パターン", "Pattern"},
    {"横の速さ", "Horizontal speed"},
    {"時計を表示", "Show clock"},
    {"ボール", "Ball"},
    {"カラーバー", "Colour bars"},
    {"砂嵐", "Snow"},
    {"黒", "Black"},
    {"白", "White"},
    {"赤", "Red"},
    {"緑", "Green"},
    {"青", "Blue"},
};

}  // namespace

bool IsKnownLanguage(const QString& language) {
    return language == QLatin1String("ja") || language == QLatin1String("en");
}

void UseLanguage(const QString& language) {
    g_language = language;
    FatalText = FormText("エラーが発生したためプログラムを終了します。");

    static std::unique_ptr<QTranslator> installed;
    if (installed) QCoreApplication::removeTranslator(installed.get());
    installed.reset();
    if (language == QLatin1String("en")) return;
    auto translator = std::make_unique<QTranslator>();
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (!translator->load(QStringLiteral("qtbase_") + language, folder)) {
        WriteLog(QStringLiteral("Qt Translation Not Found.(%1/qtbase_%2.qm)").arg(folder, language));
        return;
    }
    QCoreApplication::installTranslator(translator.get());
    installed = std::move(translator);
}

QString FormText(const char* japanese) {
    if (g_language == QLatin1String("en"))
        for (const auto& t : kFormTexts)
            if (std::strcmp(t.japanese, japanese) == 0) return QString::fromUtf8(t.english);
    return QString::fromUtf8(japanese);
}

}  // namespace tavix
