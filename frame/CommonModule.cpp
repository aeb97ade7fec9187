#include "CommonModule.h"

#include <QDateTime>

#include "App.h"
#include "DialogHost.h"
#include "TextFile.h"
#include "VariableDefinition.h"

namespace tavix {

QString FatalText = QStringLiteral("エラーが発生したためプログラムを終了します。");

namespace {

// More records than this cannot be held.
constexpr int kStringTableSlots = 10001;

QString Lookup(int32_t number, const QString* replacement) {
    QString result;
    const int err = vb::Trap([&] {
        auto& table = Var().StringTable;
        // The table only exists once it has been read.
        if (table.empty()) vb::Raise(vb::ErrSubscript);
        for (const StringRecord& record : table) {
            if (record.Id == number) {
                result = record.Text;
                break;
            }
        }
        if (replacement && result.contains(QLatin1Char('@'))) result.replace(QLatin1Char('@'), *replacement);
    });
    if (err != 0) WriteLog(QStringLiteral("GST Error.(%1)").arg(err));
    return result;
}

}  // namespace

void WriteLog(const QString& text) {
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyy/MM/dd HH:mm:ss"));
    vb::AppendTextLine(vb::App::Path() + QStringLiteral("/Error.Log"), stamp + QLatin1Char(' ') + text);
}

bool TrapLogged(const QString& routine, const std::function<void()>& body) {
    const int err = vb::Trap(body);
    if (err == 0) return true;
    WriteLog(routine + QStringLiteral(" Error.(%1)").arg(err));
    return false;
}

bool ReadStringTableData() {
    return TrapLogged(QStringLiteral("ReadStringTableData"), [] {
        std::vector<StringRecord> table;
        table.reserve(kStringTableSlots);
        const QStringList lines = vb::ReadTextLines(vb::AppPathJoin(Var().StringTableFileName));
        for (const QString& line : lines) {
            const qsizetype comma = line.indexOf(QLatin1Char(','));
            if (comma < 0) continue;
            if (static_cast<int>(table.size()) >= kStringTableSlots) vb::Raise(vb::ErrSubscript);
            StringRecord record;
            record.Id = vb::CLng(line.left(comma));
            record.Text = line.mid(comma + 1);
            table.push_back(std::move(record));
        }
        // An empty table cannot be cut to no slots.
        if (table.empty()) vb::Raise(vb::ErrSubscript);
        table.shrink_to_fit();
        Var().StringTable = std::move(table);
    });
}

bool AskYesNo(QWidget* owner, int32_t text, int32_t title) {
    return vb::Host().MsgBox(GST(text), vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2, GST(title), owner) ==
           vb::vbYes;
}

QString GST(int32_t number) { return Lookup(number, nullptr); }

QString GST(int32_t number, const QString& replacement) { return Lookup(number, &replacement); }

QString GST(int32_t number, double replacement) {
    const QString text = vb::CStr(replacement);
    return Lookup(number, &text);
}

QString WriteFailureReason(int number) {
    switch (number) {
    case vb::ErrDiskFull: return GST(20201);
    case vb::ErrPathFileAccess: return GST(20202);
    case vb::ErrPathNotFound: return GST(20203);
    default: return GST(20204);
    }
}

QString MakeResultFormat(int16_t decimals) {
    return decimals > 0 ? QStringLiteral("0.") + QString(decimals, QLatin1Char('0')) : QStringLiteral("0");
}

}  // namespace tavix
