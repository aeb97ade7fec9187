// Reading a full string table (10001 records) and 1000 look-ups, against a bare baseline:
// the same file split into lines and looked up in a hash.
#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QTemporaryDir>
#include <cstdio>

#include "App.h"
#include "BenchUtil.h"
#include "CommonModule.h"
#include "VariableDefinition.h"

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    vb::App::SetPath(dir.path());
    const QString path = dir.path() + QStringLiteral("/StringTable.txt");
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly)) return 1;
        for (int i = 0; i < 10001; ++i)
            f.write(QByteArray::number(10000 + i) + ",Caption text number " + QByteArray::number(i) + "\r\n");
    }
    tavix::Var().StringTableFileName = QStringLiteral("\\StringTable.txt");
    volatile qsizetype sink = 0;
    const int runs = 15;

    const double ours = MedianMs(runs, [&] {
        tavix::ReadStringTableData();
        for (int k = 0; k < 1000; ++k) sink = sink + tavix::GST(10000 + (k * 7919) % 10001).size();
    });
    const double bare = MedianMs(runs, [&] {
        QFile f(path);
        f.open(QIODevice::ReadOnly);
        QHash<int, QString> table;
        for (const QByteArray& line : f.readAll().split('\n')) {
            const int comma = line.indexOf(',');
            if (comma < 0) continue;
            table.insert(line.left(comma).toInt(), QString::fromUtf8(line.mid(comma + 1)));
        }
        for (int k = 0; k < 1000; ++k) sink = sink + table.value(10000 + (k * 7919) % 10001).size();
    });
    std::printf("string table read + 1000 GST: median %.2f ms; bare read + hash: median %.2f ms; ratio %.2f\n", ours,
                bare, ours / bare);
    return 0;
}
